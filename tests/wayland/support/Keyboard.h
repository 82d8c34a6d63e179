// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <stdexcept>

#include <libevdev/libevdev-uinput.h>
#include <libevdev/libevdev.h>

namespace lightpen {

// The guest's keyboard, which a desktop finds like any other. Needs root; throws when the kernel refuses it.
class Keyboard {
public:
    Keyboard() : description_(libevdev_new(), libevdev_free) {
        libevdev* const device = description_.get();
        libevdev_set_name(device, "the guest's keyboard");
        libevdev_enable_event_type(device, EV_KEY);
        // What has no letters counts as something else.
        for (unsigned key = KEY_ESC; key <= KEY_SPACE; ++key)
            libevdev_enable_event_code(device, EV_KEY, key, nullptr);
        if (libevdev_uinput_create_from_device(device, LIBEVDEV_UINPUT_OPEN_MANAGED, &keys_) != 0)
            throw std::runtime_error("there is no keyboard");
    }
    ~Keyboard() { libevdev_uinput_destroy(keys_); }
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    // Presses the key of this code and lets it go.
    void strike(unsigned key) {
        for (const int down : {1, 0}) {
            libevdev_uinput_write_event(keys_, EV_KEY, key, down);
            libevdev_uinput_write_event(keys_, EV_SYN, SYN_REPORT, 0);
        }
    }

private:
    std::unique_ptr<libevdev, decltype(&libevdev_free)> description_;
    libevdev_uinput* keys_ = nullptr;
};

} // namespace lightpen
