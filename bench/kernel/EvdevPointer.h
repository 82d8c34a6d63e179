// SPDX-License-Identifier: MIT
// An absolute pointer of the kernel whose range is the camera's, so that its user need not map: with nothing
// but the kernel's own calls.
#pragma once

#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <span>

namespace lightpen::bench {

// In camera units.
struct PointerRange {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

inline bool makeAxis(int device, int code, int from, int to) {
    uinput_abs_setup setup{};
    setup.code = static_cast<__u16>(code);
    setup.absinfo.minimum = from;
    setup.absinfo.maximum = to;
    return ioctl(device, UI_ABS_SETUP, &setup) == 0;
}

// The descriptor of a new device; -1 when the kernel refuses.
inline int makePointer(const PointerRange& range, const char* name) {
    const int device = open("/dev/uinput", O_WRONLY | O_CLOEXEC);
    uinput_setup setup{};
    setup.id.bustype = BUS_VIRTUAL;
    std::strncpy(setup.name, name, sizeof setup.name - 1);
    bool made =
        device >= 0 && ioctl(device, UI_SET_EVBIT, EV_ABS) == 0 && ioctl(device, UI_SET_EVBIT, EV_KEY) == 0 &&
        makeAxis(device, ABS_X, range.left, range.right) && makeAxis(device, ABS_Y, range.top, range.bottom);
    for (const int button : {BTN_LEFT, BTN_RIGHT, BTN_MIDDLE})
        made = made && ioctl(device, UI_SET_KEYBIT, button) == 0;
    made = made && ioctl(device, UI_DEV_SETUP, &setup) == 0 && ioctl(device, UI_DEV_CREATE) == 0;
    return made ? device : -1;
}

inline input_event inputEvent(int type, int code, int value) {
    input_event made{};
    made.type = static_cast<__u16>(type);
    made.code = static_cast<__u16>(code);
    made.value = value;
    return made;
}

// What a report of the pen, of five bytes or more, means for such a pointer. False when it was not taken.
inline bool writeReport(int pointer, std::span<const unsigned char> report) {
    const bool pressed = report[1] != 0;
    const std::array events{inputEvent(EV_ABS, ABS_X, report[1] | report[2] << 8),
                            inputEvent(EV_ABS, ABS_Y, report[3] | report[4] << 8),
                            inputEvent(EV_KEY, BTN_LEFT, pressed ? 1 : 0), inputEvent(EV_SYN, SYN_REPORT, 0)};
    // Without a spot there is no place, only the button to let go.
    const std::size_t first = pressed ? 0 : 2;
    const std::size_t length = (events.size() - first) * sizeof(input_event);
    return write(pointer, &events[first], length) == static_cast<ssize_t>(length);
}

} // namespace lightpen::bench
