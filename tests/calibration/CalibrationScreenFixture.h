// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <string>

#include <QEventLoop>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QTimer>

#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/calibration/SessionFixture.h"

namespace lightpen {

// Sessions on the X server of this process, which is one screen of 1000 by 600 pixels with two monitors side
// by side: 400 x 600, and 500 x 450 that stands 100 pixels lower.
class CalibrationScreenFixture : public SessionFixture {
protected:
    static constexpr const char* kServerScreen = "1000x600";
    static constexpr QRgb kWhite = 0xFFFFFFFF;
    static constexpr QRgb kBlack = 0xFF000000;
    static constexpr QRgb kGreen = 0xFF00FF00;
    static constexpr QRgb kRed = 0xFFFF0000;
    static const inline Screen kLeft{"left", {{0, 0}, {400, 600}}};
    static const inline Screen kRight{"right", {{400, 100}, {500, 450}}};

    CalibrationScreenFixture() {
        // The screen that was there goes only after the first monitor has come.
        EXPECT_TRUE(waitFor([] { return screenNames() == QStringList({"left", "right"}); }));
    }
    static void addMonitors() {
        runProgram({"xrandr", "--setmonitor", "*left", "400/106x600/159+0+0", "screen"});
        runProgram({"xrandr", "--setmonitor", "right", "500/132x450/119+400+100", "none"});
    }
    // A loop that waits, since Qt sends what it asks the server for only before it does.
    static void turnLoop() {
        QEventLoop loop;
        QTimer::singleShot(5, &loop, &QEventLoop::quit);
        loop.exec();
    }
    template <class Condition>
    static bool waitFor(Condition condition) {
        return eventually(condition, [] { turnLoop(); });
    }
    static QStringList screenNames() {
        QStringList names;
        for (const QScreen* screen : QGuiApplication::screens())
            names.append(screen->name());
        return names;
    }
    // What the server shows, in pixels of the whole X screen.
    static QImage picture() {
        return QGuiApplication::primaryScreen()->grabWindow(0, 0, 0, 1000, 600).toImage();
    }
    static bool shows(const QRect& rect, QRgb color) {
        const QImage image = picture();
        for (int y = rect.top(); y <= rect.bottom(); ++y)
            for (int x = rect.left(); x <= rect.right(); ++x)
                if ((image.pixel(x, y) | 0xFF000000U) != color)
                    return false;
        return true;
    }
    void startOn(const Screen& screen) {
        center->setCalibrationScreen(screen);
        start(Kind::manual);
    }
    // A session on the right monitor covers it with white but for its first target, whose centre is 170 and
    // 75 points from the edges; the left monitor stays black.
    void expectThatTheRightMonitorIsCovered() {
        const QRect left(0, 0, 400, 600);
        EXPECT_TRUE(waitFor([&] { return shows(left, kBlack); }));
        startOn(kRight);
        EXPECT_TRUE(waitFor([] { return shows({400, 100, 500, 65}, kWhite); }));
        EXPECT_TRUE(waitFor([] { return shows({400, 185, 500, 365}, kWhite); }));
        EXPECT_TRUE(shows({400, 165, 160, 20}, kWhite) && shows({580, 165, 320, 20}, kWhite));
        EXPECT_TRUE(shows({560, 165, 20, 2}, kGreen) && shows({560, 183, 20, 2}, kGreen));
        EXPECT_TRUE(shows({569, 170, 2, 10}, kGreen) && shows({565, 174, 10, 2}, kGreen));
        EXPECT_TRUE(shows(left, kBlack));
    }
    // Presses the key until it has done what is asked: a window may be shown before it has the keyboard.
    template <class Condition>
    static bool pressUntil(const std::string& key, Condition condition) {
        return waitFor([&] { return condition() || (runProgram({"xdotool", "key", key}), condition()); });
    }
    void expectThatTheKeyboardCancels() {
        const auto logged = [this](const std::string& line) {
            const auto lines = log.lines();
            return std::find(lines.begin(), lines.end(), line) != lines.end();
        };
        const auto before = canceled.size();
        log.clear();
        EXPECT_TRUE(pressUntil("q", [&] { return logged("KVRC n:28 keyCode : 65535"); }));
        EXPECT_TRUE(windowIsVisible());
        EXPECT_TRUE(pressUntil("Escape", [&] { return canceled.size() > before; }));
        EXPECT_TRUE(logged("KVRC n:28 keyCode : 53"));
        EXPECT_FALSE(windowIsVisible());
    }
};

} // namespace lightpen
