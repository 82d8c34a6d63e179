// SPDX-License-Identifier: MIT
#include "kit/device/EmulatedUnitFixture.h"

#include <chrono>
#include <cstdlib>

namespace lightpen {

namespace {

using namespace std::chrono_literals;

class OpticsMapper final : public KVRCalibrationProtocol {
public:
    explicit OpticsMapper(const CameraUnit& camera) : optics_(camera.optics()) {}
    ScreenPoint mapPointFrom(CameraPoint point) override { return optics_.unproject(point); }

private:
    const Optics optics_;
};

} // namespace

std::vector<UnplugPoint> unplugPoints(char command, int occurrence,
                                      std::initializer_list<std::size_t> replyBytes) {
    using When = UnplugPoint::When;
    UnplugPoint point{.command = static_cast<std::uint8_t>(command), .occurrence = occurrence};
    std::vector<UnplugPoint> points;
    for (const When when : {When::beforeCommand, When::afterCommand, When::beforeReply, When::afterReply}) {
        point.when = when;
        points.push_back(point);
    }
    point.when = When::midReply;
    for (const std::size_t bytes : replyBytes) {
        point.replyBytes = bytes;
        points.push_back(point);
    }
    return points;
}

std::string nameOfUnplugPoint(const testing::TestParamInfo<UnplugPoint>& point) {
    constexpr const char* kWhen[]{"Before", "After", "BeforeReply", "MidReply", "AfterReply"};
    const std::uint8_t command = *point.param.command;
    return (command ? std::string(1, static_cast<char>(command)) : "Picture") +
           std::to_string(point.param.occurrence) + kWhen[static_cast<std::size_t>(point.param.when)] +
           std::to_string(point.param.replyBytes);
}

EmulatedUnitFixture::EmulatedUnitFixture() {
    desk.desktop.frame = ScreenRect{{0, 0}, kScreen};
    desk.clock.onSleep = [this](Microseconds) { bus.advance(desk.clock.now()); };
    bus.onPoll([this] { desk.clock.waitUntil(desk.clock.now() + 100us); });
    bus.runOnMainLoop();
}

EmulatedUnitFixture::~EmulatedUnitFixture() {
    endThreads();
    desk.clock.onSleep = nullptr;
}

CameraUnit& EmulatedUnitFixture::addCamera(std::size_t reportLength) {
    CameraUnit& camera = bus.add<CameraUnit>({.reportLength = reportLength}, Optics::strongKeystone(kScreen));
    driver->setCalibrationCenter(std::make_shared<OpticsMapper>(camera));
    return camera;
}

void EmulatedUnitFixture::calibrate(CameraUnit& camera) {
    camera.flash()->store(camera.seen({100, 80}), camera.seen({1180, 80}), camera.seen({100, 720}),
                          camera.seen({1180, 720}));
}

void EmulatedUnitFixture::plugIn(CameraUnit& camera) {
    camera.plug();
    run(100ms);
}

void EmulatedUnitFixture::replug(CameraUnit& camera) {
    camera.unplug();
    run(1s);
    plugIn(camera);
}

testing::AssertionResult EmulatedUnitFixture::touchWorks(CameraUnit& camera, ScreenPoint place) {
    run(1500ms);
    desk.pointer.takePosted();
    camera.touch(place);
    run(300ms);
    camera.lift();
    run(300ms);
    const auto posted = desk.pointer.takePosted();
    if (posted.size() < 2 || posted.front().type != kLeftMouseDown || posted.back().type != kLeftMouseUp)
        return testing::AssertionFailure() << posted.size() << " events, not a press and a release";
    for (const Posted& event : posted)
        if (std::abs(event.location.x - place.x) > 1 || std::abs(event.location.y - place.y) > 1)
            return testing::AssertionFailure()
                   << "at " << event.location.x << ", " << event.location.y << ", not at the touch";
    return testing::AssertionSuccess();
}

std::vector<CameraPoint> EmulatedUnitFixture::knownPoints() const {
    const PointListRef points = driver->calibrationPointsFromFlash();
    if (!points || points->size() < 4)
        return {};
    return {points->begin(), points->begin() + 4};
}

std::vector<CameraPoint> EmulatedUnitFixture::flashPoints(CameraUnit& camera) {
    const auto points = camera.flash()->points();
    return points ? std::vector<CameraPoint>(points->begin(), points->end()) : std::vector<CameraPoint>();
}

} // namespace lightpen
