// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "measure/desktop/XClient.h"

namespace lightpen {

// A window as somebody at the screen sees it, but for what may cover it; places and sizes in pixels.
struct ShownWindow {
    std::uint32_t id = 0;
    std::string title; // UTF-8; empty for one that has none, such as a menu
    int x = 0;         // of the upper left corner, without the window manager's frame
    int y = 0;
    int width = 0;
    int height = 0;

    friend bool operator==(const ShownWindow& one, const ShownWindow& other) { return one.id == other.id; }
};

// The windows of another program on an X server, and what a user does to them. One thread at a time.
class XWindows final : public XClient {
public:
    using XClient::XClient;

    // Those of the process that are mapped, the lowest first.
    std::vector<ShownWindow> shown(std::uint32_t processId);
    // The program's window that has the keyboard; none when that is somebody else's.
    std::optional<ShownWindow> focused(std::uint32_t processId);
    // The left edge, the upper edge, the right edge and the lower edge of the window manager's frame.
    std::vector<int> frame(const ShownWindow& window);
    // Asks it to close, as the window manager's button does.
    void close(const ShownWindow& window);
    // Takes it off the screen, as a window manager does that minimises it.
    void hide(const ShownWindow& window);
    // How many windows of all programs are on the screen and cover an area of this size
    // from its corner on. Throws when the server does not say.
    std::size_t thatCover(int width, int height);

private:
    void collect(std::uint32_t window, std::uint32_t processId, std::vector<ShownWindow>& found);
    std::optional<ShownWindow> read(std::uint32_t window, std::uint32_t processId);
    // The lowest first; none of a window that has just gone.
    std::vector<xcb_window_t> childrenOf(std::uint32_t window);
    using Property = std::unique_ptr<xcb_get_property_reply_t, void (*)(void*)>;
    // Null when there is no such property of this format.
    Property property(std::uint32_t window, const char* name, std::uint8_t format);
    std::vector<std::uint32_t> numbers(std::uint32_t window, const char* name);
    std::string text(std::uint32_t window, const char* name);
};

} // namespace lightpen
