// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>
#include <vector>

#include "kit/device/UnitFixture.h"

namespace lightpen {

// A unit with reports of 804 bytes, whose pictures look like touches of the pen: each pixel is 1 to 7, so
// that any report of one says a spot that is in range.
class PictureFixture : public UnitFixture {
protected:
    static constexpr std::size_t kLength = 804;

    PictureFixture() {
        reshape(kLength);
        unitAnswers.records = calibratedRecords();
        answerPictures();
        driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
        desk.runLoop.limitRuns(10'000);
    }
    // Open, with its image queue on the main loop, and without a point thread.
    void openForPictures() {
        openAndRead();
        startNoThreads();
        driver->setUpHIDQueueAndCallback();
        forget();
    }
    // A whole driver, whose pointer follows the pen.
    void openArmed() {
        start();
        plugIn();
        arm();
    }

    static std::uint8_t pixel(int report, int place) {
        return static_cast<std::uint8_t>(1 + (report * 3 + place * 5 + place / 7) % 7);
    }
    static ReportBytes imageReport(int number) {
        ReportBytes report{0x01};
        for (int i = 0; i < 800; ++i)
            report.push_back(pixel(number, i));
        report.resize(kLength, 0xEE);
        return report;
    }
    // The image of six such reports.
    static PreviewImage wholeImage() {
        PreviewImage image;
        for (int place = 0; place < 4800; ++place) {
            const std::uint8_t grey = pixel(place / 800, place % 800);
            const std::array<std::uint8_t, 4> samples{grey, grey, grey, 255};
            std::copy(samples.begin(), samples.end(), image.rgba.begin() + std::ptrdiff_t{place} * 4);
        }
        return image;
    }
    // From its second image command on the unit sends so many reports of a picture.
    void answerPictures(int reports = 7) {
        unitAnswers.then = [this, reports, commands = 0](const SentReport& report) mutable {
            if (isSettings(report) && report.bytes[1] & 1 && ++commands % 2 == 0)
                sendPictureAfter(std::chrono::milliseconds(5), reports);
            return kIOReturnSuccess;
        };
    }
    void beSilent() { unitAnswers.then = nullptr; }
    void sendPictureAfter(Microseconds delay, int reports = 7) {
        for (int number = 0; number < reports; ++number)
            after(delay + number * std::chrono::milliseconds(4),
                  [this, number] { unit.sendReport(imageReport(number)); });
    }
    static bool isSettings(const SentReport& report) {
        return report.bytes.size() > 1 && report.bytes[0] == 0;
    }
    // Bits 0 and 1 of each settings command that was sent since the last take: 3 is image mode.
    std::vector<int> modesSent() {
        std::vector<int> modes;
        for (const SentReport& report : unit.takeSent())
            if (isSettings(report))
                modes.push_back(report.bytes[1] & 3);
        return modes;
    }
    // How many reports the main loop has taken for parts of a picture since the last take.
    long collected() {
        const auto lines = log.takeLines();
        return std::count_if(lines.begin(), lines.end(),
                             [](const std::string& line) { return line.starts_with("Event n:420 "); });
    }
};

} // namespace lightpen
