// SPDX-License-Identifier: MIT
#include "emulated/ScreenCapture.h"

#include <gmock/gmock.h>

#include "emulated/ScreenWatch.h"
#include "kit/ChildProcess.h"
#include "kit/Eventually.h"
#include "kit/Xvfb.h"
#include "kit/linux/ScreenPainter.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

MATCHER_P2(IsNear, x, y, "") {
    return std::abs(arg.x - x) < 0.01 && std::abs(arg.y - y) < 0.01;
}

constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xFFFFFF;

// News of changes come when they come, and those of a change that was seen already may still be on their way.
bool settles(ScreenCapture& capture) {
    return eventually([&] { return capture.look() && !capture.changed(); });
}

// A server, something that draws on it and something that looks.
struct Stage {
    explicit Stage(const std::vector<std::string>& options = {}, CaptureArea area = {},
                   const std::string& size = "1280x720")
        : server(size, options), painter(server.display()),
          capture(ScreenCapture::create(server.display().c_str(), problem, [area] { return area; })) {}

    DisplayedPicture view() {
        const auto picture = capture->look();
        return picture ? cameraView(*picture) : DisplayedPicture{};
    }

    bool settles() { return lightpen::settles(*capture); }
    bool hearsOfChange() {
        return eventually([&] { return capture->changed(); });
    }

    Xvfb server;
    ScreenPainter painter;
    std::string problem;
    std::unique_ptr<ScreenCapture> capture;
};

void expectTargetsAreFound(Stage& stage) {
    ASSERT_TRUE(stage.capture) << stage.problem;
    const xcb_window_t screen = stage.painter.show({0, 0, 1280, 720}, kBlack);
    EXPECT_THAT(stage.view().blobs, IsEmpty());
    EXPECT_TRUE(stage.view().dark);
    const xcb_window_t target = stage.painter.show({160, 63, 20, 17}, kWhite, screen);
    EXPECT_TRUE(stage.hearsOfChange());
    EXPECT_THAT(stage.view().blobs, ElementsAre(IsNear(170, 71.5)));
    stage.painter.move(target, 1259, 702);
    EXPECT_TRUE(stage.hearsOfChange());
    EXPECT_THAT(stage.view().blobs, ElementsAre(IsNear(1269, 710.5)));
    EXPECT_TRUE(stage.view().dark);
}

TEST(ScreenCaptureTest, SeesABrightSquareOnABlackWindow) {
    Stage stage;
    expectTargetsAreFound(stage);
    EXPECT_TRUE(stage.capture->sharesMemory());
}

TEST(ScreenCaptureTest, SeesItWithoutSharedMemory) {
    Stage stage({"-extension", "MIT-SHM"});
    expectTargetsAreFound(stage);
    EXPECT_FALSE(stage.capture->sharesMemory());
}

TEST(ScreenCaptureTest, SeesItOnAServerThatDoesNotTellOfChanges) {
    Stage stage({"-extension", "DAMAGE"});
    expectTargetsAreFound(stage);
    EXPECT_TRUE(stage.capture->changed());
}

TEST(ScreenCaptureTest, KnowsWhenNothingHasChanged) {
    Stage stage;
    EXPECT_TRUE(stage.settles());
    EXPECT_FALSE(stage.capture->changed());
    const xcb_window_t window = stage.painter.show({10, 10, 50, 50}, kWhite);
    EXPECT_TRUE(stage.hearsOfChange());
    EXPECT_TRUE(stage.capture->changed()); // until somebody looks
    EXPECT_TRUE(stage.settles());
    stage.painter.move(window, 90, 10);
    EXPECT_TRUE(stage.hearsOfChange());
}

TEST(ScreenCaptureTest, TwoThatLookDoNotTakeChangesFromEachOther) {
    Stage stage;
    const auto other = ScreenCapture::create(stage.server.display().c_str(), stage.problem);
    EXPECT_TRUE(stage.settles());
    EXPECT_TRUE(settles(*other));
    stage.painter.show({10, 10, 50, 50}, kWhite);
    EXPECT_TRUE(stage.hearsOfChange());
    EXPECT_TRUE(stage.settles());
    EXPECT_TRUE(eventually([&] { return other->changed(); }));
}

