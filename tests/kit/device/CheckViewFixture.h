// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <QApplication>

#include "device/FloatPanel.h"
#include "kit/device/OffscreenApplication.h"
#include "kit/device/PenFixture.h"

namespace lightpen {

// A driver whose unit sees stray light from the start, so that it shows the check view. The screen is twice
// as wide and high as the panel, whose points are two camera units each.
class CheckViewFixture : public PenFixture {
protected:
    CheckViewFixture() {
        desk.desktop.frame = ScreenRect{{0, 0}, {1410, 860}};
        unitAnswers.sightings = 3;
    }
    // No widget may outlive the application object.
    ~CheckViewFixture() override {
        endThreads();
        driver->Nx9windowrelease();
    }

    // Stores these corners in the unit's flash, which tell which way round the camera is mounted.
    void storeCorners(CameraPoint first, CameraPoint last) {
        unitAnswers.records = {
            record(0, first, {1, 2}), record(1, {3, 4}, last), {'Y', 2, 0, 7, 0, 0, 0, 1, 0x35}};
    }
    // Until light that the unit reports is shown.
    void openShowing() {
        open();
        for (int i = 0; i < 12 && !EventGeneratorNX7::hearsPen(); ++i)
            pass();
        pass();
        drawn();
    }
    // The panel of the check view; null while there is none.
    static FloatPanel* panel() { return topWindow<FloatPanel>(); }
    // Draws what the main thread has been asked for: where the marker is, "100.00,390.00" from the bottom
    // left, once for each drawing.
    Deeds drawn() {
        runMainLoop();
        log.clear();
        QCoreApplication::processEvents();
        Deeds places;
        for (const std::string& line : log.takeLines())
            if (const auto from = line.find("sptScreenP1: ("); from != std::string::npos)
                places.push_back(line.substr(from + 14, line.find(')') - from - 14));
        return places;
    }
    // Where the marker is for this light.
    Deeds drawnFor(int x, int y) {
        EXPECT_EQ(passOn(x, y), Deeds()) << "light is for the check view alone";
        return drawn();
    }

    const bool application = ensureOffscreenApplication();

private:
    static ReportBytes record(std::uint8_t index, CameraPoint first, CameraPoint second) {
        ReportBytes reply{'Y', index};
        for (const double value : {first.x, first.y, second.x, second.y}) {
            reply.push_back(static_cast<std::uint8_t>(static_cast<int>(value) & 0xFF));
            reply.push_back(static_cast<std::uint8_t>(static_cast<int>(value) >> 8));
        }
        return reply;
    }
};

} // namespace lightpen
