// SPDX-License-Identifier: MIT
#include "webcam/CameraLoop.h"

#include <mutex>
#include <utility>

#include "platform/Log.h"

namespace lightpen::webcam {

namespace {

// How soon it looks again whether it is still wanted, without a picture.
constexpr Microseconds kLook{100'000};
// The unit comes with the first picture behind these, so that its host's first questions have answers.
constexpr int kPicturesBefore = 12;
// What changes without a change of nodes is tried again.
constexpr Microseconds kBusyAgain{2'000'000};
constexpr Microseconds kUnusableAgain{10'000'000};
// A camera that has just left may still have its node.
constexpr Microseconds kGonePause{300'000};

std::optional<Microseconds> patienceWith(CameraState state) {
    switch (state) {
    case CameraState::busy:
        return kBusyAgain;
    case CameraState::unusable:
        return kUnusableAgain;
    default:
        return std::nullopt;
    }
}

// Of cameras that cannot be used the one that the user can do most about; null when there is none.
const CameraInfo* worthNaming(const std::vector<CameraInfo>& cameras) {
    using Kind = CameraProblem::Kind;
    for (const Kind kind : {Kind::busy, Kind::notPermitted})
        for (const CameraInfo& camera : cameras)
            if (camera.problem.kind == kind)
                return &camera;
    return cameras.empty() ? nullptr : &cameras.front();
}

// With the filter out the camera looks at the room, and chooses for itself.
Exposure exposureFor(const EyeSettings& settings) {
    return settings.filterOut ? Exposure() : exposureOfSetting(settings.exposure);
}

} // namespace

CameraLoop::CameraLoop(const Surroundings& surroundings, std::string camera, std::function<void()> changed)
    : surroundings_(surroundings), wanted_(std::move(camera)), changed_(std::move(changed)),
      watch_(surroundings.folders.nodes),
      camera_(surroundings.devices, surroundings.controls, surroundings.clock),
      self_(std::make_shared<CameraLoop*>(this)) {}

CameraLoop::~CameraLoop() {
    end();
    for (const auto& [identity, unit] : units_)
        unit->onKept({});
}

// The main thread

void CameraLoop::start(bool switchedOn) {
    switchedOn_ = switchedOn;
    thread_ = std::thread([this] { run(); });
}

void CameraLoop::switchOn(bool on) {
    if (switchedOn_.exchange(on) != on)
        watch_.wake();
}

void CameraLoop::allow(bool allowed) {
    if (allowed_.exchange(allowed) != allowed)
        watch_.wake();
}

void CameraLoop::end() {
    ending_ = true;
    watch_.wake();
    if (thread_.joinable())
        thread_.join();
    keepAll();
}

void CameraLoop::onMainThread(void (CameraLoop::*operation)()) {
    surroundings_.runLoop.performOnMainThread(
        {this, "CameraLoop", {}, [weak = std::weak_ptr(self_), operation] {
             if (const auto self = weak.lock())
                 (**self.*operation)();
         }});
}

// The memory is written by the main thread: a disk may take its time, and neither pictures nor the unit wait.
void CameraLoop::keepLater(const std::string& identity, WebcamUnit& unit) {
    {
        const std::lock_guard hold(mutex_);
        toKeep_[identity] = &unit;
    }
    if (ending_) // the main loop turns no more
        keepAll();
    onMainThread(&CameraLoop::keepAll);
}

void CameraLoop::keepAll() {
    Units changed;
    {
        const std::lock_guard hold(mutex_);
        changed.swap(toKeep_);
    }
    for (const auto& [identity, unit] : changed)
        keep(*unit);
}

// Its serial number is the camera's identity.
void CameraLoop::keep(WebcamUnit& unit) const {
    surroundings_.memory.save(unit.description().serialNumber, unit.memory());
}

// The thread

void CameraLoop::putBackLeft() {
    for (const CameraInfo& info : listCameras(surroundings_.devices, surroundings_.folders))
        putBackLeftControls(surroundings_.devices, surroundings_.controls, info.node, info.identity);
}

void CameraLoop::run() {
    putBackLeft();
    while (!ending_) {
        if (!mayLook()) {
            tell(CameraState::off);
            watch_.wait(std::nullopt);
            continue;
        }
        const auto info = choose();
        // Cameras take their time to answer; meanwhile it may have been switched off.
        if (info && mayLook() && open(*info)) {
            const bool sent = lookWith(*info);
            if (!sent && mayLook())
                tell(CameraState::unusable);
            watch_.wait(!mayLook() ? Microseconds::zero() : sent ? kGonePause : kUnusableAgain);
        } else if (mayLook()) {
            watch_.wait(patienceWith(state_));
        }
    }
}

void CameraLoop::tell(CameraState state) {
    if (state_.exchange(state) != state)
        onMainThread(&CameraLoop::tellChange);
}

std::optional<CameraInfo> CameraLoop::choose() {
    const auto cameras = listCameras(surroundings_.devices, surroundings_.folders);
    const CameraInfo* const chosen = wanted_.empty() ? chosenCamera(cameras) : cameraMeant(cameras, wanted_);
    if (chosen) {
        toldOfNone_.clear();
        return *chosen;
    }
    const CameraInfo* const other = wanted_.empty() ? worthNaming(cameras) : nullptr;
    tell(other ? stateOf(other->problem.kind) : CameraState::absent);
    const std::string none = "there is no camera" + (wanted_.empty() ? "" : " " + wanted_);
    const std::string& line = other ? other->problem.text : none;
    if (line != toldOfNone_)
        logLine("Webcam: %s", line.c_str());
    toldOfNone_ = line;
    return std::nullopt;
}

bool CameraLoop::open(const CameraInfo& info) {
    const CameraProblem problem = camera_.open(info.node, info.identity);
    // While a camera that could not be used is tried again, the user is not told that it looks before it
    // does.
    if (problem || state_ != CameraState::unusable)
        tell(stateOf(problem.kind, camera_.manualExposure()));
    return !problem;
}

WebcamUnit& CameraLoop::unitOf(const CameraInfo& info) {
    WebcamUnit*& unit = units_[info.identity];
    if (!unit) {
        unit = &surroundings_.bus.add<WebcamUnit>(webcamUnitDescription(info.name, info.identity),
                                                  surroundings_.memory.load(info.identity));
        unit->onKept([this, identity = info.identity, kept = unit] {
            kept->calibrationMayHaveChanged();
            keepLater(identity, *kept);
        });
    }
    return *unit;
}

void CameraLoop::adjust(CameraEye& eye, std::optional<EyeSettings>& used) {
    const EyeSettings wanted = eye.wanted();
    if (used == wanted)
        return;
    if (!used || exposureFor(*used) != exposureFor(wanted))
        camera_.expose(exposureFor(wanted));
    eye.use(wanted);
    used = wanted;
}

bool CameraLoop::lookWith(const CameraInfo& info) {
    WebcamUnit& unit = unitOf(info);
    CameraEye& eye = unit.eye();
    unit.giveUpTrial();
    eye.begin(camera_.mode().rate);
    std::optional<EyeSettings> used;
    GreyPicture picture;
    int pictures = 0;
    while (mayLook()) {
        adjust(eye, used);
        const Camera::Next next = camera_.newest(picture, kLook);
        if (next == Camera::Next::gone)
            break;
        if (next == Camera::Next::timeOut)
            continue;
        tell(stateOf(CameraProblem::Kind::none, camera_.manualExposure()));
        eye.take(picture.view(), surroundings_.clock.now());
        if (pictures++ != kPicturesBefore)
            continue;
        surroundings_.bus.runInRealTime();
        unit.plug();
        unit_ = &unit;
        logLine("Webcam: the unit of %s is plugged in", info.node.c_str());
    }
    unit_ = nullptr;
    eye.end();
    camera_.close();
    if (!ending_ && unit.plugged()) {
        unit.unplug();
        surroundings_.bus.stopRealTime();
        logLine("Webcam: the unit of %s is unplugged", info.node.c_str());
    }
    return pictures > 0;
}

} // namespace lightpen::webcam