TEST(ScreenCaptureTest, SeesThePartOfTheDesktopThatIsTheScreen) {
    Stage stage({}, {{400, 100, 600, 500}, 0.5});
    stage.painter.show({0, 0, 400, 720}, kWhite);
    stage.painter.show({410, 130, 20, 10}, kWhite);
    EXPECT_THAT(stage.view().blobs, ElementsAre(IsNear(10, 17.5)));
    EXPECT_TRUE(stage.view().dark);
    stage.painter.movePointer(501, 110);
    EXPECT_EQ(stage.capture->pointer(), (ScreenPoint{50.5, 5}));
}

TEST(ScreenCaptureTest, ALookIsCutToTheDesktop) {
    Stage stage({}, {{1270, -20, 100, 50}, 1});
    const auto picture = stage.capture->look();
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width, 10);
    EXPECT_EQ(picture->height, 30);
    Stage beside({}, {{1280, 0, 100, 50}, 1});
    EXPECT_FALSE(beside.capture->look());
    Stage left({}, {{-30, 700, 100, 50}, 1});
    const auto rest = left.capture->look();
    ASSERT_TRUE(rest);
    EXPECT_EQ(rest->width, 70);
    EXPECT_EQ(rest->height, 20);
}

TEST(ScreenCaptureTest, TheDesktopMayChangeItsSize) {
    Stage stage;
    ASSERT_TRUE(stage.capture->look());
    const auto xrandr = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"xrandr", "--display", stage.server.display()});
        EXPECT_EQ(runProgram(arguments), 0) << arguments[3];
    };
    xrandr({"--newmode", "smaller", "40", "800", "840", "968", "1056", "500", "501", "505", "528"});
    xrandr({"--addmode", "screen", "smaller"});
    xrandr({"--output", "screen", "--mode", "smaller"});
    const auto small = stage.capture->look();
    ASSERT_TRUE(small);
    EXPECT_EQ(small->width, 800);
    EXPECT_EQ(small->height, 500);
    stage.painter.show({700, 400, 20, 20}, kWhite);
    EXPECT_THAT(stage.view().blobs, ElementsAre(IsNear(710, 410)));
    xrandr({"--output", "screen", "--mode", "1280x720"});
    const auto large = stage.capture->look();
    ASSERT_TRUE(large);
    EXPECT_EQ(large->width, 1280);
    stage.painter.show({1200, 650, 20, 20}, kWhite);
    EXPECT_THAT(stage.view().blobs, ElementsAre(IsNear(710, 410), IsNear(1210, 660)));
}

TEST(ScreenCaptureTest, AServerThatIsGoneShowsNothing) {
    Stage stage;
    ASSERT_TRUE(stage.capture->look());
    stage.server.end();
    EXPECT_FALSE(stage.capture->look());
    EXPECT_FALSE(stage.capture->pointer());
    stage.capture->changed();
}

TEST(ScreenCaptureTest, SaysWhyItCannotLook) {
    std::string problem;
    EXPECT_FALSE(ScreenCapture::create(":31415", problem));
    EXPECT_EQ(problem, "the X display cannot be reached");
}

TEST(ScreenCaptureTest, AWatchShowsTheUnitWhatIsOnTheScreen) {
    Stage stage;
    stage.painter.show({0, 0, 1280, 720}, kBlack);
    CameraUnit unit({}, nullptr, Optics::straight({1280, 720}));
    unit.behaviour()->filterInAtPowerUp = false;
    std::vector<CameraPoint> spots;
    unit.onReport([&](const UnitReport& report) {
        if (report.kind == ReportKind::spot)
            spots.push_back({static_cast<double>(report.bytes[1] + 256 * report.bytes[2]),
                             static_cast<double>(report.bytes[3] + 256 * report.bytes[4])});
    });
    unit.plug();
    const ScreenWatch watch(std::move(stage.capture), unit);
    Microseconds time{};
    const auto seesSpotAt = [&](ScreenPoint place) {
        return eventually([&] {
            spots.clear();
            unit.advance(time += std::chrono::milliseconds(200));
            return !spots.empty() && std::abs(spots.back().x - unit.seen(place).x) <= 1 &&
                   std::abs(spots.back().y - unit.seen(place).y) <= 1;
        });
    };
    const xcb_window_t target = stage.painter.show({1000, 200, 30, 30}, kWhite);
    EXPECT_TRUE(seesSpotAt({1015, 215}));
    stage.painter.move(target, 200, 600);
    EXPECT_TRUE(seesSpotAt({215, 615}));
    stage.painter.show({0, 0, 1280, 720}, kWhite);
    EXPECT_TRUE(eventually([&] {
        spots.clear();
        unit.advance(time += std::chrono::milliseconds(200));
        return spots.empty();
    }));
}

} // namespace
} // namespace lightpen
