// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "linux_desktop/pointer/LinuxPointer.h"

struct xcb_connection_t;

namespace lightpen {

// Injects events through the X server's test extension, over a connection of its own. Errors of the server
// are results here and never end the process, which is why this is xcb and not Xlib.
class XTestPointer final : public PointerDevice {
public:
    // Connects to the display of that name, null for the one of the environment. Null, and the reason, when
    // there is no such display or it has no test extension.
    static std::unique_ptr<XTestPointer> create(const char* display, std::string& problem);
    IOReturn send(std::optional<Place> place, Button button, bool press) override;

private:
    using Connection = std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)>;

    explicit XTestPointer(Connection connection) : connection_(std::move(connection)) {}
    void awaitServer();
    void discardMessages();

    const Connection connection_;
    bool failureLogged_ = false;
};

} // namespace lightpen
