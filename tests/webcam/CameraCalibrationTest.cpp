// SPDX-License-Identifier: MIT
// What the camera measures around an automatic calibration, in virtual time: the real window, whose pixels a
// camera with a bent lens sees, the real eye, the real mapping; of the driver's session the points alone.
#include "webcam/CameraCalibration.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include <gmock/gmock.h>

#include <QKeyEvent>
#include <QMouseEvent>

#include "app/home/CalibrationWillBegin.h"
#include "calibration/KVRCalibrationCenter.h"
#include "calibration/KVRCalibrationWindow.h"
#include "kit/RecordingLog.h"
#include "kit/TestPlatform.h"
#include "kit/device/OffscreenApplication.h"
#include "kit/resources/ResourceFiles.h"
#include "kit/sight/DrawnPicture.h"
#include "unit/room/Optics.h"
#include "unit/room/ScreenSight.h"
#include "unit/wire/PenReports.h"
#include "webcam/CalibrationScreen.h"

namespace lightpen::webcam {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr Size kScreen{1920, 1080};
constexpr double kBarrel = 0.03;
// Where the four targets stand, row by row.
constexpr std::array<ScreenPoint, 4> kTargets{{{170, 75}, {1750, 75}, {170, 1005}, {1750, 1005}}};
constexpr ScreenPoint kCentre{960, 540};
// The foot of the camera on the screen's plane: it looks from the side and from below.
constexpr ScreenPoint kFoot{-700, 1900};

struct Errors {
    double median = 0;
    double worst = 0;
};

class CameraCalibrationTest : public testing::Test {
protected:
    CameraCalibrationTest() {
        desk.desktop.frame = ScreenRect{{0, 0}, kScreen};
        desk.bundle.files["auto.svg"] = shippedFile("auto.svg");
        desk.systemUI.onCall = [this](const std::string& call) { deeds.push_back(call); };
        desk.notifications.addObserver(this, kProgramCameraDidChange, nullptr, [this](const Notification&) {
            told.push_back(calibration.underWay());
        });
        unit.onKept([this] { unit.calibrationMayHaveChanged(); });
        unit.eye().begin(30);
        live(500ms);
    }
    ~CameraCalibrationTest() override { desk.notifications.removeObserver(this); }

