// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraControls.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <utility>

#include "platform/Log.h"

namespace lightpen::webcam {

namespace {

// Those that are changed here. Behind a choice between by hand and automatic stands what it lets be set.
constexpr std::array<std::uint32_t, 6> kChanged{
    V4L2_CID_EXPOSURE_AUTO,     V4L2_CID_AUTOGAIN, V4L2_CID_EXPOSURE_AUTO_PRIORITY,
    V4L2_CID_EXPOSURE_ABSOLUTE, V4L2_CID_EXPOSURE, V4L2_CID_GAIN};

// What the kernel counts exposures in.
constexpr Microseconds kTenthOfMillisecond{100};
// Where a camera does not tell its rate.
constexpr double kUsualRate = 30;
// Of the time from picture to picture; the rest is for reading the sensor out.
constexpr double kLongestShare = 0.9;

bool isChanged(std::uint32_t control) {
    return std::find(kChanged.begin(), kChanged.end(), control) != kChanged.end();
}

// A control that may be set now, or once what it depends on is by hand.
bool maySet(const v4l2_queryctrl& told) {
    return !(told.flags & (V4L2_CTRL_FLAG_DISABLED | V4L2_CTRL_FLAG_READ_ONLY)) &&
           told.minimum <= told.maximum;
}

// What a camera answers that has left, or whose cable fails: it has not refused.
bool hasLeft(int error) {
    return error == ENODEV || error == ENXIO || error == ESHUTDOWN || error == EPROTO || error == ETIMEDOUT;
}

bool byHand(std::int32_t entry) {
    return entry == V4L2_EXPOSURE_MANUAL || entry == V4L2_EXPOSURE_SHUTTER_PRIORITY;
}

} // namespace

Exposure exposureOfSetting(int setting) {
    return std::max(setting, 1) * kTenthOfMillisecond;
}

CameraControls::CameraControls(VideoDevice& device, const ControlsFile& file, std::string identity)
    : device_(device), file_(file), identity_(std::move(identity)) {
    found_ = file_.left(identity_);
    if (!found_.empty()) {
        changed_ = true;
        putBack();
    }
    find();
}

std::optional<CameraControls::Range> CameraControls::rangeOf(std::uint32_t control) {
    v4l2_queryctrl told{};
    told.id = control;
    if (device_.request(VIDIOC_QUERYCTRL, &told) != 0 || !maySet(told))
        return std::nullopt;
    return Range{control, told.minimum, told.maximum, std::max(told.step, 1)};
}

bool CameraControls::offers(std::uint32_t menu, std::int32_t entry) {
    v4l2_querymenu told{};
    told.id = menu;
    told.index = static_cast<std::uint32_t>(entry);
    return device_.request(VIDIOC_QUERYMENU, &told) == 0;
}

std::optional<std::int32_t> CameraControls::foundValue(std::uint32_t control) const {
    const auto found = std::find_if(found_.begin(), found_.end(),
                                    [&](const ControlValue& value) { return value.control == control; });
    return found == found_.end() ? std::nullopt : std::optional(found->value);
}

void CameraControls::find() {
    found_.clear();
    changed_ = false;
    for (const std::uint32_t control : kChanged) {
        v4l2_control value{};
        value.id = control;
        if (rangeOf(control) && device_.request(VIDIOC_G_CTRL, &value) == 0)
            found_.push_back({control, value.value});
    }
    if (foundValue(V4L2_CID_EXPOSURE_AUTO) && !entryByHand())
        return;
    if (foundValue(V4L2_CID_EXPOSURE_ABSOLUTE))
        exposure_ = rangeOf(V4L2_CID_EXPOSURE_ABSOLUTE);
    else if (foundValue(V4L2_CID_EXPOSURE))
        exposure_ = rangeOf(V4L2_CID_EXPOSURE);
}

// The choice that lets the time be set; none where there is no choice, or not this one.
std::optional<std::int32_t> CameraControls::entryByHand() {
    for (const std::int32_t entry : {V4L2_EXPOSURE_MANUAL, V4L2_EXPOSURE_SHUTTER_PRIORITY})
        if (foundValue(V4L2_CID_EXPOSURE_AUTO) && offers(V4L2_CID_EXPOSURE_AUTO, entry))
            return entry;
    return std::nullopt;
}

// The choice that leaves the time to the camera: the one that was found, else the one that cameras have.
std::optional<std::int32_t> CameraControls::automaticEntry() {
    const auto found = foundValue(V4L2_CID_EXPOSURE_AUTO);
    if (!found || !byHand(*found))
        return found;
    for (const std::int32_t entry : {V4L2_EXPOSURE_APERTURE_PRIORITY, V4L2_EXPOSURE_AUTO})
        if (offers(V4L2_CID_EXPOSURE_AUTO, entry))
            return entry;
    return std::nullopt;
}

// Sets a control that the camera has; true when it did.
bool CameraControls::set(std::uint32_t control, std::optional<std::int32_t> value) {
    if (!value || !foundValue(control))
        return false;
    if (!std::exchange(changed_, true))
        file_.keep(identity_, found_);
    v4l2_control wanted{};
    wanted.id = control;
    wanted.value = *value;
    return device_.request(VIDIOC_S_CTRL, &wanted) == 0;
}

bool CameraControls::setTime(Microseconds time, double rate) {
    const double longest = kLongestShare / (rate > 0 ? rate : kUsualRate);
    const double seconds = std::min(std::chrono::duration<double>(time).count(), longest);
    const double least = exposure_->least;
    const double most = exposure_->most;
    // The older control has no unit: its end stands for the time from picture to picture.
    const double wanted = exposure_->control == V4L2_CID_EXPOSURE_ABSOLUTE
                              ? seconds / std::chrono::duration<double>(kTenthOfMillisecond).count()
                              : least + (most - least) * seconds / longest;
    const double steps = std::round((std::clamp(wanted, least, most) - least) / exposure_->step);
    const double highest = std::floor((most - least) / exposure_->step);
    const double value = least + std::min(steps, highest) * exposure_->step;
    return set(exposure_->control, static_cast<std::int32_t>(value));
}

bool CameraControls::expose(Exposure exposure, double rate) {
    // In dim light a camera would rather send fewer pictures than dark ones.
    set(V4L2_CID_EXPOSURE_AUTO_PRIORITY, 0);
    if (!exposure && exposure_ && !foundValue(V4L2_CID_EXPOSURE_AUTO) && !foundValue(V4L2_CID_AUTOGAIN))
        return setTime(Microseconds::max(), rate);
    if (!exposure) {
        set(V4L2_CID_GAIN, foundValue(V4L2_CID_GAIN));
        set(V4L2_CID_AUTOGAIN, 1);
        return set(V4L2_CID_EXPOSURE_AUTO, automaticEntry());
    }
    if (!exposure_)
        return false;
    set(V4L2_CID_EXPOSURE_AUTO, entryByHand());
    set(V4L2_CID_AUTOGAIN, 0);
    if (const auto gain = rangeOf(V4L2_CID_GAIN))
        set(V4L2_CID_GAIN, gain->least);
    return setTime(*exposure, rate);
}

// Sets these in their order. Those that the camera did not take; none of any account when it has left.
std::vector<ControlValue> CameraControls::putBack(const std::vector<ControlValue>& values, bool& there) {
    std::vector<ControlValue> refused;
    for (const ControlValue& value : values) {
        v4l2_control wanted{};
        wanted.id = value.control;
        wanted.value = value.value;
        const int error = isChanged(value.control) ? device_.request(VIDIOC_S_CTRL, &wanted) : 0;
        if (error != 0)
            refused.push_back(value);
        there = there && !hasLeft(error);
    }
    return refused;
}

void CameraControls::putBack() {
    if (!std::exchange(changed_, false))
        return;
    bool there = true;
    // What can be set only by hand is refused until the choice is by hand again. Where the choice was the
    // camera's the second refusal is as it should be.
    putBack(putBack({found_.rbegin(), found_.rend()}, there), there);
    // A camera that has left is put back when it is there again.
    if (there)
        file_.forget(identity_);
}

} // namespace lightpen::webcam
