// SPDX-License-Identifier: MIT
// The plainest forwarder from hidraw to uinput, the least program that turns the unit's pen reports into a
// pointer: it waits for a report, copies the two coordinates into an absolute pointer of the kernel, whose
// range does the mapping, and presses or releases a button. No calibration, no states, no second unit. The
// yardstick of ReportToPointer.
//
//   LeastPointer HIDRAW LEFT TOP RIGHT BOTTOM NAME READY   the range in camera units, the pointer's name;
//   READY is
//                                                          a descriptor that gets a line once reports are
//                                                          waited for
#include <cstdlib>

#include "bench/kernel/EvdevPointer.h"

int main(int argc, char** argv) {
    using namespace lightpen::bench;
    if (argc != 8)
        return 2;
    const auto number = [&](int index) { return std::atoi(argv[index]); };
    const int unit = open(argv[1], O_RDONLY | O_CLOEXEC);
    const int pointer = makePointer({number(2), number(3), number(4), number(5)}, argv[6]);
    if (unit < 0 || pointer < 0 || write(number(7), "ready\n", 6) != 6)
        return EXIT_FAILURE;
    std::array<unsigned char, 4096> report{};
    while (read(unit, report.data(), report.size()) >= 5) // until the unit is gone
        if (!writeReport(pointer, report))
            return EXIT_FAILURE;
    return EXIT_SUCCESS;
}
