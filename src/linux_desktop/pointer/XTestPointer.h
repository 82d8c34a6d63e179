// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "linux_desktop/pointer/LinuxPointer.h"
#include "linux_desktop/screen/XConnection.h"

namespace lightpen {

// Injects events through the X server's test extension, over a connection of its own. A server that hangs
// costs a tenth of a second once, and the last release half a second. After that moves are dropped, presses
// and releases are kept until it goes on, and nobody waits; one line is logged.
class XTestPointer final : public PointerDevice {
public:
    // Connects to the display of that name, null for the one of the environment. Null, and the reason, when
    // there is no such display or it has no test extension.
    static std::unique_ptr<XTestPointer> create(const char* display, std::string& problem);
    IOReturn send(std::optional<Place> place, Button button, bool press) override;

private:
    explicit XTestPointer(XConnection connection) : connection_(std::move(connection)) {}
    void append(std::optional<Place> place, Button button, bool press);
    bool takesMore(int milliseconds) const;
    void flushLater();
    void awaitServer();
    void discardMessages();

    const XConnection connection_;
    bool failureLogged_ = false;
    bool hangs_ = false;
    int unsent_ = 0;
    std::atomic<bool> laterIsOver_{false};
    std::jthread later_; // ends before the connection does
};

} // namespace lightpen
