// SPDX-License-Identifier: MIT
#include "webcam/WebcamOptions.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "app/ProgramVersion.h"

namespace lightpen::webcam {

namespace {

constexpr std::string_view kCamera = "--camera";
constexpr std::string_view kReport = "--report";
// Of units on a cable, which are not looked for.
constexpr std::string_view kDevice = "--device";
// The common ones that have a value, which may look like any option.
constexpr std::string_view kWithValue[] = {"--log", "--screen", "--action", "-session"};

} // namespace

std::string webcamVersionLine() {
    return std::string("LightPenNX7-webcam ") + kProgramVersion + '\n';
}

std::optional<WebcamOptions> webcamOptions(std::span<const std::string_view> arguments,
                                           std::string& problem) {
    WebcamOptions options;
    std::vector<std::string_view> others;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view name = arguments[i];
        if (std::ranges::find(kWithValue, name) != std::end(kWithValue)) {
            others.push_back(name);
            if (i + 1 < arguments.size())
                others.push_back(arguments[++i]);
        } else if (name == kReport) {
            options.report = true;
        } else if (name == kDevice) {
            problem = "Unknown option: " + std::string(name);
            return std::nullopt;
        } else if (name != kCamera) {
            others.push_back(name);
        } else if (++i == arguments.size() || arguments[i].empty()) {
            problem = "--camera needs a camera: a node, a link to one, or a name.";
            return std::nullopt;
        } else {
            options.camera = arguments[i];
        }
    }
    auto program = programOptions(others, problem);
    if (!program)
        return std::nullopt;
    options.program = std::move(*program);
    return options;
}

} // namespace lightpen::webcam
