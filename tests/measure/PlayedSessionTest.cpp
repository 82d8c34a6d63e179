// SPDX-License-Identifier: MIT
#include "measure/PlayedSession.h"

#include <gmock/gmock.h>

#include <QImage>
#include <QString>

#include "emulated/UnitOnDesk.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xFFFFFF;

// A session of the test's own on a real screen, in virtual time: it shows a target in one place after the
// other.
class PlayedSessionTest : public UnitAtScreen {
protected:
    void show(std::uint32_t ground, std::uint32_t colour) { showTarget(places.front(), ground, colour); }
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
            moveTarget(places[step]);
        else
            desk.notifications.post({"kCalibrationCompleted", this, {}});
    }
    std::string play(SessionKind kind, const std::function<void()>& start) {
        PlayedSession session(desk.platform, unit, *eyes);
        problem = session.run(kind, start, picture);
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

    TemporaryDirectory directory;
    std::string picture = directory.file("target.png");

    std::vector<ScreenPoint> places = {{100, 40}, {511, 300}, {333, 40}};
    std::size_t step = 0;
    std::size_t overlooked = 0; // so many touches have no effect
    bool penWasDown = false;
    std::vector<ScreenPoint> touched;
    int touches = 0;
    int completions = 0;
};

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
