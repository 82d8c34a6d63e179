// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <memory>
#include <string>

#include "emulated/ScreenCapture.h"
#include "on_screen/ApplicationDesk.h"
#include "on_screen/ApplicationTexts.h"

namespace lightpen {

// A user who starts the application and uses it from the panel.
class ApplicationTest : public testing::Test {
protected:
    // There from the first call on.
    FakeStatusNotifierWatcher& panel() {
        if (!appeared_)
            watcher.appear();
        appeared_ = true;
        return watcher;
    }
    // Starts the application; whether its item comes into the panel.
    testing::AssertionResult comes(ApplicationDesk& desk, const Labels& options = {}) {
        panel();
        const auto started = desk.start(options);
        return started ? desk.itemComes(watcher) : started;
    }
    // The same, and whether the item has the whole menu in English.
    testing::AssertionResult comesWithUnit(ApplicationDesk& desk, const Labels& options = {"--plugged"}) {
        const auto came = comes(desk, options);
        return came ? desk.showsMenu(fullMenu("English")) : came;
    }
    // Whether the pen comes to be heard. Where the machine stood still in the unit's first second, the first
    // touch is what makes it heard.
    testing::AssertionResult isReady() {
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            if (comesTrue([&] { return user.program.isIn("ready=yes"); }, kPatience))
                return testing::AssertionSuccess();
            user.program.perform("tap 59 31");
        }
        return testing::AssertionFailure() << user.program.log();
    }
    // A touch of the pen there brings the pointer there. One that falls into a moment in which the machine
    // stands still is missed, and made again.
    void expectTap(int x, int y) { expectTap(x, y, x, y); }
    // The same where the picture's screen is not the only one: the pointer comes to that place of them all.
    void expectTap(int x, int y, int pointerX, int pointerY) {
        ASSERT_TRUE(isReady());
        const std::string command = "tap " + std::to_string(x) + " " + std::to_string(y);
        const auto landed = [&] {
            const auto pointer = eyes->pointer();
            return pointer && std::hypot(pointer->x - pointerX, pointer->y - pointerY) < 4;
        };
        int left = kAttempts;
        do
            ASSERT_TRUE(comesTrue([&] { return user.program.perform(command); }));
        while (!comesTrue(landed, kPatience) && --left > 0);
        EXPECT_TRUE(landed()) << x << ", " << y;
        EXPECT_TRUE(user.program.perform("wait"));
    }
    static constexpr int kAttempts = 4;
    static constexpr std::chrono::seconds kPatience{5};

    ApplicationDesk user;
    FakeStatusNotifierWatcher watcher{applicationStage->bus.address()};
    std::string problem;
    std::unique_ptr<ScreenCapture> eyes =
        ScreenCapture::create(applicationStage->server.display().c_str(), problem);

private:
    bool appeared_ = false;
};

} // namespace lightpen