    // Where a light at this place of the screen comes out in the picture.
    PicturePoint inPicture(ScreenPoint place) const {
        const CameraPoint seen = optics.project(place);
        return {seen.x * kWidth / kCameraWidth - 0.5, seen.y * kHeight / kCameraHeight - 0.5};
    }
    // The place of the screen before which the camera sees the lamp of a pen that touches here.
    ScreenPoint behindLamp(ScreenPoint touched) const {
        return {touched.x + lampHeight * (touched.x - kFoot.x),
                touched.y + lampHeight * (touched.y - kFoot.y)};
    }
    // What the window shows: what a desktop has, when it is hidden.
    DrawnPicture lookAtScreen() {
        CalibrationScreen* const screen = topWindow<CalibrationScreen>();
        if (target)
            return withDisc(DrawnPicture(kWidth, kHeight), *target);
        if (!screen || !screen->isVisible())
            return DrawnPicture(kWidth, kHeight, film ? 20 : white);
        if (screen->size() != QSize(1920, 1080)) // Qt's screen without a display is a small one
            screen->resize(1920, 1080);
        const QImage shown = screen->grab().toImage().convertToFormat(QImage::Format_RGB32);
        if (shown != lastShown) { // to look at each pixel takes its time
            lastShown = shown;
            lastSeen = cameraView({shown.width(),
                                   shown.height(),
                                   std::size_t(shown.bytesPerLine()),
                                   {shown.constBits(), std::size_t(shown.sizeInBytes())},
                                   1});
        }
        const bool dark = shown.pixelColor(3, 3).lightness() < 20;
        DrawnPicture picture(kWidth, kHeight, dark || film ? 20 : white);
        for (const ScreenPoint& blob : lastSeen.blobs)
            if (!film && dark) {
                picture = withDisc(picture, blob);
                dots = std::max(dots, lastSeen.blobs.size());
            }
        return picture;
    }
    DrawnPicture withDisc(DrawnPicture picture, ScreenPoint middle) const {
        const PicturePoint place = inPicture(middle);
        return picture.disc(place.x, place.y, 4.5, 220);
    }
    // The camera's next picture, and what is to be done until then.
    void picture() {
        const bool screen = unit.eye().wanted().filterOut || longExposure;
        DrawnPicture seen = screen ? lookAtScreen() : DrawnPicture(kWidth, kHeight);
        if (pen && !unit.eye().wanted().filterOut) {
            const PicturePoint place = inPicture(behindLamp(*pen));
            seen.spot(place.x, place.y, 1.5, 190);
        }
        unit.eye().use(unit.eye().wanted());
        unit.eye().take(seen.view(), desk.clock.now());
        unit.eye().look(desk.clock.now()); // as the unit does for each of its reports
        desk.runLoop.runFor(33ms);
        QApplication::processEvents();
    }
    void live(Microseconds duration) {
        const Microseconds end = desk.clock.now() + duration;
        while (desk.clock.now() < end)
            picture();
    }
    // A pen touches here; where the unit has seen it.
    CameraPoint touch(ScreenPoint place) {
        pen = place;
        live(200ms);
        const auto seen = unit.eye().look(desk.clock.now()).pen;
        pen.reset();
        live(120ms);
        return seen.value_or(CameraPoint{-1, -1});
    }
    // The driver's session: each target is seen by the eye, and the points come into the flash.
    void showTargets() {
        ++sessions;
        EyeSettings settings = CameraEye::kAtFirst;
        settings.filterOut = true;
        unit.eye().set(settings);
    }
    void completeSession() {
        std::vector<CameraPoint> points;
        for (const ScreenPoint& place : kTargets) {
            target = place;
            live(200ms);
            const Scene scene = unit.eye().look(desk.clock.now());
            ASSERT_EQ(scene.blobs.size(), 1U);
            points.push_back(scene.blobs.front());
        }
        target.reset();
        unit.eye().set(CameraEye::kAtFirst);
        store(points);
        live(500ms);
    }
    void store(const std::vector<CameraPoint>& points) {
        unit.flash()->store(points[0], points[1], points[2], points[3]);
        unit.calibrationMayHaveChanged();
        map();
    }
    void map() {
        const auto points = *unit.flash()->points();
        center.setCalibrationPoints(
            std::make_shared<const PointList>(PointList(points.begin(), points.end())));
    }
    void measureLens() {
        calibration.measureLens([this] { showTargets(); });
        for (int i = 0; calibration.underWay() && i < 2000; ++i)
            picture();
    }
    void calibrate() {
        measureLens();
        ASSERT_EQ(sessions, 1);
        completeSession();
    }
    void askForTouch() {
        calibration.askForTouch(
            [](std::string_view key) { return QString::fromUtf8(key.data(), int(key.size())); });
        live(200ms);
    }
    // How far off the pen is, in pixels, all over the screen.
    Errors errors() {
        std::vector<double> found;
        for (const double y : {20.0, 240.0, 310.0, 540.0, 800.0, 1060.0})
            for (const double x : {20.0, 300.0, 655.0, 960.0, 1420.0, 1900.0}) {
                const ScreenPoint mapped = center.mapPointFrom(touch({x, y}));
                found.push_back(std::hypot(mapped.x - x, mapped.y - y));
            }
        std::ranges::sort(found);
        return {found[found.size() / 2], found.back()};
    }
    static bool shown() {
        const auto* screen = topWindow<CalibrationScreen>();
        return screen && screen->isVisible();
    }
    static void pressEscape() {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QApplication::sendEvent(topWindow<CalibrationScreen>(), &press);
    }
    static void click() {
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, QPointF(50, 50), QPointF(50, 50), Qt::LeftButton, Qt::LeftButton,
                              Qt::NoModifier);
            QApplication::sendEvent(topWindow<CalibrationScreen>(), &event);
        }
    }
    double lens() { return unit.memory().correction.lens; }

    const bool application = ensureOffscreenApplication();
    RecordingLog log;
    TestPlatform desk;
    Optics optics = Optics(Optics::strongKeystone(kScreen)).setBarrel(kBarrel);
    double lampHeight = 0; // above the surface, in heights of the camera
    WebcamUnit unit{webcamUnitDescription("Webcam", "serial"), nullptr, UnitMemory()};
    WebcamUnit* looking = &unit;
    int kept = 0;
    CameraCalibration calibration{desk.platform, [this] { return looking; }, [this](WebcamUnit&) { ++kept; }};
    KVRCalibrationCenter center{0, std::nullopt, 0, Screen{"main", {{0, 0}, kScreen}, 0}};
    std::vector<std::string> deeds;
    std::vector<bool> told;
    int sessions = 0;
    std::size_t dots = 0;      // the most at a time
    bool film = false;         // the camera sees nothing of the screen
    bool longExposure = false; // it sees the screen also while it looks for a pen
    int white = 150;           // of the screen, in grey levels
    QImage lastShown;
    DisplayedPicture lastSeen;
    std::optional<ScreenPoint> target;
    std::optional<ScreenPoint> pen;
};

