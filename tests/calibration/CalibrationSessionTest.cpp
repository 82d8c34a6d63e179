// SPDX-License-Identifier: MIT
// Sessions from start to end: what happens, and in which order.
#include <thread>

#include "support/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const PointList kFour{{312, 271}, {2201, 188.5}, {164, 1633}, {2390, 1702}};
const PointList kStored{{400, 300}, {2100, 300}, {300, 1500}, {2200, 1600}};
const WindowPoint kOrigins[] = {{160, 995}, {1740, 995}, {160, 65}, {1740, 65}};

enum class Kind { manual, automatic };

class CalibrationSessionTest : public SessionFixture {
protected:
    CalibrationSessionTest() { driver->_calibrationPoints = std::make_shared<const PointList>(kStored); }

    void start(Kind kind, std::int64_t targets = 4) {
        center->setTotalPoints(targets);
        if (kind == Kind::automatic)
            center->startAutoCalibration();
        else
            center->startCalibration();
    }
    void touchAll(const PointList& points = kFour) {
        for (const CameraPoint& point : points)
            touchAndWait(point);
    }
    void pressEscape() { window()->keyDown(53); }
    // From now on each entry of the timeline tells whether the window is shown, and who gets the points.
    void annotate() {
        annotation = [this] {
            return std::string(windowIsVisible() ? ", window" : "") +
                   (driver->delegate() == center ? ", delegate" : "");
        };
    }
    void expectCanceled() {
        EXPECT_FALSE(windowIsVisible());
        EXPECT_EQ(driver->delegate(), nullptr);
        EXPECT_EQ(desk.systemUI.mode, kUIModeNormal);
        EXPECT_EQ(*center->calibrationPoints(), kStored);
        ASSERT_EQ(center->calibrators()->size(), 1u);
        EXPECT_EQ(center->calibrators()->front()->sourcePoints().bottomRight, kStored[3]);
        EXPECT_THAT(completed, IsEmpty());
    }
};

// Start

TEST_F(CalibrationSessionTest, ManualStartInItsOrder) {
    openUnit();
    annotate();
    start(Kind::manual);
    EXPECT_THAT(takeTimeline(), ElementsAre("mode 3 options 76"));
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(driver->delegate(), center);
    EXPECT_EQ(targetOrigin(), kOrigins[0]);
    EXPECT_TRUE(center->calibrationTarget()->isVisible());
    EXPECT_EQ(window()->palette().color(QPalette::Window), QColor(Qt::white));
    EXPECT_THAT(*center->calibrationPoints(), IsEmpty());
}

TEST_F(CalibrationSessionTest, AutomaticStartInItsOrder) {
    openUnit();
    annotate();
    start(Kind::automatic);
    EXPECT_THAT(takeTimeline(), ElementsAre("hide cursor 1", "mode 3 options 76", "filter out, delegate",
                                            "activate, delegate"));
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(targetOrigin(), kOrigins[0]);
    EXPECT_EQ(window()->palette().color(QPalette::Window), QColor(Qt::black));
}

TEST_F(CalibrationSessionTest, FirstTargetStandsInItsPlaceWhateverItsSizeAndTheScreens) {
    desk.desktop.frame = ScreenRect{{0, 0}, {1366, 768}};
    center->setTargetSize({64, 48});
    start(Kind::manual, 9);
    EXPECT_EQ(targetOrigin(), (WindowPoint{138, 669}));
    EXPECT_EQ(window()->contentView().size(), QSize(1366, 768));
}

// Manual session

TEST_F(CalibrationSessionTest, ManualSessionFromStartToCompletion) {
    start(Kind::manual);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(targetOrigin(), kOrigins[i]) << i;
        EXPECT_THAT(completed, IsEmpty());
        touchAndWait(kFour[i]);
    }
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_EQ(*completed.front(), kFour);
    EXPECT_EQ(*center->calibrationPoints(), kFour);
    EXPECT_EQ(center->calibrators()->size(), 1u);
    EXPECT_EQ(window(), nullptr) << "dropped";
    EXPECT_EQ(center->calibrationTarget()->parentWidget(), nullptr);
    EXPECT_EQ(desk.systemUI.mode, kUIModeNormal);
}

