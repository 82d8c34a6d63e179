// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "device/PreviewImage.h"

namespace lightpen {

// Puts a picture together from the reports that carry it: a byte that is not looked at, then as many pixels
// as the length of the reports leaves (4 bytes less than that). Six reports in a row are a picture, complete
// or not: 800 pixels each fill it exactly.
struct PictureAssembly {
    static constexpr int kReports = 6;
    static constexpr int kCountModulus = 80;

    // The index of the next report; only a report behind a complete picture, and the unit's leaving, set it
    // back to 0.
    int imageChunkCount = 0;
    // The picture so far; empty between pictures.
    std::vector<std::uint8_t> imageAssemblyBuffer;

    // The index of the report that take() is to be given now. A picture that ended without a report behind it
    // has left a count that leads nowhere: it starts over.
    int nextIndex();
    // Puts the pixels of a report into the picture; what lies beyond either is dropped. `copyLength` is the
    // length of the unit's reports. Returns whether the picture is complete; it is then in the buffer until
    // release().
    bool take(std::span<const std::uint8_t> report, int copyLength);
    // The complete picture.
    std::span<const std::uint8_t, kPreviewPictureBytes> picture() const;
    // Gives the buffer up; false when there was none.
    bool release();
};

} // namespace lightpen
