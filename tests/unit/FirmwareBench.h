// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "unit/faults/Faults.h"
#include "unit/room/RoomPicture.h"
#include "unit/wire/Firmware.h"

namespace lightpen::test {

// A report of these bytes, filled up with zeros to a length.
inline ReportBytes reportOf(const std::vector<int>& bytes, std::size_t length = 32) {
    ReportBytes report;
    for (const int byte : bytes)
        report.push_back(static_cast<std::uint8_t>(byte));
    report.resize(length);
    return report;
}

// A firmware under the hands of a test: time goes by when the test says so, and every report is kept.
struct FirmwareBench : private Eye {
    explicit FirmwareBench(std::size_t reportLength = 32) : firmware(reportLength, *this, wire_) {
        firmware.powerUp(now);
    }
    FirmwareBench(const FirmwareBench&) = delete;
    FirmwareBench& operator=(const FirmwareBench&) = delete;

private:
    FaultyWire wire_;

public:
    Firmware firmware;
    Faults& faults = wire_.faults;
    std::vector<EyeSettings> heard; // by the camera, in order
    Microseconds now{5'000'000};
    Scene scene; // what the camera sees from now on

    // Sends a command, filled up with zeros to a length.
    void command(std::initializer_list<int> bytes, std::size_t length = 32) {
        firmware.handleOutput(reportOf(bytes, length), now);
    }
    // Settings with these control bits; bit 6 marks them as settings.
    void settings(int bits) { command({0, 0x40 | bits, 0x00, 0x02, 0x02, 0x19, 0}); }

    // Calibrates the unit, with any points.
    void calibrate() { firmware.flash.store({1, 2}, {3, 4}, {5, 6}, {7, 8}); }
    // Where a pen touches, and one that has touched there for a while.
    static constexpr CameraPoint kPen{900, 800};
    void touch() {
        scene.pen = kPen;
        run(Microseconds(40'000));
    }

    // Lets time go by, and returns what was sent meanwhile.
    std::vector<UnitReport> run(Microseconds duration) {
        now += duration;
        std::vector<UnitReport> reports;
        while (auto report = firmware.next(now))
            reports.push_back(std::move(*report));
        return reports;
    }
    // The time since the bench was made, as a report shows it.
    Microseconds at(const UnitReport& report) const { return report.time - start; }

    const Microseconds start = now;

private:
    Scene look(Microseconds) override { return scene; }
    Picture picture(Microseconds) override { return takePicture(scene, heard.back().filterOut); }
    void set(const EyeSettings& settings) override { heard.push_back(settings); }
};

inline std::vector<UnitReport> ofKind(const std::vector<UnitReport>& reports, ReportKind kind) {
    std::vector<UnitReport> found;
    std::copy_if(reports.begin(), reports.end(), std::back_inserter(found),
                 [&](const UnitReport& report) { return report.kind == kind; });
    return found;
}

inline std::vector<ReportKind> kinds(const std::vector<UnitReport>& reports) {
    std::vector<ReportKind> found;
    for (const UnitReport& report : reports)
        found.push_back(report.kind);
    return found;
}

inline std::vector<Microseconds> gaps(const std::vector<UnitReport>& reports) {
    std::vector<Microseconds> found;
    for (std::size_t next = 1; next < reports.size(); ++next)
        found.push_back(reports[next].time - reports[next - 1].time);
    return found;
}

// The front of a report.
inline ReportBytes front(const ReportBytes& bytes, std::size_t count) {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(count, bytes.size()))};
}

} // namespace lightpen::test