TEST_F(CalibrationSessionTest, CompletionInItsOrder) {
    openUnit();
    start(Kind::manual);
    touchAll({kFour[0], kFour[1], kFour[2]});
    touch(kFour[3]);
    takeTimeline();
    annotate();
    runMainLoop();
    EXPECT_THAT(takeTimeline(),
                ElementsAre("KVR n:628 calibrationStep : 4, window, delegate",
                            "KVR n:737 close window, autoCalibration:0, window, delegate",
                            "mode 0 options 0, delegate",
                            "KVR n:279 _calibrationPoints: ({312, 271}, {2201, 188.5}, {164, 1633}, {2390, "
                            "1702}), delegate",
                            "KVR n:284 rectWidth : 1580 rectHeight : 930, delegate",
                            "KVR n:288 create calibrator using point : 0 1 2 3, destination rectangle "
                            ":{{170, 75}, {1580, 930}}, delegate",
                            "posted kCalibrationCompleted, delegate"));
}

TEST_F(CalibrationSessionTest, CompletionCarriesTheCentreAndAListOfItsOwn) {
    std::vector<Notification> posted;
    desk.notifications.addObserver(&posted, kCalibrationCompleted, center.get(),
                                   [&](const Notification& notification) { posted.push_back(notification); });
    start(Kind::manual);
    touchAll();
    ASSERT_EQ(posted.size(), 1u);
    EXPECT_EQ(posted.front().object, center.get());
    EXPECT_EQ(posted.front().userInfo.size(), 1u);
    center->setCalibrationPoints(nullptr);
    EXPECT_EQ(*completed.front(), kFour);
}

TEST_F(CalibrationSessionTest, CompletionLeavesTheDelegateToItsObserver) {
    start(Kind::manual);
    touchAll();
    EXPECT_EQ(driver->delegate(), center);
}

TEST_F(CalibrationSessionTest, ListsOfEachLengthGoThrough) {
    for (const auto& [targets, calibrators] : {std::pair{9, 4U}, {25, 16U}, {80, 63U}}) {
        const auto points = spreadPoints(static_cast<std::size_t>(targets));
        start(Kind::manual, targets);
        touchAll(*points);
        ASSERT_FALSE(completed.empty()) << targets;
        EXPECT_EQ(*completed.back(), *points);
        EXPECT_EQ(center->calibrators()->size(), calibrators);
    }
    EXPECT_EQ(completed.size(), 3u);
}

TEST_F(CalibrationSessionTest, WithoutANumberOfTargetsTheFirstTouchIsTheLast) {
    center->startCalibration();
    touchAndWait(kFour[0]);
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_THAT(*completed.front(), ElementsAre(kFour[0]));
    EXPECT_THAT(*center->calibrators(), IsEmpty());
}

TEST_F(CalibrationSessionTest, WithoutAScreenTheSessionGoesThrough) {
    center = std::make_shared<KVRCalibrationCenter>(0, kClearColor, 0, std::nullopt);
    start(Kind::manual);
    EXPECT_EQ(targetOrigin(), (WindowPoint{160, -85}));
    touchAll();
    EXPECT_EQ(completed.size(), 1u);
}

// Automatic session

TEST_F(CalibrationSessionTest, AutomaticSessionFromStartToCompletion) {
    openUnit();
    start(Kind::automatic);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(targetOrigin(), kOrigins[i]) << i;
        takeTimeline();
        touch(kFour[i]);
        if (i < 3)
            runMainLoop();
    }
    takeTimeline();
    annotate();
    runMainLoop();
    EXPECT_THAT(takeTimeline(),
                ElementsAre("KVR n:628 calibrationStep : 4, window, delegate",
                            "show cursor 1, window, delegate", "filter in, window, delegate",
                            "KVR n:737 close window, autoCalibration:0, window, delegate",
                            "mode 0 options 0, delegate", StartsWith("KVR n:279 "), StartsWith("KVR n:284 "),
                            StartsWith("KVR n:288 "), "posted kCalibrationCompleted, delegate"));
    EXPECT_EQ(*completed.at(0), kFour);
}

TEST_F(CalibrationSessionTest, AutomaticSessionWithoutAUnitMovesNoFilter) {
    start(Kind::automatic);
    touchAll();
    const auto timeline = takeTimeline();
    EXPECT_THAT(timeline, testing::Not(testing::Contains(StartsWith("filter"))));
    EXPECT_EQ(completed.size(), 1u);
}

// Cancel

TEST_F(CalibrationSessionTest, EscapeInItsOrder) {
    openUnit();
    start(Kind::manual);
    touch(kFour[0]);
    takeTimeline();
    annotate();
    pressEscape();
    EXPECT_THAT(
        takeTimeline(),
        ElementsAre("KVRC n:28 keyCode : 53, window, delegate",
                    testing::AllOf(StartsWith("KVR n:744 {name = kCalibrationDidCanceled; object = 0x"),
                                   testing::EndsWith("; }, window")),
                    "KVR n:737 close window, autoCalibration:0, window", "mode 0 options 0",
                    "KVR n:279 _calibrationPoints: ({400, 300}, {2100, 300}, {300, 1500}, {2200, "
                    "1600})",
                    StartsWith("KVR n:284 "), StartsWith("KVR n:288 "), "posted kCalibrationDidCanceled"));
    expectCanceled();
    EXPECT_NE(window(), nullptr) << "kept";
}

