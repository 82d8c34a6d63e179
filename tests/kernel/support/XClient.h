// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/Geometry.h"

struct xcb_connection_t;

namespace lightpen {

// A program of nobody's on an X server: it presses keys of the server's own keyboard, and sees what windows
// there are.
class XClient {
public:
    static constexpr std::uint32_t kEscape = 0xFF1B; // as the server names keys

    // Connects to the display of the environment. Throws when there is none.
    XClient();

    // Presses and releases the key of this name; whoever has the keyboard gets it. Throws when the server has
    // no such key.
    void pressKey(std::uint32_t name);
    // How many windows of the desktop are on the screen and cover an area of this size from its corner on.
    std::size_t windowsThatCover(Size size);

private:
    std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection_;
};

} // namespace lightpen
