// SPDX-License-Identifier: MIT
#pragma once

#include "unit/wire/Picture.h"
#include "unit/wire/Vision.h"

namespace lightpen {

// The small picture of what an emulated camera sees: lights are white; the screen is grey, through the filter
// too, and what it displays shows only without the filter.
Picture takePicture(const Scene& scene, bool filterOut);

} // namespace lightpen
