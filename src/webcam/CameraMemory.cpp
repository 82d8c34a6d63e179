// SPDX-License-Identifier: MIT
#include "webcam/CameraMemory.h"

#include <array>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/Log.h"
#include "unit/wire/PenReports.h"
#include "webcam/camera/KeptText.h"
#include "webcam/sight/LensModel.h"

namespace lightpen::webcam {

namespace {

constexpr std::string_view kFirstLine = "camera unit 1\n";
constexpr std::string_view kCalibration = "calibration";
constexpr std::string_view kPairing = "pairing";
constexpr std::string_view kLens = "lens";
constexpr std::string_view kLamp = "lamp"; // missing where there is nothing to say
constexpr std::string_view kLastLine = "end\n";
constexpr std::size_t kLongestName = 120;
// Whole numbers of these are kept.
constexpr double kLensSteps = 1e6;
constexpr double kLampSteps = 1e3;
// As far as any camera sees.
constexpr double kMostLamp = kCameraWidth;

bool isPossible(const SightCorrection& correction) {
    return std::abs(correction.lens) <= LensModel::kMost && std::abs(correction.lamp.x) <= kMostLamp &&
           std::abs(correction.lamp.y) <= kMostLamp;
}

template <class Numbers>
void addLine(std::string& text, std::string_view name, const Numbers& numbers) {
    text += name;
    for (const auto number : numbers)
        text += ' ' + std::to_string(number);
    text += '\n';
}

// Takes a line of this name with exactly as many numbers as there is room for; leaves the text alone when it
// is another line.
template <class Numbers>
bool takeLine(std::string_view& text, std::string_view name, Numbers& numbers) {
    std::string_view rest = text;
    if (!rest.starts_with(name) || !rest.substr(name.size()).starts_with(' '))
        return false;
    rest.remove_prefix(name.size() + 1);
    std::size_t left = numbers.size();
    for (auto& number : numbers)
        if (!takeNumber(rest, --left == 0 ? '\n' : ' ', number))
            return false;
    text = rest;
    return true;
}

} // namespace

std::string textOfMemory(const UnitMemory& memory) {
    std::string text(kFirstLine);
    if (memory.flash.calibrated())
        for (unsigned index = 0; index < Flash::kRecords; ++index)
            addLine(text, kCalibration, *memory.flash.record(index));
    for (unsigned index = 0; index < PairingTable::kRecords; ++index)
        addLine(text, kPairing, *memory.pairingTable.record(index));
    const auto& [lens, lamp] = memory.correction;
    addLine(text, kLens, std::array{std::lround(lens * kLensSteps)});
    if (lamp != CameraPoint())
        addLine(text, kLamp, std::array{std::lround(lamp.x * kLampSteps), std::lround(lamp.y * kLampSteps)});
    return text.append(kLastLine);
}

std::optional<UnitMemory> memoryOfText(std::string_view text) {
    if (!text.starts_with(kFirstLine))
        return std::nullopt;
    text.remove_prefix(kFirstLine.size());
    UnitMemory memory;
    FlashRecord points{};
    unsigned records = 0;
    for (; records < Flash::kRecords && takeLine(text, kCalibration, points); ++records)
        memory.flash.write(records, points, true);
    if (records != 0 && records != Flash::kRecords)
        return std::nullopt;
    for (unsigned index = 0; index < PairingTable::kRecords; ++index) {
        PairingTable::Record record{};
        if (!takeLine(text, kPairing, record) || !memory.pairingTable.store(index, record, false))
            return std::nullopt;
    }
    std::array<long, 1> lens{};
    if (!takeLine(text, kLens, lens))
        return std::nullopt;
    std::array<long, 2> lamp{};
    const bool hasLamp = takeLine(text, kLamp, lamp);
    if (text != kLastLine)
        return std::nullopt;
    memory.correction.lens = static_cast<double>(lens[0]) / kLensSteps;
    if (hasLamp)
        memory.correction.lamp = {static_cast<double>(lamp[0]) / kLampSteps,
                                  static_cast<double>(lamp[1]) / kLampSteps};
    return isPossible(memory.correction) ? std::optional(memory) : std::nullopt;
}

CameraMemory::CameraMemory(const DataFiles& files, std::string folder)
    : files_(files), folder_(std::move(folder)) {}

std::string CameraMemory::pathFor(std::string_view identity) const {
    return folder_ + "/camera-unit-" + plainName(identity, kLongestName);
}

UnitMemory CameraMemory::load(std::string_view identity) const {
    const std::string path = pathFor(identity);
    std::error_code error;
    if (!std::filesystem::exists(path, error) && !error)
        return {};
    const auto bytes = files_.read(path, kLongestKeptText);
    if (!bytes)
        return {};
    const auto memory = memoryOfText({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
    if (!memory)
        logLine("Camera: %s is damaged; the camera has no calibration", path.c_str());
    return memory.value_or(UnitMemory());
}

bool CameraMemory::save(std::string_view identity, const UnitMemory& memory) const {
    const std::string text = textOfMemory(memory);
    return files_.replace(pathFor(identity),
                          {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

} // namespace lightpen::webcam
