// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct xcb_connection_t;

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
class XWindows {
public:
    // The display of that name. Throws when there is none.
    explicit XWindows(const std::string& display);
    ~XWindows();
    XWindows(const XWindows&) = delete;
    XWindows& operator=(const XWindows&) = delete;

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
    // Moves the pointer there and presses and releases a button: 1 left, 3 right.
    void click(int x, int y, std::uint8_t button = 1);
    // Presses and releases the key of the server's own keyboard.
    void pressKey(std::uint8_t keycode);

private:
    void collect(std::uint32_t window, std::uint32_t processId, std::vector<ShownWindow>& found);
    std::optional<ShownWindow> read(std::uint32_t window, std::uint32_t processId);
    std::vector<std::uint32_t> numbers(std::uint32_t window, const char* property);
    std::string text(std::uint32_t window, const char* property);
    std::uint32_t atom(const char* name);
    // Returns when the server has done everything asked so far.
    void sync();

    xcb_connection_t* const connection_;
    std::uint32_t root_ = 0;
};

} // namespace lightpen
