// SPDX-License-Identifier: MIT
// The centre's making, and its properties.
#include "calibration/KVRCalibrationCenter.h"

#include <algorithm>
#include <utility>

#include "calibration/KVRCalibrationTarget.h"
#include "calibration/KVRCalibrationWindow.h"
#include "calibration/ViewAnimation.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr WindowRect kFirstTargetFrame{{0, 0}, {20, 20}};

} // namespace

KVRCalibrationCenter::KVRCalibrationCenter(std::int32_t mode, std::optional<Color> backgroundColor,
                                           std::uint32_t targetBezelStyle, std::optional<Screen> screen)
    : _mode(mode), _backgroundColor(backgroundColor) {
    setCalibrationTarget(std::make_shared<KVRCalibrationTarget>(kFirstTargetFrame, targetBezelStyle));
    setCalibrationScreen(std::move(screen));
    setCalibrationBeep(Platform::current().sounds.soundNamed("Tink"));
    Platform::current().notifications.addObserver(
        this, kCalibrationDidCanceled, nullptr,
        [this](const Notification& notification) { calibrationDidCancel(notification); });
    Platform::current().notifications.addObserver(this, kScreensDidChange, nullptr,
                                                  [this](const Notification&) { screensDidChange(); });
}

KVRCalibrationCenter::~KVRCalibrationCenter() {
    Platform::current().notifications.removeObserver(this);
    stopAnimation();
    // Another owner of the target keeps it.
    if (_calibrationTarget)
        _calibrationTarget->removeFromSuperview();
}

Size KVRCalibrationCenter::targetSize() const {
    const auto frame = targetFrame_.load();
    return frame ? frame->load().size : Size();
}

void KVRCalibrationCenter::setCalibrationTarget(std::shared_ptr<KVRCalibrationTarget> target) {
    if (target == _calibrationTarget)
        return;
    if (_calibrationTarget)
        _calibrationTarget->removeFromSuperview();
    _calibrationTarget = std::move(target);
    targetFrame_ = _calibrationTarget ? _calibrationTarget->sharedFrame() : nullptr;
    if (_calibrationTarget && _calibrationWindow)
        _calibrationTarget->addToSuperview(_calibrationWindow->contentView());
}

void KVRCalibrationCenter::setCalibrationScreen(std::optional<Screen> screen) {
    if (!screen)
        return;
    const auto main = Platform::current().desktop.mainScreen();
    followsMainScreen_ = main && main->name == screen->name;
    _calibrationScreen = std::move(screen);
}

std::optional<Screen> KVRCalibrationCenter::calibrationScreen() const {
    if (!_calibrationScreen)
        return std::nullopt;
    const auto screens = Platform::current().desktop.screens();
    if (followsMainScreen_ && !session_.load() && !screens.empty())
        return screens.front();
    const auto found = std::ranges::find(screens, _calibrationScreen->name, &Screen::name);
    return found == screens.end() ? _calibrationScreen : *found;
}

void KVRCalibrationCenter::setCalibrationBeep(const SoundRef& sound) {
    if (sound && !(_calibrationBeep && *sound == *_calibrationBeep))
        _calibrationBeep = sound;
}

// Kept by name

const std::shared_ptr<KVRCalibrationCenter>& KVRCalibrationCenter::defaultCenter() {
    static const auto* const center = new std::shared_ptr(
        std::make_shared<KVRCalibrationCenter>(0, kClearColor, 0, Platform::current().desktop.mainScreen()));
    return *center;
}

void KVRCalibrationCenter::setBackgroundColor(std::optional<Color> color) {
    if (color)
        _backgroundColor = color;
}

void KVRCalibrationCenter::setTargetBackgroundColor(std::optional<Color> color) {
    if (_calibrationTarget)
        _calibrationTarget->setBackgroundColor(color);
}

std::optional<Color> KVRCalibrationCenter::targetBackgroundColor() const {
    return _calibrationTarget ? _calibrationTarget->backgroundColor() : std::nullopt;
}

void KVRCalibrationCenter::setTargetBezelStyle(std::uint32_t bezelStyle) {
    if (_calibrationTarget)
        _calibrationTarget->setBezelStyle(bezelStyle);
}

std::uint32_t KVRCalibrationCenter::targetBezelStyle() const {
    return _calibrationTarget ? _calibrationTarget->bezelStyle() : 0;
}

void KVRCalibrationCenter::setTargetSize(Size size) {
    if (_calibrationTarget)
        _calibrationTarget->setFrameSize(size);
}

void KVRCalibrationCenter::timerFired(const std::string& timer) {
    logLine("KVR n:416 timerFired : %s", timer.c_str());
    nextTarget();
}

} // namespace lightpen