// The lens

TEST_F(CameraCalibrationTest, ALensIsMeasuredAndUndone) {
    showTargets();
    completeSession();
    const Errors before = errors();
    sessions = 0;
    calibrate();
    const Errors after = errors();
    std::printf("3 %% barrel: median %.2f, worst %.2f pixels; measured: median %.2f, worst %.2f\n",
                before.median, before.worst, after.median, after.worst);
    EXPECT_GT(before.median, 2);
    EXPECT_GT(before.worst, 4);
    EXPECT_LT(after.median, 0.8);
    EXPECT_LT(after.worst, 1.6);
    EXPECT_EQ(dots, 1U) << "one after the other";
    EXPECT_THAT(log.takeLines(), Contains(HasSubstr("Camera: the number of its lens is 0.0")));
}

TEST_F(CameraCalibrationTest, TheDesktopIsCoveredMeanwhileAndGivenBackBefore) {
    calibration.measureLens([this] {
        EXPECT_FALSE(shown());
        EXPECT_FALSE(calibration.underWay());
        deeds.push_back("session");
    });
    EXPECT_TRUE(calibration.underWay());
    EXPECT_FALSE(shown()) << "the room's lamps are to be seen beside a bright desktop first";
    live(600ms);
    EXPECT_TRUE(shown());
    EXPECT_EQ(topWindow<CalibrationScreen>()->cursor().shape(), Qt::BlankCursor);
    live(20s);
    EXPECT_THAT(deeds, ElementsAre("mode 3 options 76", "activate", "mode 0 options 0", "session"));
    EXPECT_THAT(told, ElementsAre(true, false));
}

TEST_F(CameraCalibrationTest, AStraightLensStaysOne) {
    optics.setBarrel(0);
    calibrate();
    EXPECT_NEAR(lens(), 0, 0.002);
    EXPECT_LT(errors().worst, 1.2);
}

TEST_F(CameraCalibrationTest, BehindAFilmTheSessionGoesOnAsItIs) {
    unit.correctLamp({20, 10});
    film = true;
    measureLens();
    EXPECT_EQ(sessions, 1);
    EXPECT_THAT(log.takeLines(), Contains("Camera: it does not see the dots for its lens; the lens' number "
                                          "stays 0.0000"));
    EXPECT_EQ(unit.eye().correction(), SightCorrection()) << "a new calibration begins without a lamp";
    EXPECT_EQ(unit.memory().correction.lamp, (CameraPoint{20, 10})) << "nothing is stored yet";
}

TEST_F(CameraCalibrationTest, ACameraThatSendsNothingEndsIt) {
    calibration.measureLens([this] { showTargets(); });
    desk.runLoop.runFor(10s);
    EXPECT_EQ(sessions, 1);
    EXPECT_FALSE(shown());
}

