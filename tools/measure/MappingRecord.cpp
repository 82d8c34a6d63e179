// SPDX-License-Identifier: MIT
#include "measure/MappingRecord.h"

#include <string>

namespace lightpen {

namespace {

// In the order in which the point thread writes them for a point.
constexpr std::string_view kReported = "Event n:1759 mappedPoint: ";
constexpr std::string_view kMapped = "Event n:1763 mappedPoint: ";
constexpr std::string_view kLifted = "Event n:1737 state down to up ";

// "(x,y)".
std::optional<CameraPoint> reportedIn(std::string_view text) {
    const std::size_t comma = text.find(',');
    if (!text.starts_with('(') || !text.ends_with(')') || comma == std::string_view::npos)
        return std::nullopt;
    const std::string standard = "{" + std::string(text.substr(1, comma - 1)) + ", " +
                                 std::string(text.substr(comma + 1, text.size() - comma - 2)) + "}";
    CameraPoint point;
    if (!pairFromString(standard, point.x, point.y))
        return std::nullopt;
    return point;
}

} // namespace

void MappingRecord::logLine(std::string_view line) {
    read(line);
    log_.logLine(line);
}

void MappingRecord::read(std::string_view line) {
    const std::lock_guard hold(mutex_);
    if (line.starts_with(kReported)) {
        reported_ = reportedIn(line.substr(kReported.size())).value_or(CameraPoint{});
    } else if (line.starts_with(kMapped)) {
        const std::string_view text = line.substr(kMapped.size());
        ScreenPoint mapped;
        if (pairFromString(text.substr(0, text.find('}') + 1), mapped.x, mapped.y))
            stroke_ = Stroke{reported_, mapped, false};
    } else if (line.starts_with(kLifted) && stroke_) {
        stroke_->lifted = true;
    }
}

void MappingRecord::clear() {
    const std::lock_guard hold(mutex_);
    stroke_.reset();
}

std::optional<MappingRecord::Stroke> MappingRecord::stroke() const {
    const std::lock_guard hold(mutex_);
    return stroke_;
}

} // namespace lightpen
