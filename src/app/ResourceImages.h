// SPDX-License-Identifier: MIT
// The application's pictures. One that is missing or cannot be read is named in a log line, and a plain
// drawing stands in for it. Main thread.
#pragma once

#include <string_view>

#include <QIcon>
#include <QPixmap>

#include "app/TargetImage.h"

namespace lightpen {

// The picture of this name for the panel and the about panel; sharp at every size.
QIcon resourceIcon(std::string_view name);

// What a calibration target shows, at its own size, for the screen's own resolution.
QPixmap resourceTargetImage(TargetImage image);

} // namespace lightpen
