// SPDX-License-Identifier: MIT
// The least program that turns the unit's pen reports into a pointer: it waits for a report, copies the two
// coordinates into an absolute pointer of the kernel, whose range does the mapping, and presses or releases a
// button. No calibration, no states, no second unit. The yardstick of ReportToPointer.
//
//   LeastPointer HIDRAW LEFT TOP RIGHT BOTTOM NAME READY   the range in camera units, the pointer's name;
//   READY is
//                                                          a descriptor that gets a line once reports are
//                                                          waited for
#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

bool axis(int device, int code, int from, int to) {
    uinput_abs_setup setup{};
    setup.code = static_cast<__u16>(code);
    setup.absinfo.minimum = from;
    setup.absinfo.maximum = to;
    return ioctl(device, UI_ABS_SETUP, &setup) == 0;
}

// -1 when the kernel refuses.
int makePointer(int left, int top, int right, int bottom, const char* name) {
    const int device = open("/dev/uinput", O_WRONLY | O_CLOEXEC);
    uinput_setup setup{};
    setup.id.bustype = BUS_VIRTUAL;
    std::strncpy(setup.name, name, sizeof setup.name - 1);
    bool made = device >= 0 && ioctl(device, UI_SET_EVBIT, EV_ABS) == 0 &&
                ioctl(device, UI_SET_EVBIT, EV_KEY) == 0 && axis(device, ABS_X, left, right) &&
                axis(device, ABS_Y, top, bottom);
    for (const int button : {BTN_LEFT, BTN_RIGHT, BTN_MIDDLE})
        made = made && ioctl(device, UI_SET_KEYBIT, button) == 0;
    made = made && ioctl(device, UI_DEV_SETUP, &setup) == 0 && ioctl(device, UI_DEV_CREATE) == 0;
    return made ? device : -1;
}

input_event event(int type, int code, int value) {
    input_event made{};
    made.type = static_cast<__u16>(type);
    made.code = static_cast<__u16>(code);
    made.value = value;
    return made;
}

// Until the unit is gone.
bool follow(int unit, int pointer) {
    std::array<unsigned char, 4096> report{};
    while (read(unit, report.data(), report.size()) >= 5) {
        const bool pressed = report[1] != 0;
        const std::array events{event(EV_ABS, ABS_X, report[1] | report[2] << 8),
                                event(EV_ABS, ABS_Y, report[3] | report[4] << 8),
                                event(EV_KEY, BTN_LEFT, pressed ? 1 : 0), event(EV_SYN, SYN_REPORT, 0)};
        // Without a spot there is no place, only the button to let go.
        const std::size_t first = pressed ? 0 : 2;
        const std::size_t length = (events.size() - first) * sizeof(input_event);
        if (write(pointer, &events[first], length) != static_cast<ssize_t>(length))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 8)
        return 2;
    const auto number = [&](int index) { return std::atoi(argv[index]); };
    const int unit = open(argv[1], O_RDONLY | O_CLOEXEC);
    const int pointer = makePointer(number(2), number(3), number(4), number(5), argv[6]);
    if (unit < 0 || pointer < 0 || write(number(7), "ready\n", 6) != 6)
        return EXIT_FAILURE;
    return follow(unit, pointer) ? EXIT_SUCCESS : EXIT_FAILURE;
}
