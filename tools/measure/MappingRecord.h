// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>

#include "platform/Geometry.h"
#include "platform/Log.h"

namespace lightpen {

// Reads from the driver's log where it took the pen to be, to all digits, and hands every line on. Any
// thread.
class MappingRecord final : public LogSink {
public:
    // A stroke of the pen, as far as it has come.
    struct Stroke {
        CameraPoint reported; // the last point that the unit reported
        ScreenPoint mapped;   // and where on the screen that is
        bool lifted = false;  // the pen has been lifted, and its button let go of
    };

    // The log outlives this object.
    explicit MappingRecord(LogSink& log) : log_(log) {}

    void logLine(std::string_view line) override;
    void standardOutput(std::string_view text) override { log_.standardOutput(text); }

    // Forgets what was; the next stroke starts.
    void clear();
    // None before a point has been mapped.
    std::optional<Stroke> stroke() const;

private:
    void read(std::string_view line);

    LogSink& log_;
    mutable std::mutex mutex_;
    CameraPoint reported_;
    std::optional<Stroke> stroke_;
};

} // namespace lightpen
