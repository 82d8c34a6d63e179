// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "unit/wire/UnitReport.h"
#include "unit/wire/Vision.h"

namespace lightpen {

inline constexpr int kPictureWidth = 80;
inline constexpr int kPictureHeight = 60;
inline constexpr unsigned kPictureReports = 6;

// Grey levels, rows from top to bottom.
using Picture = std::array<std::uint8_t, kPictureWidth * kPictureHeight>;

// The small picture of what the camera sees: lights are white; the screen is grey, through the filter too,
// and what it displays shows only without the filter. Its left column is black (or white, without that
// manner), so that the first pixel of each report reads as no spot.
Picture takePicture(const Scene& scene, bool filterOut, bool blackLeftColumn);

// The index-th of the reports that carry a picture, of a given report length: a byte, then length - 4 pixels,
// as far as the picture reaches.
ReportBytes pictureReport(const Picture& picture, unsigned index, std::size_t reportLength);

} // namespace lightpen
