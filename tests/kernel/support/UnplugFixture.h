// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/PointerWatch.h"
#include "kernel/support/UnitPriority.h"
#include "kit/Eventually.h"
#include "linux_desktop/process/SystemClock.h"
#include "unit/CameraUnit.h"

namespace lightpen::test {

// The driver program, and a unit of the kernel's that is not plugged in yet.
class UnplugFixture : public testing::Test {
protected:
    // The driver runs as root unless said otherwise, so that no rule decides what is seen here.
    explicit UnplugFixture(DriverOptions options = {.user = 0, .groups = {}}) : driver_(std::move(options)) {
        priority_.reset();
        unit_.information()->OPmode = 3; // so that all kinds of commands are sent
        unit_.flash()->store(unit_.seen({100, 75}), unit_.seen({700, 80}), unit_.seen({105, 720}),
                             unit_.seen({690, 710}));
    }
    ~UnplugFixture() override {
        if (HasFailure())
            std::printf("--- the driver's log:\n%s--- end of the driver's log\n", driver_.log().c_str());
    }
    void SetUp() override {
        ASSERT_TRUE(driver_.waitFor(kStarted));
        pointer_ = std::make_unique<PointerWatch>();
        ASSERT_TRUE(pointer_->found());
    }

    void plugIn() {
        driver_.skipLog();
        unit_.plug();
    }
    // The unit that is plugged in, or will be by itself, is read whole and moves the pointer.
    void expectToWork() {
        ASSERT_TRUE(driver_.waitFor(kFlashRead));
        // Reports arm the pointer, and the unit sends them for a second only; on a machine that is slow
        // enough to miss them the first touch does it.
        armed_ = driver_.waitFor(kArmed, std::chrono::seconds(2));
        ASSERT_NO_FATAL_FAILURE(press());
        unit_.lift();
        EXPECT_TRUE(buttonBecomes(false));
    }
    // The hand touches the screen, and stays there; the second time if the first one only arms the pointer.
    void press() {
        touch();
        if (!armed_ && !pointer_->waitForPresses(pressesBefore_ + 1, std::chrono::seconds(2))) {
            unit_.lift();
            ASSERT_TRUE(driver_.waitFor(kArmed));
            touch();
        }
        armed_ = true;
        ASSERT_TRUE(pointer_->waitForPresses(pressesBefore_ + 1));
    }
    // Whether the button comes to be as wanted, and each press that is over was released. There may be more
    // than one in a touch: when a look of the driver finds no report, because the guest was held up, the
    // press ends.
    bool buttonBecomes(bool down) {
        return eventually([&] {
            return pointer_->buttonDown() == down &&
                   pointer_->presses() == pointer_->releases() + (down ? 1 : 0);
        });
    }
    // The program still does what it is told.
    void expectToEnd() { EXPECT_EQ(driver_.end(), 0); }

    // Started before the unit's priority begins, which it would inherit.
    DriverProcess driver_;
    SystemClock clock_;
    std::optional<UnitPriority> priority_{std::in_place};
    GadgetBus bus_{clock_};
    CameraUnit& unit_ = bus_.add<CameraUnit>({.reportLength = 32});
    std::unique_ptr<PointerWatch> pointer_;

private:
    void touch() {
        pressesBefore_ = pointer_->presses();
        unit_.touch({301, 522});
    }

    bool armed_ = false; // as far as the log has told
    int pressesBefore_ = 0;
};

// Where in the opening the plug is pulled: around a command of the unit, or so long after it took it.
struct UnplugStep {
    char command;
    int occurrence;
    UnplugPoint::When when;
    Microseconds later{};
};

inline std::string nameOfStep(const testing::TestParamInfo<UnplugStep>& step) {
    constexpr const char* kWhen[]{"BeforeCommand", "AfterCommand", "BeforeReply", "MidReply", "AfterReply"};
    const auto& [command, occurrence, when, later] = step.param;
    return command + std::to_string(occurrence) + kWhen[static_cast<std::size_t>(when)] +
           (later.count() > 0 ? std::to_string(later.count() / 1000) + "ms" : "");
}

class UnplugStepFixture : public UnplugFixture, public testing::WithParamInterface<UnplugStep> {
protected:
    static constexpr Microseconds kAway = std::chrono::milliseconds(300);

    void pullThere() {
        const UnplugStep& step = GetParam();
        if (step.later > Microseconds::zero())
            return pullLater(step);
        unit_.faults()->unplug = UnplugPoint{.command = static_cast<std::uint8_t>(step.command),
                                             .occurrence = step.occurrence,
                                             .when = step.when,
                                             .replyBytes = 5,
                                             .replugAfter = kAway};
    }
    // What the plug does to this opening; the unit is back after that by itself.
    void expectToBeMadeGood() {
        pullThere();
        plugIn();
        ASSERT_TRUE(driver_.waitFor(kArrived));
        ASSERT_TRUE(driver_.waitFor(kRemoved)) << "the opening ends";
        ASSERT_TRUE(driver_.waitFor(kArrived)) << "the unit is found again";
        expectToWork();
        expectToEnd();
    }

private:
    void pullLater(const UnplugStep& step) {
        unit_.onOutput(
            [this, step, seen = 0](Microseconds now, std::span<const std::uint8_t> report) mutable {
                if (report.empty() || report[0] != static_cast<std::uint8_t>(step.command) ||
                    ++seen != step.occurrence)
                    return;
                unit_.schedule(now + step.later, [](CameraUnit& unit) { unit.unplug(); });
                unit_.schedule(now + step.later + kAway, [](CameraUnit& unit) { unit.plug(); });
            });
    }
};

} // namespace lightpen::test