TEST_F(CalibrationSessionTest, EscapeFromAnAutomaticSessionInItsOrder) {
    openUnit();
    start(Kind::automatic);
    takeTimeline();
    pressEscape();
    EXPECT_THAT(takeTimeline(),
                ElementsAre("KVRC n:28 keyCode : 53", StartsWith("KVR n:744 "),
                            "KVR n:737 close window, autoCalibration:1", "show cursor 1", "mode 0 options 0",
                            StartsWith("KVR n:279 "), StartsWith("KVR n:284 "), StartsWith("KVR n:288 "),
                            "filter in", "posted kCalibrationDidCanceled"));
    expectCanceled();
    center->windowWillClose({});
    EXPECT_THAT(takeTimeline(), ElementsAre("KVR n:737 close window, autoCalibration:0"));
}

TEST_F(CalibrationSessionTest, CancelAtEveryStepAndInEveryGlide) {
    for (const Kind kind : {Kind::manual, Kind::automatic})
        for (std::size_t touches = 0; touches < 4; ++touches)
            for (const Microseconds wait : {Microseconds(), kGlide / 3, kGlide}) {
                SCOPED_TRACE(testing::Message() << "after " << touches << " and " << wait.count() << " us");
                start(kind);
                for (std::size_t i = 0; i < touches; ++i) {
                    touch(kFour[i]);
                    desk.runLoop.runFor(i + 1 < touches ? kGlide : wait);
                }
                pressEscape();
                expectCanceled();
                // What comes late changes nothing.
                const WindowPoint origin = targetOrigin();
                takeTimeline();
                touch({1000, 1000});
                desk.runLoop.runFor(kGlide);
                EXPECT_THAT(takeTimeline(), IsEmpty());
                EXPECT_EQ(targetOrigin(), origin);
                expectCanceled();
            }
    EXPECT_EQ(canceled.size(), 24u);
}

TEST_F(CalibrationSessionTest, ClosingTheWindowFromOutsideCancels) {
    start(Kind::automatic);
    touchAndWait(kFour[0]);
    window()->close();
    expectCanceled();
    EXPECT_EQ(canceled.size(), 1u);
}

TEST_F(CalibrationSessionTest, CancelWithNothingStoredLeavesNoCalibration) {
    driver->_calibrationPoints = nullptr;
    center->setCalibrationPoints(std::make_shared<const PointList>(kStored));
    start(Kind::manual);
    pressEscape();
    EXPECT_THAT(*center->calibrationPoints(), IsEmpty());
    EXPECT_THAT(*center->calibrators(), IsEmpty());
}

TEST_F(CalibrationSessionTest, CancelOfAnybodysWindowIsOursToo) {
    start(Kind::manual);
    desk.notifications.post({std::string(kCalibrationDidCanceled)});
    EXPECT_FALSE(windowIsVisible());
    EXPECT_EQ(*center->calibrationPoints(), kStored);
}

TEST_F(CalibrationSessionTest, CancelThatIsAskedForGoesEscapesWayOnTheMainLoop) {
    start(Kind::manual);
    touchAndWait(kFour[0]);
    std::thread([this] { center->cancelSession(); }).join();
    EXPECT_TRUE(windowIsVisible());
    runMainLoop();
    expectCanceled();
    EXPECT_EQ(canceled.size(), 1u);
}

TEST_F(CalibrationSessionTest, CancelThatIsAskedForMeansTheSessionOfThatMoment) {
    center->cancelSession();
    start(Kind::manual);
    runMainLoop();
    EXPECT_TRUE(windowIsVisible());
    center->cancelSession();
    center->cancelSession();
    pressEscape();
    start(Kind::manual);
    runMainLoop();
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(canceled.size(), 1u);
}

// One session after another

TEST_F(CalibrationSessionTest, SecondSessionAfterACompletedOne) {
    start(Kind::manual);
    touchAll();
    start(Kind::manual);
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(targetOrigin(), kOrigins[0]);
    EXPECT_THAT(*center->calibrationPoints(), IsEmpty());
    touchAll(kStored);
    ASSERT_EQ(completed.size(), 2u);
    EXPECT_EQ(*completed[1], kStored);
    EXPECT_EQ(*completed[0], kFour);
}

