// SPDX-License-Identifier: MIT
// Sessions from start to end: what happens, and in which order.
#include <QApplication>
#include <QEvent>

#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// Calls this at each event of the kind that the widget gets, while it lives.
class EventWatch final : public QObject {
public:
    EventWatch(QWidget& watched, QEvent::Type type, std::function<void()> at)
        : type_(type), at_(std::move(at)) {
        watched.installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == type_)
            at_();
        return false;
    }

private:
    const QEvent::Type type_;
    const std::function<void()> at_;
};

class CalibrationSessionTest : public SessionFixture {};

// Start

TEST_F(CalibrationSessionTest, FirstTargetStandsInItsPlaceWhateverItsSizeAndTheScreens) {
    desk.desktop.frame = ScreenRect{{0, 0}, {1366, 768}};
    center->setTargetSize({64, 48});
    start(Kind::manual, 9);
    EXPECT_EQ(targetOrigin(), (WindowPoint{138, 669}));
    EXPECT_EQ(window()->contentView().size(), QSize(1366, 768));
}

// A point that comes with the delegate must find the target where it is to be touched.
TEST_F(CalibrationSessionTest, TheFirstTargetStandsInItsPlaceBeforeThePenIsTaken) {
    for (const Kind kind : {Kind::manual, Kind::automatic}) {
        start(kind);
        touchAndWait(kFour[0]);
        ASSERT_EQ(targetOrigin(), kOrigins[1]);
        driver->exitCalib();
        std::vector<WindowPoint> before;
        std::vector<WindowPoint> after;
        const EventWatch moves(*center->calibrationTarget(), QEvent::Move,
                               [&] { (driver->delegate() ? after : before).push_back(targetOrigin()); });
        start(kind);
        EXPECT_THAT(before, testing::Contains(kOrigins[0]));
        EXPECT_THAT(after, IsEmpty());
        pressEscape();
    }
}

TEST_F(CalibrationSessionTest, NoTouchIsTakenBeforeTheFirstTargetStandsInItsPlace) {
    start(Kind::manual);
    touchAndWait(kFour[0]);
    int moves = 0;
    const EventWatch watch(*center->calibrationTarget(), QEvent::Move, [&] {
        ++moves;
        touch(kFour[2]);
    });
    start(Kind::manual);
    EXPECT_GT(moves, 0);
    EXPECT_THAT(*center->calibrationPoints(), IsEmpty());
}

// Manual session

TEST_F(CalibrationSessionTest, ManualSessionFromStartToCompletion) {
    openUnit();
    annotate();
    start(Kind::manual);
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(driver->delegate(), center);
    EXPECT_TRUE(center->calibrationTarget()->isVisible());
    EXPECT_EQ(window()->palette().color(QPalette::Window), QColor(Qt::white));
    EXPECT_THAT(*center->calibrationPoints(), IsEmpty());
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
    EXPECT_EQ(driver->delegate(), center) << "whoever hears of the completion takes it away";
    EXPECT_EQ(center->calibrationTarget()->parentWidget(), nullptr);
    EXPECT_EQ(desk.systemUI.mode, kUIModeNormal);
    EXPECT_TRUE(matchesTranscript("calibration/transcripts/session_by_hand"));
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

// As when a unit arrives beside the one in use.
TEST_F(CalibrationSessionTest, AListThatIsSetMeanwhileIsInForceAtOnce) {
    start(Kind::manual);
    touchAndWait({1000, 900});
    center->setCalibrationPoints(std::make_shared<const PointList>(kFour));
    ASSERT_EQ(center->calibrators()->size(), 1u);
    const ScreenPoint mapped = center->mapPointFrom(kFour[0]);
    EXPECT_NEAR(mapped.x, 170, 1);
    EXPECT_NEAR(mapped.y, 75, 1);
    EXPECT_THAT(*center->calibrationPoints(), ElementsAre(CameraPoint{1000, 900})) << "still the session's";
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
    annotate();
    start(Kind::automatic);
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(window()->palette().color(QPalette::Window), QColor(Qt::black));
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(targetOrigin(), kOrigins[i]) << i;
        touch(kFour[i]);
        runMainLoop();
    }
    EXPECT_EQ(*completed.at(0), kFour);
    EXPECT_TRUE(matchesTranscript("calibration/transcripts/session_by_itself"));
}

// The camera looks for the target as soon as the beep has been heard; the main loop may not draw by then.
TEST_F(CalibrationSessionTest, AnAutomaticTargetIsDrawnAtOnce) {
    start(Kind::automatic);
    QCoreApplication::processEvents();
    std::vector<WindowPoint> drawn;
    const EventWatch paints(*center->calibrationTarget(), QEvent::Paint,
                            [&] { drawn.push_back(targetOrigin()); });
    for (std::size_t i = 0; i < 3; ++i) {
        drawn.clear();
        touch(kFour[i]);
        runMainLoop();
        EXPECT_THAT(drawn, Contains(kOrigins[i + 1]));
    }
}

TEST_F(CalibrationSessionTest, AutomaticSessionWithoutAUnitMovesNoFilter) {
    start(Kind::automatic);
    touchAll();
    EXPECT_THAT(happened.takeDeeds(), testing::Not(Contains(StartsWith("filter"))));
    EXPECT_EQ(completed.size(), 1u);
}

// Without a session

TEST_F(CalibrationSessionTest, WithoutASessionNoStepIsMadeAndNoPointTaken) {
    touch(kFour[0]);
    center->nextTarget();
    runMainLoop();
    EXPECT_THAT(happened.takeAll(), IsEmpty());
    EXPECT_EQ(center->calibrationPoints(), nullptr);
}

TEST_F(CalibrationSessionTest, ATimerStepsOn) {
    start(Kind::automatic);
    happened.clear();
    center->timerFired("the timer");
    EXPECT_EQ(targetOrigin(), kOrigins[1]);
    EXPECT_TRUE(matchesTranscript("calibration/transcripts/timer"));
}

TEST_F(CalibrationSessionTest, StepsThatNobodyTouchedCompleteAnEmptySession) {
    start(Kind::automatic);
    for (int i = 0; i < 4; ++i)
        center->nextTarget();
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_THAT(*completed.front(), IsEmpty());
}

TEST_F(CalibrationSessionTest, StepsOfNineTargets) {
    center->setTotalPoints(9);
    EXPECT_EQ(center->targetOriginOfStep(4), (WindowPoint{780, 455}));
}

TEST_F(CalibrationSessionTest, WindowThatClosesInAnAutomaticSessionShowsTheCursor) {
    center->windowWillClose({});
    EXPECT_THAT(happened.takeDeeds(), IsEmpty());
    start(Kind::automatic);
    happened.clear();
    center->windowWillClose({});
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("show cursor 1"));
}

} // namespace
} // namespace lightpen
