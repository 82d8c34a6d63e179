// SPDX-License-Identifier: MIT
#include "kit/calibration/SessionFixture.h"

#include <utility>

#include "kit/Transcript.h"

namespace lightpen {

namespace {

// The driver is made on a desktop of its own, so that no unit of a test is reported to it.
EventGeneratorNX7* processDriver() {
    static EventGeneratorNX7* const driver = [] {
        TestPlatform desk;
        const RecordingLog log;
        return EventGeneratorNX7::sharedEventGeneratorNX7();
    }();
    return driver;
}

} // namespace

const PointList SessionFixture::kFour{{312, 271}, {2201, 188.5}, {164, 1633}, {2390, 1702}};

PointListRef spreadPoints(std::size_t count) {
    PointList points;
    for (std::size_t i = 0; i < count; ++i) {
        const auto at = static_cast<double>(i);
        points.push_back({100 + 31 * at, 50 + at * at / 4});
    }
    return std::make_shared<const PointList>(std::move(points));
}

SessionFixture::SessionFixture() : driver(processDriver()) {
    ensureOffscreenApplication();
    center =
        std::make_shared<KVRCalibrationCenter>(2, kClearColor, 0, Screen{"main", {{0, 0}, {1920, 1080}}});
    driver->setToDefault();
    closeUnit(); // a driver that has started without one counts as open
    log.clear();
    log.onLine = [this](std::string_view line) { happened.line(annotated(line)); };
    log.onOutput = [this](std::string_view text) { happened.output(text); };
    desk.systemUI.onCall = [this](const std::string& call) { happened.deed(annotated(call)); };
    desk.sounds.onPlay = [this](const std::string& name) { happened.deed(annotated("play " + name)); };
    unit.onSetReport = [this](const SentReport& report) {
        // Byte 0 of a settings command is 0, and bit 2 of the next one leaves the filter where it is.
        if (report.bytes.at(0) == 0)
            happened.deed(annotated(driver->IRFilterGrounded() ? "filter in" : "filter out"));
        if (report.bytes.at(0) == 'C')
            happened.deed(annotated("send C"));
        answer(report);
        return kIOReturnSuccess;
    };
    desk.notifications.addObserver(this, kCalibrationCompleted, nullptr, [this](const Notification& posted) {
        happened.deed(annotated("posted " + posted.name));
        completed.push_back(std::any_cast<PointListRef>(posted.userInfo.at(std::string(kCalibrationPoints))));
    });
    desk.notifications.addObserver(this, kCalibrationDidCanceled, nullptr,
                                   [this](const Notification& posted) {
                                       happened.deed(annotated("posted " + posted.name));
                                       canceled.push_back(posted);
                                   });
    happened.clear();
}

SessionFixture::~SessionFixture() {
    log.onLine = nullptr;
    log.onOutput = nullptr;
    driver->setDelegate(nullptr);
    driver->setDeviceDelegate(nullptr);
    driver->setCalibrationCenter(nullptr);
    closeUnit();
}

// The process's matching server belongs to the desktop of the first test, so arrival and removal are told
// here.
void SessionFixture::closeUnit() {
    unit.unplug();
    driver->deviceDidRemove(0);
    thread.reset();
}

void SessionFixture::answer(const SentReport& report) {
    if (report.bytes.at(0) == 'H')
        unit.sendReport(flash_.answerTo(report.bytes.at(1)));
    for (int i = 0; report.bytes.at(0) == 'K' && i < sightings; ++i)
        unit.sendReport({'s'});
}

std::string SessionFixture::annotated(std::string_view entry) const {
    return std::string(entry) + (annotation ? annotation() : "");
}

testing::AssertionResult SessionFixture::matchesTranscript(const std::string& name) {
    return lightpen::matchesTranscript(LIGHTPEN_TESTS "/" + name + ".txt", happened.takeAll());
}

void SessionFixture::openUnit(const UnitFlash& flash) {
    closeUnit();
    flash_ = flash;
    unit.plugIn();
    desk.threads.onDetach = [this] {
        desk.runLoop.performOnMainThread(
            {this, "thread", {}, [this] { thread = driver->beginPointThread(); }});
    };
    driver->deviceDidAdd(0);
    happened.clear();
}

void SessionFixture::store(const PointList& points) {
    driver->writeCalibrationToFlash(std::make_shared<const PointList>(points));
    happened.clear();
}

void SessionFixture::start(Kind kind, std::int64_t targets) {
    center->setTotalPoints(targets);
    if (kind == Kind::automatic)
        center->startAutoCalibration();
    else
        center->startCalibration();
}

void SessionFixture::touchAll(const PointList& points) {
    for (const CameraPoint& point : points)
        touchAndWait(point);
}

void SessionFixture::annotate() {
    annotation = [this] {
        return std::string(windowIsVisible() ? ", window" : "") +
               (driver->delegate() == center ? ", delegate" : "");
    };
}

void SessionFixture::touchAndWait(CameraPoint point) {
    touch(point);
    desk.runLoop.runFor(kGlide);
}

} // namespace lightpen
