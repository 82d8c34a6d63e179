// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

#include "linux_desktop/screen/XConnection.h"

namespace lightpen {

// The X server's own tray, into which programs embed their icons: the owner of a selection. Has a connection
// of its own. Main thread.
class XTray {
public:
    // Null when there is no such display; a null name stands for the one of the environment. From its return
    // on no announcement is missed.
    static std::unique_ptr<XTray> connect(const char* display = nullptr);

    // There is a tray now.
    bool present();
    // Becomes readable when there is something for arrived().
    int descriptor() const { return xcb_get_file_descriptor(connection_.get()); }
    // Takes what the server has sent; true when a tray has announced itself in it.
    bool arrived();
    // False once the server is gone.
    bool alive() const { return xcb_connection_has_error(connection_.get()) == 0; }

private:
    XTray(XConnection connection, int screen);

    const XConnection connection_;
    std::uint32_t managerAtom_;
    std::uint32_t trayAtom_;
};

} // namespace lightpen
