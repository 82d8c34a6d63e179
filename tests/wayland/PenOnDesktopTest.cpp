// SPDX-License-Identifier: MIT
// A user's session on a real desktop, with nothing made up but the camera: a unit is a USB device of the
// kernel's, the driver program moves a pointer of the kernel's, the desktop follows that through libinput
// over one or two outputs, and a program that covers them sees where the pen presses. The first argument is
// the desktop's name.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include <QCoreApplication>

#include "kernel/support/DriverLines.h"
#include "kernel/support/RuleFile.h"
#include "wayland/support/DesktopPen.h"

namespace lightpen {
namespace {

std::unique_ptr<GuestDesktop> guest;

class Taps : public DesktopPen {
public:
    explicit Taps(Layout layout) : DesktopPen(*guest, std::move(layout)) {}

private:
    void TestBody() override {
        const Optics camera = Optics::straight(picture());
        ASSERT_NO_FATAL_FAILURE(sitDown(camera, camera));
        expectTapsToArrive();
        EXPECT_EQ(driver().end(), 0);
    }
};

// The camera has been moved since the unit was calibrated.
class CalibrationByHand : public DesktopPen {
public:
    explicit CalibrationByHand(Layout layout) : DesktopPen(*guest, std::move(layout)) {}

private:
    void TestBody() override {
        ASSERT_NO_FATAL_FAILURE(sitDown(Optics::strongKeystone(picture()), Optics::straight(picture())));
        ASSERT_NO_FATAL_FAILURE(chooseCalibration());
        ASSERT_NO_FATAL_FAILURE(touchTargets());
        ASSERT_TRUE(sessionEnds());
        ASSERT_NO_FATAL_FAILURE(cover());
        expectTapsToArrive(", calibrated by hand");
        EXPECT_EQ(driver().end(), 0);
    }
};

// Nobody touches anything: the camera looks at the targets themselves.
class CalibrationByItself : public DesktopPen {
public:
    explicit CalibrationByItself(Layout layout) : DesktopPen(*guest, std::move(layout)) {}

private:
    void TestBody() override {
        set("Auto%20Calibration", "true");
        ASSERT_NO_FATAL_FAILURE(sitDown(Optics::strongKeystone(picture()), Optics::straight(picture())));
        ASSERT_NO_FATAL_FAILURE(openCamera());
        ASSERT_NO_FATAL_FAILURE(chooseCalibration());
        ASSERT_TRUE(sessionEnds());
        ASSERT_TRUE(driver().waitFor(kCompleted));
        ASSERT_NO_FATAL_FAILURE(cover());
        expectTapsToArrive(", calibrated by itself");
        EXPECT_EQ(driver().end(), 0);
    }
};

// What the camera sees of the corners when the screen has been turned by a quarter, counter-clockwise, and
// has this size then. Camera and wall stay.
Optics turned(const Optics& camera, Size now) {
    const auto [topLeft, topRight, bottomRight, bottomLeft] = camera.corners();
    return *Optics::fromCorners(now, {bottomLeft, topLeft, topRight, bottomRight});
}

// The picture is turned after the calibration.
class TurnedSince : public DesktopPen {
public:
    explicit TurnedSince(Layout layout) : DesktopPen(*guest, std::move(layout)) {}

private:
    void TestBody() override {
        const Optics camera = Optics::straight(picture());
        ASSERT_NO_FATAL_FAILURE(sitDown(Optics::strongKeystone(picture()), camera));
        ASSERT_NO_FATAL_FAILURE(chooseCalibration());
        ASSERT_NO_FATAL_FAILURE(touchTargets());
        ASSERT_TRUE(sessionEnds());
        const Size now{picture().height, picture().width};
        ASSERT_NO_FATAL_FAILURE(change(layoutNamed("the second turned"), turned(camera, now)));
        expectTapsToArrive(" since it was calibrated");
        EXPECT_EQ(driver().end(), 0);
    }
};

// Ways out of a session, which leave the calibration as it was.
enum class WayOut { escape, menu, label, automatic };

template <WayOut kWay>
class Leaving : public DesktopPen {
public:
    explicit Leaving(Layout layout) : DesktopPen(*guest, std::move(layout)) {}

private:
    void TestBody() override {
        const Optics camera = Optics::straight(picture());
        if (kWay == WayOut::automatic)
            set("Auto%20Calibration", "true");
        ASSERT_NO_FATAL_FAILURE(sitDown(camera, camera));
        ASSERT_NO_FATAL_FAILURE(chooseCalibration());
        ASSERT_EQ(driver().count("KVR n:737 close window"), 0U) << "the session has ended by itself";
        // A busy desktop can be so slow to show the session that a click goes past it.
        bool left = false;
        for (int attempt = 0; attempt < 3 && !left; ++attempt) {
            ASSERT_NO_FATAL_FAILURE(leave());
            left = sessionEnds(std::chrono::seconds(30));
        }
        ASSERT_TRUE(left);
        EXPECT_EQ(driver().count(kCompleted), 0U);
        ASSERT_NO_FATAL_FAILURE(cover());
        expectTapsToArrive(words());
        EXPECT_EQ(driver().end(), 0);
    }
    void leave() {
        switch (kWay) {
        case WayOut::escape: // the session has the keyboard
            return desktop().keyboard.strike(KEY_ESC);
        case WayOut::menu:
            return clickMenu("Cancel the calibration");
        case WayOut::label:
            return clickMouse({picture().width / 2, picture().height - kLabelAboveEdge});
        case WayOut::automatic:
            return clickMouse({picture().width / 3, picture().height / 3});
        }
    }
    static std::string words() {
        switch (kWay) {
        case WayOut::escape:
            return ", after Escape";
        case WayOut::menu:
            return ", after a click in the menu";
        case WayOut::label:
            return ", after a click on the label";
        case WayOut::automatic:
            break;
        }
        return ", after a click in an automatic calibration";
    }
    static constexpr double kLabelAboveEdge = 22;
};

// "the second at scale 1.5" -> "TheSecondAtScale15"
std::string testName(const std::string& words) {
    std::string name;
    bool begins = true;
    for (const char letter : words) {
        if (std::isalnum(static_cast<unsigned char>(letter)))
            name += static_cast<char>(begins ? std::toupper(letter) : letter);
        begins = letter == ' ';
    }
    return name;
}

template <class Test>
void registerTest(const char* suite, const Layout& layout) {
    if (guest->compositor->offers(layout))
        testing::RegisterTest(suite, testName(layout.name).c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [layout]() -> Test* { return new Test(layout); });
    else
        std::printf("desktop %s, layout %s: not offered\n", guest->name.c_str(), layout.name.c_str());
}

void registerTests() {
    const std::vector<Layout> layouts = everyLayout();
    for (const Layout& layout : layouts)
        registerTest<Taps>("Taps", layout);
    for (const Layout& layout : layouts) {
        const bool scaled = layout.outputs.back().scale == 2;
        const bool chosen = layout.name == "the second chosen";
        if (scaled || chosen || layout.outputs.size() == 1)
            registerTest<CalibrationByHand>("CalibrationByHand", layout);
    }
    const Layout one = layoutNamed("one output"), chosen = layoutNamed("the second chosen");
    registerTest<Leaving<WayOut::escape>>("Escape", one);
    registerTest<Leaving<WayOut::automatic>>("Automatic", one);
    for (const Layout& layout : {one, chosen}) {
        registerTest<Leaving<WayOut::menu>>("Menu", layout);
        registerTest<Leaving<WayOut::label>>("Label", layout);
    }
    registerTest<TurnedSince>("TurnedSince", chosen);
    if (!guest->compositor->serverToLookAt().empty())
        for (const Layout& layout : {one, chosen})
            registerTest<CalibrationByItself>("CalibrationByItself", layout);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The figures are seen as they come.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const QCoreApplication application(argc, argv);
    if (argc != 2)
        return EXIT_FAILURE;
    const lightpen::PackagedRule rule;
    lightpen::guest = std::make_unique<lightpen::GuestDesktop>(argv[1]);
    const auto& compositor = *lightpen::guest->compositor;
    std::printf("desktop %s: %s\n", argv[1], compositor.version().c_str());
    lightpen::registerTests();
    const int status = RUN_ALL_TESTS();
    if (status != 0)
        std::printf("--- the session's log:\n%s--- end of the session's log\n",
                    compositor.session().log().c_str());
    lightpen::guest.reset();
    return status;
}
