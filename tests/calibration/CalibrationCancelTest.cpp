// SPDX-License-Identifier: MIT
// Sessions that are cancelled, or follow one another: what comes late dies with its session.
#include <thread>

#include <QCoreApplication>
#include <QMouseEvent>

#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

class CalibrationCancelTest : public SessionFixture {
protected:
    CalibrationCancelTest() {
        openUnit();
        store(kStored);
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

    const PointList kStored{{400, 300}, {2100, 300}, {300, 1500}, {2200, 1600}};
};

TEST_F(CalibrationCancelTest, EscapeInItsOrder) {
    start(Kind::manual);
    touch(kFour[0]);
    happened.clear();
    annotate();
    pressEscape();
    EXPECT_TRUE(matchesTranscript("calibration/transcripts/escape"));
    expectCanceled();
    EXPECT_NE(window(), nullptr) << "kept";
}

TEST_F(CalibrationCancelTest, EscapeFromAnAutomaticSessionInItsOrder) {
    start(Kind::automatic);
    happened.clear();
    annotate();
    pressEscape();
    EXPECT_TRUE(matchesTranscript("calibration/transcripts/escape_by_itself"));
    expectCanceled();
    center->windowWillClose({});
    EXPECT_THAT(happened.takeDeeds(), IsEmpty()) << "the cursor is there already";
}

TEST_F(CalibrationCancelTest, TheEndOfTheProgramPutsTheFilterBack) {
    start(Kind::automatic);
    EXPECT_FALSE(driver->IRFilterGrounded());
    happened.clear();
    center->programEnds();
    EXPECT_THAT(happened.takeDeeds(), testing::ElementsAre("filter in"));
    pressEscape();
    start(Kind::manual);
    happened.clear();
    center->programEnds();
    EXPECT_THAT(happened.takeDeeds(), IsEmpty()) << "it is in";
}

TEST_F(CalibrationCancelTest, CancelAtEveryStepAndInEveryGlide) {
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
                happened.clear();
                touch({1000, 1000});
                desk.runLoop.runFor(kGlide);
                EXPECT_THAT(happened.takeAll(), IsEmpty());
                EXPECT_EQ(targetOrigin(), origin);
                expectCanceled();
            }
    EXPECT_EQ(canceled.size(), 24u);
}

TEST_F(CalibrationCancelTest, ClosingTheWindowFromOutsideCancels) {
    start(Kind::automatic);
    touchAndWait(kFour[0]);
    window()->close();
    expectCanceled();
    EXPECT_EQ(canceled.size(), 1u);
}

TEST_F(CalibrationCancelTest, AnAutomaticSessionEndsByAClickAnywhereAndOneByHandOnItsLabel) {
    const auto click = [] {
        QWidget& view = window()->contentView();
        const QPoint low(view.width() / 2, view.height() - 20);
        QWidget* const receiver = view.childAt(low) ? view.childAt(low) : &view;
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, receiver->mapFrom(&view, low), low, Qt::LeftButton, Qt::LeftButton,
                              Qt::NoModifier);
            QCoreApplication::sendEvent(receiver, &event);
        }
    };
    start(Kind::manual);
    click();
    EXPECT_TRUE(windowIsVisible()) << "it was given no label";
    pressEscape();
    center->setCancelLabel("Stop it");
    for (const Kind kind : {Kind::automatic, Kind::manual, Kind::automatic}) {
        canceled.clear();
        start(kind);
        touchAndWait(kFour[0]);
        click();
        expectCanceled();
        EXPECT_EQ(canceled.size(), 1u);
    }
}

TEST_F(CalibrationCancelTest, TheObserverHearsOfEachBeginningAndEnd) {
    std::vector<bool> heard;
    center->setSessionObserver([&] { heard.push_back(center->inSession()); });
    EXPECT_FALSE(center->inSession());
    start(Kind::manual);
    pressEscape();
    start(Kind::automatic);
    touchAll();
    EXPECT_EQ(heard, (std::vector{true, false, true, false}));
    EXPECT_FALSE(center->inSession());
}

