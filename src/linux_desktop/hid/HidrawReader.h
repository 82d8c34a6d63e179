// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "platform/FileDescriptor.h"
#include "platform/PriorityInheritance.h"
#include "platform/ReportFanOut.h"

namespace lightpen {

// Reads the input reports of one open hidraw node and gives them to the queues. Its thread does that as they
// come. Whoever polls a queue can do it too, so that a thread of high priority need not wait until this one
// gets its turn; if it is at it already, it goes on at the priority of whoever waits.
class HidrawReader {
public:
    // Starts the thread. gone is called once, from whichever thread notices, when the node has failed or hung
    // up, after the queues have got their last word; it must not stop or destroy the reader. Null, with a log
    // line, when there can be no thread.
    static std::shared_ptr<HidrawReader> start(std::shared_ptr<const FileDescriptor> node,
                                               std::shared_ptr<ReportFanOut> fanOut,
                                               std::function<void()> gone);
    // Stops it.
    ~HidrawReader();
    HidrawReader(const HidrawReader&) = delete;
    HidrawReader& operator=(const HidrawReader&) = delete;

    // Gives every report that the kernel has now to the queues, in order. Waits for none, but for another
    // thread that is doing the same. Any thread.
    void drain();
    // The unit is known to be gone: hands over what is left and then the last word. Any thread.
    void vanish();
    // Ends the thread and waits for it; nothing is read afterwards. Not on the reader's thread, and on one
    // thread at a time.
    void stop();

private:
    HidrawReader(std::shared_ptr<const FileDescriptor> node, std::shared_ptr<ReportFanOut> fanOut,
                 std::function<void()> gone);
    void run();
    void wakeThread();
    template <class Test>
    void endWhen(Test isGone);
    bool readAll();
    bool readOne();

    const std::shared_ptr<const FileDescriptor> node_;
    const std::shared_ptr<ReportFanOut> fanOut_;
    const std::function<void()> gone_;
    const FileDescriptor wakeUp_;    // an eventfd
    PriorityInheritanceMutex mutex_; // reading and handing on are one step, or reports would change places
    std::vector<std::uint8_t> buffer_;
    bool ended_ = false;
    std::thread thread_;
};

} // namespace lightpen