TEST_F(CameraCalibrationTest, EscapeAndAClickEndAll) {
    for (const auto& wayOut : {&CameraCalibrationTest::pressEscape, &CameraCalibrationTest::click}) {
        unit.correctLamp({20, 10});
        calibration.measureLens([this] { showTargets(); });
        live(2s);
        ASSERT_TRUE(shown());
        deeds.clear();
        wayOut();
        EXPECT_FALSE(shown());
        EXPECT_FALSE(calibration.underWay());
        EXPECT_THAT(deeds, ElementsAre("mode 0 options 0"));
        EXPECT_EQ(unit.eye().correction().lamp, (CameraPoint{20, 10}));
        EXPECT_FALSE(unit.eye().wanted().filterOut);
        live(20s);
        EXPECT_EQ(sessions, 0);
    }
}

TEST_F(CameraCalibrationTest, WhatCoversTheScreenOrTakesTheUnitEndsIt) {
    const auto begin = [this] {
        calibration.measureLens([this] { showTargets(); });
        live(1s);
        EXPECT_TRUE(shown());
    };
    for (const std::string_view event : {kScreenWasCovered, kCalibrationWillBegin}) {
        begin();
        desk.notifications.post({std::string(event)});
        EXPECT_FALSE(shown()) << event;
    }
    begin();
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_TRUE(shown()) << "the same screen";
    desk.desktop.frame = ScreenRect{{0, 0}, {1280, 720}};
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_FALSE(shown());
    begin();
    looking = nullptr;
    live(100ms);
    EXPECT_FALSE(shown());
    EXPECT_EQ(sessions, 0);
    EXPECT_FALSE(calibration.underWay());
    std::vector<std::string> reasons;
    for (const std::string& line : log.takeLines())
        if (line.ends_with("; what it measures around a calibration ends"))
            reasons.push_back(line.substr(0, line.find(';')));
    EXPECT_THAT(reasons, ElementsAre("Camera: the screen was covered", "Camera: its screen has changed",
                                     "Camera: its unit is gone"));
}

TEST_F(CameraCalibrationTest, WithoutAUnitTheSessionBeginsAtOnce) {
    looking = nullptr;
    calibration.measureLens([this] { showTargets(); });
    EXPECT_EQ(sessions, 1);
    calibration.askForTouch([](std::string_view) { return QString(); });
    EXPECT_FALSE(shown());
}

TEST_F(CameraCalibrationTest, ASessionThatIsCancelledLeavesTheLensThatWasThere) {
    measureLens();
    ASSERT_GT(unit.eye().correction().lens, 0.01);
    desk.notifications.post({std::string(kCalibrationDidCanceled)});
    EXPECT_EQ(unit.eye().correction(), SightCorrection());
    EXPECT_EQ(lens(), 0);
}

TEST_F(CameraCalibrationTest, TheOneBeforeComesBackWithItsLens) {
    optics.setBarrel(0);
    calibrate();
    const auto before = *unit.flash()->points();
    const SightCorrection straight = unit.memory().correction;
    optics.setBarrel(kBarrel);
    sessions = 0;
    calibrate();
    EXPECT_GT(lens(), 0.01);
    store({before.begin(), before.end()});
    EXPECT_EQ(unit.eye().correction(), straight);
}

// The lamp

TEST_F(CameraCalibrationTest, ALampOffTheSurfaceIsUndone) {
    lampHeight = 0.01;
    calibrate();
    const Errors before = errors();
    askForTouch();
    ASSERT_TRUE(shown());
    touch(kCentre);
    EXPECT_FALSE(shown());
    EXPECT_EQ(kept, 1);
    const Errors after = errors();
    std::printf("a lamp off: median %.2f, worst %.2f pixels; touched: median %.2f, worst %.2f\n",
                before.median, before.worst, after.median, after.worst);
    EXPECT_GT(before.median, 20);
    EXPECT_GT(before.worst, 30);
    EXPECT_LT(after.median, 8) << "what is further from the camera is off by more";
    EXPECT_LT(after.worst, 14);
    const ScreenPoint middle = center.mapPointFrom(touch(kCentre));
    EXPECT_LT(std::hypot(middle.x - kCentre.x, middle.y - kCentre.y), 1);
    EXPECT_THAT(log.takeLines(), Contains(HasSubstr("units right of its tip")));
}

