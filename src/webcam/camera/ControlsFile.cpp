// SPDX-License-Identifier: MIT
#include "webcam/camera/ControlsFile.h"

#include <filesystem>
#include <optional>
#include <span>
#include <system_error>
#include <utility>

#include "platform/Log.h"
#include "webcam/camera/KeptText.h"

namespace lightpen::webcam {

namespace {

constexpr std::string_view kFirstLine = "camera controls 1\n";
constexpr std::string_view kLastLine = "end\n";
constexpr std::size_t kLongestName = 120;

} // namespace

std::string textOfControls(const std::vector<ControlValue>& values) {
    std::string text(kFirstLine);
    for (const ControlValue& value : values)
        text += std::to_string(value.control) + " " + std::to_string(value.value) + "\n";
    return text.append(kLastLine);
}

std::vector<ControlValue> controlsOfText(std::string_view text) {
    if (!text.starts_with(kFirstLine))
        return {};
    text.remove_prefix(kFirstLine.size());
    std::vector<ControlValue> values;
    while (text != kLastLine) {
        ControlValue value;
        if (!takeNumber(text, ' ', value.control) || !takeNumber(text, '\n', value.value))
            return {};
        values.push_back(value);
    }
    return values;
}

ControlsFile::ControlsFile(const DataFiles& files, std::string folder)
    : files_(files), folder_(std::move(folder)) {}

std::string ControlsFile::pathFor(std::string_view identity) const {
    return folder_ + "/camera-controls-" + plainName(identity, kLongestName);
}

std::vector<ControlValue> ControlsFile::left(std::string_view identity) const {
    const std::string path = pathFor(identity);
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        return {};
    const auto bytes = files_.read(path, kLongestKeptText);
    if (!bytes)
        return {};
    auto values = controlsOfText({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
    if (values.empty()) {
        logLine("Camera: %s is damaged; the controls stay as they are", path.c_str());
        forget(identity);
    }
    return values;
}

bool ControlsFile::keep(std::string_view identity, const std::vector<ControlValue>& values) const {
    const std::string text = textOfControls(values);
    return files_.replace(pathFor(identity),
                          {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

void ControlsFile::forget(std::string_view identity) const {
    const std::string path = pathFor(identity);
    std::error_code error;
    std::filesystem::remove(path, error);
    if (error)
        logLine("Camera: %s cannot be removed: %s", path.c_str(), error.message().c_str());
}

} // namespace lightpen::webcam
