// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <QImage>
#include <QRect>

#include "kit/linux/Sway.h"
#include "on_screen/ApplicationTest.h"

namespace lightpen {

// The application under a Wayland compositor that tiles windows. The pointer is posted to the X server on
// which the compositor's outputs are windows, so it is the compositor's.
class OnSwayTest : public ApplicationTest {
public:
    static constexpr int kWidth = 2304, kHeight = 1000; // of the X server

protected:
    static constexpr std::uint8_t kEscape = 9;
    // The second output's picture is right of the first one's, and lower.
    static constexpr QRect kLaptop{0, 0, 1280, 800};
    static constexpr QRect kProjector{1280, 120, 1024, 768};
    static constexpr const char* kLayout = "output X11-1 mode 1280x800 position 0 0\n"
                                           "output X11-2 mode 1024x768 position 1280 120\n";

    void SetUp() override {
        if (!Sway::canRun())
            GTEST_SKIP() << "there is no ordinary user here, and sway refuses to be root's";
    }
    void beginDesktop(int outputs) {
        sway = std::make_unique<Sway>(applicationStage->server.display(), outputs, kLayout);
        sway->enter();
    }
    std::optional<SwayWindow> window(const std::function<bool(const SwayWindow&)>& condition) {
        const auto all = sway->windows(user.program.processId());
        const auto found = std::ranges::find_if(all, condition);
        return found == all.end() ? std::nullopt : std::optional(*found);
    }
    std::optional<SwayWindow> windowTitled(const std::string& title) {
        return window([&](const SwayWindow& one) { return one.title == title; });
    }
    // An ordinary window, of the program that is the unit.
    std::optional<SwayWindow> unitWindow() { return windowTitled("Emulated camera unit"); }
    // A calibration's window.
    std::optional<SwayWindow> session() {
        return window([](const SwayWindow& one) { return one.fullScreen; });
    }
    bool logHas(const std::string& line) { return user.program.waitForLog(line); }

    // What is shown in these pixels of the X server.
    QImage pictureOf(const QRect& pixels) {
        const auto picture = eyes->look();
        if (!picture)
            return {};
        return QImage(picture->bytes.data(), picture->width, picture->height,
                      static_cast<qsizetype>(picture->stride), QImage::Format_RGB32)
            .copy(pixels);
    }
    // The target, as a person sees it who looks at the output's pixels.
    std::optional<ScreenPoint> targetOn(const QRect& pixels) { return targetIn(pictureOf(pixels)); }
    static std::optional<ScreenPoint> targetIn(const QImage& image) {
        if (image.isNull())
            return std::nullopt;
        return targetSeen({image.width(),
                           image.height(),
                           static_cast<std::size_t>(image.bytesPerLine()),
                           {image.constBits(), static_cast<std::size_t>(image.sizeInBytes())}});
    }

    // A session on this area of the layout, in which nobody has touched anything.
    void beginSession(const QRect& area) {
        ASSERT_TRUE(isReady());
        ASSERT_TRUE(user.menu->click(Labels{"Calibration"}));
        ASSERT_TRUE(comesTrue([&] {
            const auto shown = session();
            return shown && shown->place == area;
        })) << user.program.log();
    }
    bool sessionEnds() {
        return comesTrue([&] { return !session(); });
    }
    // The mouse moves there, and Escape is pressed once the session there has the keyboard.
    void escape(const QRect& area) {
        user.screen.movePointer(area.center().x(), area.center().y());
        EXPECT_TRUE(comesTrue([&] {
            const auto shown = session();
            return shown && shown->focused;
        }));
        user.screen.pressKey(kEscape);
    }

    std::unique_ptr<Sway> sway;
};

// The main function of such a test.
inline int runOnSway(int argc, char** argv) {
    return runOnApplicationStage(argc, argv, OnSwayTest::kWidth, OnSwayTest::kHeight);
}

} // namespace lightpen
