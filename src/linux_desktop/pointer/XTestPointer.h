// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "linux_desktop/pointer/PointerBackend.h"

struct xcb_connection_t;

namespace lightpen {

// Injects events through the X server's test extension, over a connection of its own. Errors of the server
// are results here and never end the process, which is why this is xcb and not Xlib.
class XTestPointer final : public PointerBackend {
public:
    // Connects to the display of that name, null for the one of the environment. Null, and the reason, when
    // there is no such display or it has no test extension.
    static std::unique_ptr<XTestPointer> create(const char* display, const SharedGeometry& geometry,
                                                std::string& problem);
    ~XTestPointer() override { releaseButtons(); }

private:
    using Connection = std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)>;

    XTestPointer(Connection connection, const SharedGeometry& geometry)
        : PointerBackend(geometry), connection_(std::move(connection)) {}
    IOReturn send(std::optional<Place> place, Button button, bool press) override;
    void awaitServer();
    void discardMessages();

    const Connection connection_;
    bool failureLogged_ = false;
};

} // namespace lightpen
