// SPDX-License-Identifier: MIT
// Calibrations with nothing made up but the camera: the unit is a USB device of the kernel's with a flash of
// its own, the sessions stand on an X server's screen, hand and camera look at that server's pixels, and the
// pointer is a device of the kernel's that the server follows through libinput. The driver's parts run in the
// test's own process.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QApplication>

#include "device/EventGeneratorNX7.h"
#include "emulated/ScreenWatch.h"
#include "emulated/TargetSeeker.h"
#include "emulated/UnitControl.h"
#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverSeat.h"
#include "kernel/support/UnitPriority.h"
#include "kernel/support/Xorg.h"
#include "kit/PrivateBus.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/CanvasProcess.h"
#include "measure/PlayedSession.h"
#include "measure/TapSeries.h"
#include "measure/Waiting.h"
#include "measure/desktop/XWindows.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::IsEmpty;

constexpr Size kScreen = Xorg::kScreen;
constexpr std::uint8_t kEscape = 9; // on the X server's own keyboard
// Where the targets of a session stand on it, in points.
constexpr ScreenPoint kTargets[] = {{170, 75}, {1110, 75}, {170, 645}, {1110, 645}};
// A guest that is held up for as long as a short tap lasts never sees it.
constexpr Microseconds kContact = milliseconds(200);
constexpr Microseconds kPatience = seconds(20);
// By then even a guest that is held up has polled after the unit fell silent.
constexpr Microseconds kLiftSeen = milliseconds(500);

// What a user sits at: a session, a screen, a program in use, and the driver.
struct Seat : DriverSeat {
    const Xorg& server;
    CanvasProcess canvas{platform.runLoop};
    XWindows client{server.display()};

    explicit Seat(const Xorg& xorg) : server(xorg) {}
    // Empty when all is there.
    std::string sitDown() {
        if (std::string problem = canvas.start(LIGHTPEN_CANVAS); !problem.empty())
            return problem;
        return server.awaitAdded("LightPenNX7 pointer") ? "" : "The X server has not taken the pointer.";
    }
};
Seat* seat = nullptr;

std::unique_ptr<ScreenCapture> look() {
    std::string problem;
    auto capture = ScreenCapture::create(nullptr, problem);
    if (!capture)
        throw std::runtime_error(problem);
    return capture;
}

EventGeneratorNX7& driver() {
    return *EventGeneratorNX7::sharedEventGeneratorNX7();
}

class CalibrationOnScreenTest : public testing::Test {
protected:
    CalibrationOnScreenTest() {
        priority.reset();
        seat->desktop.emptyLog();
    }
    ~CalibrationOnScreenTest() override {
        unit.unplug();
        EXPECT_TRUE(becomes([this] { return !controller.deviceConnected(); })) << "the unit is still there";
        platform.runLoop.runFor(seconds(1)); // the removal's pauses come after its announcement
        if (HasFailure())
            seat->printLog();
    }

    template <class Condition>
    bool becomes(Condition condition) {
        return waitUntil(platform, condition, kPatience);
    }
    void plugIn() {
        unit.plug();
        ASSERT_TRUE(bus.settle(unit)) << bus.failure(unit);
        ASSERT_TRUE(
            becomes([this] { return controller.deviceConnected() && EventGeneratorNX7::isUnitOpen(); }));
        // The unit's first reports arm the pen; where they were missed, touches do.
        for (int knocks = 0; knocks < 10 && !waitUntil(platform, EventGeneratorNX7::hearsPen, seconds(1));
             ++knocks)
            unit.play(Hand().tap({59, 31}, kContact));
        ASSERT_TRUE(EventGeneratorNX7::hearsPen());
        ASSERT_TRUE(becomes([this] { return unit.toPlay() == Microseconds::zero(); }));
    }
    void unplug() {
        unit.unplug();
        ASSERT_TRUE(becomes([this] { return !controller.deviceConnected(); }));
        platform.runLoop.runFor(seconds(1));
    }
    void start(SessionKind kind) {
        platform.defaults.setObject("Auto Calibration", kind == SessionKind::automatic);
        controller.calibration("the test");
    }
    // How many windows cover the screen beside the program in use.
    std::size_t sessionWindows() {
        return seat->client.thatCover(static_cast<int>(kScreen.width), static_cast<int>(kScreen.height)) - 1;
    }
    PointList stored() {
        const auto points = unit.flash()->points();
        return points ? PointList(points->begin(), points->end()) : PointList();
    }

