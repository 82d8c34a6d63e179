// SPDX-License-Identifier: MIT
// An automatic calibration with a camera of the program's own that has to measure before and behind it.
#include <gmock/gmock.h>

#include "app/ControllerFixture.h"
#include "app/home/ProgramFacts.h"

namespace lightpen {
namespace {

using testing::Contains;

const PointList kBefore{{210, 140}, {2330, 161}, {233, 1709}, {2291, 1688}};
const PointList kLater{{220, 150}, {2320, 171}, {243, 1719}, {2281, 1678}};

class MeasuringCameraTest : public ControllerFixture {
protected:
    MeasuringCameraTest() {
        ProgramFacts facts;
        facts.camera = ProgramCamera{[] { return std::string_view("The camera is looking"); },
                                     [] { return true; }, [](bool) {},
                                     ProgramCamera::Calibration{[this](std::function<void()> then) {
                                                                    happened.deed("before");
                                                                    goOn = std::move(then);
                                                                    setUnderWay(true);
                                                                },
                                                                [this](const HomeTexts& texts) {
                                                                    happened.deed("behind");
                                                                    word = texts("Cancel the calibration");
                                                                },
                                                                [this] { return underWay; },
                                                                [this] {
                                                                    happened.deed("end");
                                                                    setUnderWay(false);
                                                                }}};
        controller->setProgramFacts(facts);
        desk.defaults.set["Auto Calibration"] = true;
        startWithUnit();
    }
    void setUnderWay(bool now) {
        underWay = now;
        desk.notifications.post({std::string(kProgramCameraDidChange)});
    }
    // The menu that the panel shows.
    QMenu& shown() const {
        for (QObject* holder : menu().actions().back()->associatedObjects())
            if (auto* other = qobject_cast<QMenu*>(holder); other && other != &menu())
                return *other;
        throw std::runtime_error("no panel's menu");
    }
    bool offersToCancel() const { return itemsOf(shown()).front() == "Cancel the calibration"; }
    void complete(const PointList& points) {
        controller->calibrationDidComplete(
            {std::string(kCalibrationCompleted),
             nullptr,
             {{std::string(kCalibrationPoints), std::make_shared<const PointList>(points)}}});
    }

    bool underWay = false;
    std::function<void()> goOn;
    QString word;
};

TEST_F(MeasuringCameraTest, TheTargetsWaitForIt) {
    controller->calibration("menu");
    EXPECT_FALSE(session());
    EXPECT_TRUE(offersToCancel());
    EXPECT_FALSE(controller->performAction("show")) << "nothing comes up in front of it";
    log.clear();
    setUnderWay(false);
    goOn();
    ASSERT_TRUE(session());
    EXPECT_TRUE(session()->inSession());
    EXPECT_THAT(log.takeLines(), Contains("Light n:688 calibration : menu"));
}

TEST_F(MeasuringCameraTest, TheMenuEndsItAndThenThereIsNoSession) {
    controller->calibration("menu");
    shown().actions().front()->trigger();
    EXPECT_TRUE(underWay) << "the click is over first";
    runMainLoop();
    EXPECT_FALSE(underWay);
    EXPECT_FALSE(session());
    EXPECT_FALSE(offersToCancel());
}

TEST_F(MeasuringCameraTest, ASessionUnderWayIsOverFirst) {
    controller->calibration("menu");
    setUnderWay(false);
    goOn();
    controller->calibration("menu");
    runMainLoop();
    EXPECT_FALSE(session());
    EXPECT_TRUE(underWay);
}

TEST_F(MeasuringCameraTest, ItFollowsWhatWasStoredByItselfAlone) {
    controller->calibration("menu");
    setUnderWay(false);
    goOn();
    happened.clear();
    complete(kLater);
    EXPECT_EQ(word, "Cancel the calibration");
    word.clear();
    desk.defaults.set["Auto Calibration"] = false;
    controller->calibration("menu");
    EXPECT_TRUE(session()) << "by touch nothing is measured";
    complete(kBefore);
    EXPECT_EQ(word, "");
}

} // namespace
} // namespace lightpen
