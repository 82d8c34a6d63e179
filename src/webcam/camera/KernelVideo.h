// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "webcam/camera/VideoDevice.h"

namespace lightpen::webcam {

// The kernel's video nodes.
class KernelVideo final : public VideoDevices {
public:
    OpenedVideo open(const std::string& node) override;
};

} // namespace lightpen::webcam