    // A unit that has never been calibrated is calibrated now.
    void calibrate(SessionKind kind) {
        ASSERT_FALSE(unit.flash()->calibrated());
        ASSERT_NO_FATAL_FAILURE(plugIn());
        const auto picture = seat->folder.file("target.png");
        PlayedSession session(platform, unit, *eyes);
        ASSERT_EQ(session.run(
                      kind, [&] { start(kind); }, picture),
                  "");
        EXPECT_EQ(session.completions(), 1);
        EXPECT_EQ(session.touches() > 0, kind == SessionKind::byHand);
        std::printf("%d touches of the hand\n", session.touches());
        EXPECT_TRUE(becomes([this] { return unit.flash()->calibrated() && !driver().delegate(); }));
        EXPECT_EQ(sessionWindows(), 0U);
        expectTheTargetsIn(stored());
    }
    void expectTheTargetsIn(const PointList& points) {
        ASSERT_EQ(points.size(), std::size(kTargets));
        for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_NEAR(points[i].x, unit.seen(kTargets[i]).x, 0.6) << i;
            EXPECT_NEAR(points[i].y, unit.seen(kTargets[i]).y, 0.6) << i;
        }
    }
    // What the unit has stored is all that is left of a calibration after this.
    void expectToSurviveReplugging() {
        ASSERT_NO_FATAL_FAILURE(unplug());
        ASSERT_NO_FATAL_FAILURE(plugIn());
        const PointListRef read = driver().calibrationPointsFromFlash();
        ASSERT_TRUE(read);
        // Two that hold the unit's information follow the calibration's points.
        EXPECT_EQ(PointList(read->begin(), read->begin() + std::min<std::ptrdiff_t>(4, std::ssize(*read))),
                  stored());
    }
    // The pointer follows the hand as exactly as it does after any calibration, and clicks reach the program
    // in use.
    void expectThePointerToFollow() {
        const std::size_t clicks = countOf(seat->canvas.events(), CanvasEvent::Kind::release);
        const HeardMapping heard(seat->desktop.recording, driver());
        std::vector<Tap> taps;
        EXPECT_EQ(tapAt({{5, 9}, {1268.5, 14}, {1271, 706.25}, {11, 702}, {333.5, 444}, {871, 118.75}}, unit,
                        seat->desktop.recording, *eyes, platform, taps, kContact),
                  "");
        const AccuracyRow row{"strong keystone", "", 0, accuracyOf(taps, unit.optics())};
        EXPECT_EQ(taps.size(), 6U);
        EXPECT_THAT(missedAims({row}), IsEmpty());
        std::printf("%s", tableOf({row}).c_str());
        EXPECT_TRUE(becomes([&] {
            return countOf(seat->canvas.events(), CanvasEvent::Kind::release) >= clicks + taps.size();
        }));
    }

    // What the hand sees; none while the target cannot be told from the rest.
    std::optional<ScreenPoint> targetOnScreen() {
        const auto picture = eyes->look();
        return picture ? targetSeen(*picture) : std::nullopt;
    }
    // The hand touches the first target of a session, and the session takes it.
    void touchFirstTarget() {
        TargetSeeker seeker;
        std::optional<ScreenPoint> seen;
        std::optional<ScreenPoint> touched;
        EXPECT_TRUE(becomes([&] {
            if (eyes->changed())
                seen = targetOnScreen();
            if (const auto place = seeker.look(seen, platform.clock.now())) {
                unit.play(Hand().press(*place).stay(kContact).lift());
                touched = place;
            }
            return touched && seen && std::abs(seen->x - touched->x) > TargetSeeker::kElsewhere;
        })) << "the target stays where it was touched";
        // A next touch right behind this one would be one stroke with it where a poll misses the lift
        // between.
        EXPECT_TRUE(becomes([this] { return unit.toPlay() == Microseconds::zero(); }));
        platform.runLoop.runFor(kLiftSeen);
    }
    std::vector<std::uint8_t> pixels() {
        const auto picture = eyes->look();
        return picture ? std::vector(picture->bytes.begin(), picture->bytes.end())
                       : std::vector<std::uint8_t>();
    }
    // What is on the screen once the program in use has drawn all that it was sent.
    std::vector<std::uint8_t> settledPixels() {
        std::vector<std::uint8_t> picture;
        EXPECT_TRUE(becomes([&] {
            const auto before = pixels();
            platform.runLoop.runFor(kLiftSeen);
            picture = pixels();
            return picture == before;
        })) << "the screen is never at rest";
        return picture;
    }

    Platform& platform = seat->platform;
    LightPenNX7Controller& controller = *seat->controller;
    std::optional<UnitPriority> priority{std::in_place};
    GadgetBus bus{platform.clock}; // the kernel has room for one unit of four interfaces at a time
    CameraUnit& unit = bus.add<CameraUnit>({}, {}, Optics::strongKeystone(kScreen));
    std::unique_ptr<ScreenCapture> eyes = look();
};