TEST_F(CalibrationCancelTest, CancelWithNothingStoredLeavesNoCalibration) {
    for (const IOReturn sent : {kIOReturnSuccess, kIOReturnTimeout}) {
        unit.script().answer("device.setReport", sent); // an empty flash, and one that could not be read
        openUnit();
        EXPECT_EQ(driver->calibrationPointsFromFlash() == nullptr, sent != kIOReturnSuccess);
        center->setCalibrationPoints(std::make_shared<const PointList>(kStored));
        start(Kind::manual);
        pressEscape();
        EXPECT_THAT(*center->calibrationPoints(), IsEmpty());
        EXPECT_THAT(*center->calibrators(), IsEmpty());
    }
}

TEST_F(CalibrationCancelTest, CancelOfAnybodysWindowIsOursToo) {
    start(Kind::manual);
    desk.notifications.post({std::string(kCalibrationDidCanceled)});
    EXPECT_FALSE(windowIsVisible());
    EXPECT_EQ(*center->calibrationPoints(), kStored);
}

TEST_F(CalibrationCancelTest, CancelTakesBackWhatATimerWasToDo) {
    bool fired = false;
    start(Kind::manual);
    desk.runLoop.performAfterDelay({center.get(), "timerFired", {}, [&] { fired = true; }}, kGlide);
    pressEscape();
    desk.runLoop.runFor(kGlide);
    EXPECT_FALSE(fired);
}

TEST_F(CalibrationCancelTest, CancelThatIsAskedForGoesEscapesWayOnTheMainLoop) {
    start(Kind::manual);
    touchAndWait(kFour[0]);
    std::thread([this] { center->cancelSession(); }).join();
    EXPECT_TRUE(windowIsVisible());
    runMainLoop();
    expectCanceled();
    EXPECT_EQ(canceled.size(), 1u);
}

TEST_F(CalibrationCancelTest, CancelThatIsAskedForMeansTheSessionOfThatMoment) {
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

TEST_F(CalibrationCancelTest, SecondSessionAfterACompletedOne) {
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

TEST_F(CalibrationCancelTest, SecondSessionAfterACancelledOneUsesItsWindow) {
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
}

TEST_F(CalibrationCancelTest, StepThatWaitsAndGlideDieWithTheirSession) {
    for (const Microseconds wait : {Microseconds(), kGlide / 2}) {
        SCOPED_TRACE(wait.count());
        start(Kind::manual);
        touch(kFour[0]);
        desk.runLoop.runFor(wait);
        pressEscape();
        start(Kind::manual);
        happened.clear();
        desk.runLoop.runFor(kGlide);
        EXPECT_THAT(happened.takeAll(), IsEmpty()) << "no beep";
        EXPECT_EQ(targetOrigin(), kOrigins[0]);
        touchAndWait(kFour[0]);
        EXPECT_EQ(targetOrigin(), kOrigins[1]);
        pressEscape();
    }
}

TEST_F(CalibrationCancelTest, StartDuringASessionBeginsAnewAndLosesNothingOfTheUsers) {
    desk.systemUI.mode = 1;
    desk.systemUI.options = 5;
    start(Kind::manual);
    touchAndWait(kFour[0]);
    touch(kFour[1]);
    for (const Microseconds glide : {Microseconds(), kGlide / 2}) {
        desk.runLoop.runFor(glide);
        start(Kind::manual);
        happened.clear();
        desk.runLoop.runFor(kGlide);
        EXPECT_EQ(targetOrigin(), kOrigins[0]);
        EXPECT_THAT(happened.takeDeeds(), IsEmpty()) << "no beep";
        touch(kFour[0]);
        runMainLoop();
    }
    start(Kind::manual);
    touchAll();
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_EQ(*completed.front(), kFour);
    EXPECT_EQ(desk.systemUI.mode, 1u);
    EXPECT_EQ(desk.systemUI.options, 5u);
}

TEST_F(CalibrationCancelTest, ASessionThatIsOverKeepsNoTarget) {
    const std::weak_ptr<KVRCalibrationTarget> target = center->calibrationTarget();
    start(Kind::manual);
    touchAndWait(kFour[0]);
    pressEscape();
    center->setCalibrationTarget(nullptr);
    EXPECT_TRUE(target.expired());
}

TEST_F(CalibrationCancelTest, ManualStartDuringAnAutomaticSessionStaysAutomatic) {
    start(Kind::automatic);
    start(Kind::manual);
    touch(kFour[0]);
    runMainLoop();
    EXPECT_EQ(targetOrigin(), kOrigins[1]) << "without a glide";
}

} // namespace
} // namespace lightpen