TEST_F(CalibrationSessionTest, SecondSessionAfterACancelledOneUsesItsWindow) {
    start(Kind::automatic);
    touchAndWait(kFour[0]);
    const KVRCalibrationWindow* const first = window();
    pressEscape();
    start(Kind::manual);
    EXPECT_EQ(window(), first);
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(window()->palette().color(QPalette::Window), QColor(Qt::white));
    EXPECT_EQ(targetOrigin(), kOrigins[0]);
    touchAll();
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_EQ(*completed.front(), kFour);
    EXPECT_THAT(takeTimeline(), testing::Contains("KVR n:737 close window, autoCalibration:0"));
}

TEST_F(CalibrationSessionTest, StepThatWaitsDiesWithItsSession) {
    start(Kind::manual);
    touch(kFour[0]);
    pressEscape();
    start(Kind::manual);
    takeTimeline();
    desk.runLoop.runFor(kGlide);
    EXPECT_THAT(takeTimeline(), IsEmpty());
    EXPECT_EQ(targetOrigin(), kOrigins[0]);
}

TEST_F(CalibrationSessionTest, GlideDiesWithItsSession) {
    start(Kind::manual);
    touch(kFour[0]);
    desk.runLoop.runFor(kGlide / 2);
    pressEscape();
    start(Kind::manual);
    takeTimeline();
    desk.runLoop.runFor(kGlide);
    EXPECT_THAT(takeTimeline(), IsEmpty()) << "no beep";
    EXPECT_EQ(targetOrigin(), kOrigins[0]);
    touchAndWait(kFour[0]);
    EXPECT_EQ(targetOrigin(), kOrigins[1]);
}

TEST_F(CalibrationSessionTest, StartDuringASessionBeginsAnewAndLosesNothingOfTheUsers) {
    desk.systemUI.mode = 1;
    desk.systemUI.options = 5;
    start(Kind::manual);
    touchAndWait(kFour[0]);
    touch(kFour[1]);
    start(Kind::manual);
    desk.runLoop.runFor(kGlide);
    EXPECT_EQ(targetOrigin(), kOrigins[0]);
    touchAll();
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_EQ(*completed.front(), kFour);
    EXPECT_EQ(desk.systemUI.mode, 1u);
    EXPECT_EQ(desk.systemUI.options, 5u);
}

TEST_F(CalibrationSessionTest, ManualStartDuringAnAutomaticSessionStaysAutomatic) {
    start(Kind::automatic);
    start(Kind::manual);
    touch(kFour[0]);
    runMainLoop();
    EXPECT_EQ(targetOrigin(), kOrigins[1]) << "without a glide";
}

// Without a session

TEST_F(CalibrationSessionTest, WithoutASessionNoStepIsMadeAndNoPointTaken) {
    touch(kFour[0]);
    center->nextTarget();
    runMainLoop();
    EXPECT_THAT(takeTimeline(), IsEmpty());
    EXPECT_EQ(center->calibrationPoints(), nullptr);
}

TEST_F(CalibrationSessionTest, TimerIsLoggedAndStepsOn) {
    start(Kind::automatic);
    takeTimeline();
    center->timerFired("the timer");
    EXPECT_THAT(takeTimeline(),
                ElementsAre("KVR n:416 timerFired : the timer", "KVR n:628 calibrationStep : 1",
                            "KVR n:515 targetOriginOfStep {1740, 995}", "play Tink"));
}

TEST_F(CalibrationSessionTest, StepsThatNobodyTouchedCompleteAnEmptySession) {
    start(Kind::automatic);
    for (int i = 0; i < 4; ++i)
        center->nextTarget();
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_THAT(*completed.front(), IsEmpty());
}

TEST_F(CalibrationSessionTest, OriginOfAStepIsLogged) {
    center->setTotalPoints(9);
    EXPECT_EQ(center->targetOriginOfStep(4), (WindowPoint{780, 455}));
    EXPECT_THAT(takeTimeline(), ElementsAre("KVR n:515 targetOriginOfStep {780, 455}"));
}

TEST_F(CalibrationSessionTest, WindowThatClosesInAnAutomaticSessionShowsTheCursor) {
    center->windowWillClose({});
    EXPECT_THAT(takeTimeline(), ElementsAre("KVR n:737 close window, autoCalibration:0"));
    start(Kind::automatic);
    takeTimeline();
    center->windowWillClose({});
    EXPECT_THAT(takeTimeline(), ElementsAre("KVR n:737 close window, autoCalibration:1", "show cursor 1"));
}

} // namespace
} // namespace lightpen