TEST_F(CalibrationOnScreenTest, AHandThatLooksAtTheScreenCalibratesAUnit) {
    ASSERT_NO_FATAL_FAILURE(calibrate(SessionKind::byHand));
    ASSERT_NO_FATAL_FAILURE(expectToSurviveReplugging());
    expectThePointerToFollow();
}

TEST_F(CalibrationOnScreenTest, ACameraThatLooksAtTheScreenCalibratesItself) {
    const ScreenWatch watch(look(), unit);
    ASSERT_NO_FATAL_FAILURE(calibrate(SessionKind::automatic));
    ASSERT_NO_FATAL_FAILURE(expectToSurviveReplugging());
    expectThePointerToFollow();
}

TEST_F(CalibrationOnScreenTest, EscapeBringsBackWhatTheUnitHasStored) {
    storeCalibration(unit, kScreen);
    const PointList before = stored();
    ASSERT_NO_FATAL_FAILURE(plugIn());
    start(SessionKind::byHand);
    ASSERT_NO_FATAL_FAILURE(touchFirstTarget());
    EXPECT_EQ(sessionWindows(), 1U);
    ASSERT_TRUE(becomes([] { return QGuiApplication::focusWindow() != nullptr; }));
    seat->client.pressKey(kEscape);
    EXPECT_TRUE(becomes([this] { return sessionWindows() == 0; }));
    EXPECT_FALSE(driver().delegate());
    EXPECT_EQ(stored(), before);
    expectThePointerToFollow();
}

TEST_F(CalibrationOnScreenTest, AUnitThatIsPulledOutOfASessionLeavesNoWindowBehind) {
    storeCalibration(unit, kScreen);
    const PointList before = stored();
    ASSERT_NO_FATAL_FAILURE(plugIn());
    const auto desktop = settledPixels();
    // The camera does not look, so the first target stays.
    start(SessionKind::automatic);
    ASSERT_TRUE(becomes([this] { return targetOnScreen().has_value(); }));
    EXPECT_EQ(sessionWindows(), 1U);
    EXPECT_NE(pixels(), desktop);
    ASSERT_NO_FATAL_FAILURE(unplug());
    EXPECT_EQ(sessionWindows(), 0U);
    EXPECT_TRUE(becomes([&] { return pixels() == desktop; })) << "the screen is not as it was";
    EXPECT_EQ(stored(), before);
    ASSERT_NO_FATAL_FAILURE(plugIn());
    expectThePointerToFollow();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const lightpen::Xorg server;
    server.enter();
    const lightpen::PrivateBus bus;
    bus.enter();
    lightpen::setUpQtMessages();
    const QApplication application(argc, argv);
    lightpen::setUpQtApplication();
    const auto seat = std::make_unique<lightpen::Seat>(server);
    lightpen::seat = seat.get();
    if (const std::string problem = seat->sitDown(); !problem.empty()) {
        std::printf("%s\n%s", problem.c_str(), server.log().c_str());
        seat->platform.runLoop.exitProcess(EXIT_FAILURE);
    }
    const int status = RUN_ALL_TESTS();
    std::fflush(stdout);
    seat->canvas.command("quit");
    seat->platform.runLoop.runFor(std::chrono::milliseconds(300));
    // Without destructors: the driver's threads still run.
    seat->platform.runLoop.exitProcess(status);
}
