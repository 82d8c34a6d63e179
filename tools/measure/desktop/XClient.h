// SPDX-License-Identifier: MIT
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace lightpen {

// What the X library hands out for its caller to free: a reply, an event, an error; null for none.
template <class Reply>
std::unique_ptr<Reply, void (*)(void*)> ownedReply(Reply* reply) {
    return {reply, std::free};
}

// A program of its own on an X server, as others there see it: it moves the pointer and presses buttons and
// keys of the server's own keyboard. What else such a program does is added by those that derive from it.
// Each operation is done when it returns. One thread at a time.
class XClient {
public:
    // The display of that name. Throws when there is none.
    explicit XClient(const std::string& display);
    ~XClient() { xcb_disconnect(connection_); }
    XClient(const XClient&) = delete;
    XClient& operator=(const XClient&) = delete;

    // In pixels of the X screen.
    void movePointer(int x, int y);
    // Presses and releases a button where the pointer is: 1 left, 3 right.
    void click(std::uint8_t button = 1);
    void click(int x, int y, std::uint8_t button = 1);
    void pressKey(std::uint8_t keycode);
    void holdKey(std::uint8_t keycode, bool down);

protected:
    xcb_connection_t* connection() const { return connection_; }
    const xcb_screen_t& screen() const { return *screen_; }
    xcb_atom_t atom(const std::string& name);
    // Sends a message of the program's to those that listen to the window with this event mask.
    void sendMessage(xcb_window_t receiver, std::uint32_t mask, xcb_window_t window, const std::string& type,
                     const std::array<std::uint32_t, 5>& data);
    // The window that has the keyboard.
    xcb_window_t focus();
    bool viewable(xcb_window_t window);
    // Returns when the server has done everything asked so far.
    void sync() { focus(); }

private:
    void fake(std::uint8_t type, std::uint8_t detail, int x = 0, int y = 0);

    xcb_connection_t* const connection_;
    const xcb_screen_t* screen_ = nullptr;
};

} // namespace lightpen
