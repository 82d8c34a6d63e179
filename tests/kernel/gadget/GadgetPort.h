// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "kernel/gadget/GadgetComposition.h"
#include "platform/FileDescriptor.h"
#include "platform/Time.h"
#include "unit/bus/SoftwareUnit.h"

namespace lightpen {

// The USB side of one unit: carries out its plugging and passes reports both ways, on a thread of its own,
// because the kernel may take its time over each.
class GadgetPort {
public:
    // Composes the device and starts the thread. Throws GadgetError when the kernel cannot have it. The unit
    // and the clock outlive the port.
    GadgetPort(SoftwareUnit& unit, Clock& clock, const GadgetDescription& gadget);
    // Takes the device out of its socket and ends the thread.
    ~GadgetPort();
    GadgetPort(const GadgetPort&) = delete;
    GadgetPort& operator=(const GadgetPort&) = delete;

    // The unit has been plugged in or unplugged. Does not wait; any thread.
    void setPlugged(bool plugged);
    // An input report. Does not wait; any thread.
    void send(const ReportBytes& report);

    // See GadgetBus.
    bool settle(Microseconds patience);
    std::string failure() const;

private:
    void run();
    bool carryOutPlugging();
    void connect(std::uint64_t change);
    FileDescriptor openPenNode();
    void disconnect();
    void exchangeReports();
    void readOutput();
    void writePending();
    bool writeNow(const ReportBytes& report);
    void dropNode(int error);
    bool unitReads();
    void wakeThread();

    SoftwareUnit& unit_;
    Clock& clock_;
    GadgetComposition composition_; // the thread's
    const FileDescriptor wakeUps_;

    mutable std::mutex mutex_; // a leaf: nobody takes another lock while holding it
    std::condition_variable settled_;
    bool stopping_ = false;
    bool wantPlugged_ = false;
    std::uint64_t change_ = 0;     // counts the changes of the plug that were asked for
    std::uint64_t carriedOut_ = 0; // the last of them that was carried out
    std::uint64_t connected_ = 0;  // the change that the open node belongs to; 0: there is none
    FileDescriptor node_;          // closed and opened by the thread only
    std::deque<ReportBytes> pending_;
    std::string failure_;

    std::thread thread_;
};

} // namespace lightpen
