// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "unit/wire/UnitReport.h"

namespace lightpen {

inline constexpr int kPictureWidth = 80;
inline constexpr int kPictureHeight = 60;
inline constexpr unsigned kPictureReports = 6;

// Grey levels, rows from top to bottom.
using Picture = std::array<std::uint8_t, kPictureWidth * kPictureHeight>;

// The pixels of its left column, black as the host relies on: it takes the first pixel of each report for the
// low byte of a pen's X. White without that manner.
void fillLeftColumn(Picture& picture, bool black);

// The index-th of the reports that carry a picture, of a given report length: a byte, then length - 4 pixels,
// as far as the picture reaches.
ReportBytes pictureReport(const Picture& picture, unsigned index, std::size_t reportLength);

} // namespace lightpen
