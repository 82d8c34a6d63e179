// SPDX-License-Identifier: MIT
// A user's session on a real desktop, with nothing made up but the camera: a unit is a USB device of the
// kernel's, the driver program moves a pointer of the kernel's, the desktop follows that through libinput
// over one or two outputs, and a program that covers them sees where the pen presses. The first argument is
// the desktop's name.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include <QCoreApplication>

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
        ASSERT_NO_FATAL_FAILURE(cover());
        expectTapsToArrive(", calibrated by hand");
        EXPECT_EQ(driver().end(), 0);
    }
};

// The session has the keyboard, and leaves the calibration as it was.
class Escape : public DesktopPen {
public:
    explicit Escape(Layout layout) : DesktopPen(*guest, std::move(layout)) {}

private:
    void TestBody() override {
        const Optics camera = Optics::straight(picture());
        ASSERT_NO_FATAL_FAILURE(sitDown(camera, camera));
        ASSERT_NO_FATAL_FAILURE(chooseCalibration());
        desktop().keyboard.strike(KEY_ESC);
        ASSERT_TRUE(driver().waitFor("KVR n:737 close window"));
        ASSERT_NO_FATAL_FAILURE(cover());
        expectTapsToArrive(", after Escape");
        EXPECT_EQ(driver().end(), 0);
    }
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
    registerTest<Escape>("Escape", layouts.front());
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
