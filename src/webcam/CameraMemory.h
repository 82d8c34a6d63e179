// SPDX-License-Identifier: MIT
// What a unit keeps while it is unplugged. That of a webcam is a file of its own for each camera.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/DataFiles.h"
#include "unit/wire/Flash.h"
#include "unit/wire/PairingTable.h"
#include "webcam/SightCorrection.h"

namespace lightpen::webcam {

struct UnitMemory {
    Flash flash;
    PairingTable pairingTable;
    SightCorrection correction; // of the calibration in the flash
};

// The file's text. Only what is valid in the flash is kept.
std::string textOfMemory(const UnitMemory& memory);
// What the text says; none when it is not a whole one of ours.
std::optional<UnitMemory> memoryOfText(std::string_view text);

// The files of the cameras' memories. Any thread; the memories of one camera are kept by one thread at a
// time.
class CameraMemory {
public:
    // Keeps the first; the folder is where the application writes its files.
    CameraMemory(const DataFiles& files, std::string folder);

    // The memory of the camera of this identity (see CameraInfo); an empty one when there is no file, or, and
    // a log line, when the file is damaged or cannot be read.
    UnitMemory load(std::string_view identity) const;
    // Keeps it, in one step. False (and a log line) when the file stays as it was.
    bool save(std::string_view identity, const UnitMemory& memory) const;

private:
    std::string pathFor(std::string_view identity) const;

    const DataFiles& files_;
    const std::string folder_;
};

} // namespace lightpen::webcam
