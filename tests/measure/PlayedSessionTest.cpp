// SPDX-License-Identifier: MIT
#include "measure/PlayedSession.h"

#include <gmock/gmock.h>

#include <QImage>
#include <QString>

#include "kit/TemporaryDirectory.h"
#include "kit/TestPlatform.h"
#include "kit/Xvfb.h"
#include "kit/linux/ScreenPainter.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xFFFFFF;
constexpr int kTargetSize = 20;

// A session of the test's own on a real screen, in virtual time: it shows a target in one place after the
// other.
class PlayedSessionTest : public testing::Test {
protected:
    // News of changes would come in real time, and virtual time does not wait for them: here every look
    // counts.
    static void SetUpTestSuite() {
        server = std::make_unique<Xvfb>("640x360", std::vector<std::string>{"-extension", "DAMAGE"});
    }
    static void TearDownTestSuite() { server.reset(); }

    PlayedSessionTest() { bus.runOnMainLoop(); }

    void show(std::uint32_t background, std::uint32_t colour) {
        window = painter.show({0, 0, 640, 360}, background);
        const ScreenPoint place = places.front();
        target = painter.show({static_cast<int>(place.x) - kTargetSize / 2,
                               static_cast<int>(place.y) - kTargetSize / 2, kTargetSize, kTargetSize},
                              colour, window);
    }
    // Notes the touches and goes on at each, but for those that it is to overlook.
    void watchPen() {
        const auto pen = unit.penOnScreen(desk.clock.now());
        if (pen && !penWasDown) {
            touched.push_back(*pen);
            if (touched.size() > overlooked)
                next();
        }
        penWasDown = pen.has_value();
        desk.runLoop.performAfterDelay({this, "watchPen", "", [this] { watchPen(); }}, milliseconds(10));
    }
    void next() {
        if (++step < places.size())
            painter.move(target, static_cast<std::uint32_t>(places[step].x) - kTargetSize / 2,
                         static_cast<std::uint32_t>(places[step].y) - kTargetSize / 2);
        else
            desk.notifications.post({"kCalibrationCompleted", this, {}});
    }
    std::string play(SessionKind kind, const std::function<void()>& start) {
        PlayedSession session(desk.platform, unit, *eyes);
        std::string problem = session.run(kind, start, picture);
        touches = session.touches();
        completions = session.completions();
        return problem;
    }
    std::string playByHand() {
        return play(SessionKind::byHand, [this] {
            show(kWhite, 0x207020);
            watchPen();
        });
    }

    static std::unique_ptr<Xvfb> server;
    TestPlatform desk;
    EmulatedBus bus{desk.registry, desk.runLoop, desk.clock};
    CameraUnit& unit = bus.add<CameraUnit>({}, Optics::straight({640, 360}));
    ScreenPainter painter{server->display()};
    std::string noProblem;
    std::unique_ptr<ScreenCapture> eyes = ScreenCapture::create(server->display().c_str(), noProblem);
    TemporaryDirectory directory;
    std::string picture = directory.file("target.png");

    std::vector<ScreenPoint> places = {{100, 40}, {511, 300}, {333, 40}};
    std::size_t step = 0;
    std::size_t overlooked = 0; // so many touches have no effect
    xcb_window_t window = 0;
    xcb_window_t target = 0;
    bool penWasDown = false;
    std::vector<ScreenPoint> touched;
    int touches = 0;
    int completions = 0;
};
std::unique_ptr<Xvfb> PlayedSessionTest::server;

TEST_F(PlayedSessionTest, TheHandTouchesEachTargetThatItSees) {
    EXPECT_EQ(playByHand(), "");
    EXPECT_EQ(touched, places);
    EXPECT_EQ(touches, 3);
    EXPECT_EQ(completions, 1);
}

TEST_F(PlayedSessionTest, TheFirstTargetIsPictured) {
    EXPECT_EQ(playByHand(), "");
    const QImage image(QString::fromStdString(picture));
    EXPECT_EQ(image.size(), QSize(640, 360));
    EXPECT_EQ(image.pixel(100, 40), 0xFF207020);
    EXPECT_EQ(image.pixel(511, 300), 0xFFFFFFFF);
}

TEST_F(PlayedSessionTest, ATouchWithoutEffectIsRepeated) {
    overlooked = 1;
    EXPECT_EQ(playByHand(), "");
    EXPECT_THAT(touched, ElementsAre(places[0], places[0], places[1], places[2]));
    EXPECT_EQ(touches, 4);
}

TEST_F(PlayedSessionTest, WhatIsNoTargetIsNotTouched) {
    const Microseconds begin = desk.clock.now();
    EXPECT_EQ(play(SessionKind::byHand,
                   [this] {
                       show(kWhite, kBlack);
                       painter.show({400, 200, 20, 20}, kBlack, window);
                       watchPen();
                   }),
              "The calibration by hand was not completed.");
    EXPECT_THAT(touched, IsEmpty());
    EXPECT_LT(desk.clock.now() - begin, seconds(60));
}

TEST_F(PlayedSessionTest, AnAutomaticSessionIsOnlyWatched) {
    EXPECT_EQ(play(SessionKind::automatic,
                   [this] {
                       show(kBlack, kWhite);
                       watchPen();
                       desk.runLoop.performAfterDelay({this, "complete", "",
                                                       [this] {
                                                           step = places.size();
                                                           next();
                                                       }},
                                                      seconds(3));
                   }),
              "");
    EXPECT_THAT(touched, IsEmpty());
    EXPECT_EQ(touches, 0);
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(QImage(QString::fromStdString(picture)).pixel(100, 40), 0xFFFFFFFF);
}

TEST_F(PlayedSessionTest, AnAutomaticSessionThatNeverEndsIsSaid) {
    EXPECT_EQ(play(SessionKind::automatic, [this] { show(kBlack, kWhite); }),
              "The automatic calibration was not completed.");
}

TEST_F(PlayedSessionTest, APictureThatCannotBeWrittenIsSaid) {
    picture = directory.file("missing/target.png");
    EXPECT_EQ(playByHand(), "The target could not be pictured in " + picture + ".");
}

TEST_F(PlayedSessionTest, EndsWithTheProgram) {
    EXPECT_EQ(play(SessionKind::byHand,
                   [this] {
                       show(kWhite, kBlack);
                       desk.runLoop.terminate(0);
                   }),
              "The calibration by hand was not completed.");
    EXPECT_EQ(touches, 0);
}

} // namespace
} // namespace lightpen
