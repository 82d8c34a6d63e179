// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Time.h"
#include "webcam/camera/ControlsFile.h"
#include "webcam/camera/VideoDevice.h"

namespace lightpen::webcam {

// How long the camera collects light for a picture; none is up to the camera, as the room is bright.
using Exposure = std::optional<Microseconds>;

// The time that the unit's own setting for a distance stands for (46, 23 and 12 as this driver sends them): a
// tenth of a millisecond each, at least one.
Exposure exposureOfSetting(int setting);

// Sets what decides how bright the pictures of one opened camera are, and puts back what it found. One
// thread.
class CameraControls {
public:
    // Keeps all but the identity. If a program before has left this camera as it needed it, the camera is put
    // back first.
    CameraControls(VideoDevice& device, const ControlsFile& file, std::string identity);
    // Does not put back: the camera may have gone.
    ~CameraControls() = default;
    CameraControls(const CameraControls&) = delete;
    CameraControls& operator=(const CameraControls&) = delete;

    // Whether the time of a picture can be set here; otherwise the camera chooses it.
    bool manualExposure() const { return exposure_.has_value(); }
    // From now on pictures take this long, and never so long that there are fewer of them than `rate` a
    // second (0 is unknown). False when the camera did not do it, which is no fault where it is not able to.
    bool expose(Exposure exposure, double rate);
    // Puts everything back as it was found, and forgets it.
    void putBack();

private:
    struct Range {
        std::uint32_t control = 0;
        std::int32_t least = 0, most = 0, step = 1;
    };
    std::optional<Range> rangeOf(std::uint32_t control);
    bool offers(std::uint32_t menu, std::int32_t entry);
    std::optional<std::int32_t> foundValue(std::uint32_t control) const;
    void find();
    std::optional<std::int32_t> entryByHand();
    std::optional<std::int32_t> automaticEntry();
    bool set(std::uint32_t control, std::optional<std::int32_t> value);
    std::vector<ControlValue> putBack(const std::vector<ControlValue>& values, bool& there);
    bool setTime(Microseconds time, double rate);

    VideoDevice& device_;
    const ControlsFile& file_;
    const std::string identity_;
    std::optional<Range> exposure_;   // how long a picture takes, where that can be set
    std::vector<ControlValue> found_; // what the controls were, those first that the others depend on
    bool changed_ = false;            // whether any has been set since
};

} // namespace lightpen::webcam
