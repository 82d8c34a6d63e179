// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace lightpen {

// Posted in the process before a calibration takes its screen and the keyboard: what else covers a screen
// gives way. Main thread.
inline constexpr std::string_view kCalibrationWillBegin = "kCalibrationWillBegin";

} // namespace lightpen
