// SPDX-License-Identifier: MIT
// The application's pictures. A picture that is missing or cannot be read is named in a log line, and the
// result is an empty one. Main thread.
#pragma once

#include <string_view>

#include <QIcon>
#include <QPixmap>

namespace lightpen {

// The picture of this name; sharp at every size.
QIcon resourceIcon(std::string_view name);

// The picture of this name at its own size, for the screen's own resolution.
QPixmap resourceImage(std::string_view name);

} // namespace lightpen