// The hand touches with the lamp, so its points have it in them.
TEST_F(CameraCalibrationTest, ACalibrationByTouchStaysRight) {
    lampHeight = 0.01;
    calibrate();
    askForTouch();
    touch(kCentre);
    const CameraPoint corrected = unit.memory().correction.lamp;
    EXPECT_NE(corrected, CameraPoint());
    std::vector<CameraPoint> points;
    for (const ScreenPoint& place : kTargets)
        points.push_back(touch(place));
    store(points);
    EXPECT_EQ(unit.memory().correction.lamp, corrected);
    EXPECT_LT(errors().worst, 1.5);
}

TEST_F(CameraCalibrationTest, ANewCalibrationBeginsWithoutALamp) {
    lampHeight = 0.01;
    calibrate();
    askForTouch();
    touch(kCentre);
    EXPECT_NE(unit.memory().correction.lamp, CameraPoint());
    sessions = 0;
    kept = 0;
    calibrate(); // with the same points
    askForTouch();
    pressEscape();
    EXPECT_EQ(unit.memory().correction.lamp, CameraPoint());
    EXPECT_EQ(unit.eye().correction().lamp, CameraPoint());
    EXPECT_EQ(kept, 1);
}

TEST_F(CameraCalibrationTest, ALampAtTheTipCorrectsNothing) {
    calibrate();
    askForTouch();
    touch({962, 539});
    EXPECT_FALSE(shown());
    EXPECT_EQ(kept, 0);
    EXPECT_EQ(unit.memory().correction.lamp, CameraPoint());
    EXPECT_THAT(log.takeLines(), Contains("Camera: the pen's light is where it touches"));
}

// It is put on while the cross is shown, and the pen's light is dimmer than the screen's was.
TEST_F(CameraCalibrationTest, APenBehindAFilmIsSeenAtOnce) {
    calibrate();
    longExposure = true;
    white = 225;
    askForTouch();
    live(500ms);
    film = true;
    live(3s); // what has been learnt of the white screen fades
    touch({962, 539});
    EXPECT_FALSE(shown()) << "the touch was not seen";
    EXPECT_NE(touch({300, 240}), (CameraPoint{-1, -1}));
}

TEST_F(CameraCalibrationTest, ATouchElsewhereIsRefused) {
    calibrate();
    askForTouch();
    touch({1500, 800});
    EXPECT_TRUE(shown()) << "the next touch may be one of the cross";
    EXPECT_EQ(kept, 0);
    EXPECT_THAT(log.takeLines(), Contains(HasSubstr("Camera: the cross was not touched")));
    touch(kCentre);
    EXPECT_FALSE(shown());
}

TEST_F(CameraCalibrationTest, NobodyHasToTouch) {
    calibrate();
    askForTouch();
    told.clear();
    click();
    EXPECT_TRUE(shown()) << "the pen clicks too";
    pressEscape();
    EXPECT_FALSE(shown());
    EXPECT_THAT(told, ElementsAre(false));
    askForTouch();
    desk.runLoop.runFor(CameraCalibration::kTouchPatience - 400ms);
    EXPECT_TRUE(shown());
    desk.runLoop.runFor(600ms);
    EXPECT_FALSE(shown());
    askForTouch();
    calibration.end();
    EXPECT_FALSE(shown());
    EXPECT_EQ(kept, 0);
    EXPECT_GT(lens(), 0.01) << "the calibration stays as it is";
}

TEST_F(CameraCalibrationTest, TheWordsNameTheKey) {
    askForTouch();
    const auto* words = topWindow<CalibrationScreen>()->findChild<QLabel*>("cameraCalibrationWords");
    ASSERT_TRUE(words);
    EXPECT_TRUE(words->isVisible());
    EXPECT_THAT(words->text().toStdString(), HasSubstr("Esc"));
    EXPECT_THAT(words->text().toStdString(), testing::Not(HasSubstr("%1")));
}

} // namespace
} // namespace lightpen::webcam
