// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Log.h"

namespace lightpen {

// Takes every diagnostic while it lives and keeps it for comparison. Thread-safe.
class RecordingLog final : public LogSink {
public:
    RecordingLog() { setLogSink(this); }
    ~RecordingLog() override { setLogSink(nullptr); }
    RecordingLog(const RecordingLog&) = delete;
    RecordingLog& operator=(const RecordingLog&) = delete;

    void logLine(std::string_view line) override {
        {
            const std::lock_guard hold(mutex_);
            lines_.emplace_back(line);
        }
        if (onLine)
            onLine(line);
    }
    void standardOutput(std::string_view text) override {
        {
            const std::lock_guard hold(mutex_);
            output_ += text;
        }
        if (onOutput)
            onOutput(text);
    }

    // The lines so far, oldest first.
    std::vector<std::string> lines() const {
        const std::lock_guard hold(mutex_);
        return lines_;
    }
    // The same, and begins anew.
    std::vector<std::string> takeLines() {
        const std::lock_guard hold(mutex_);
        return std::exchange(lines_, {});
    }
    // What went to standard output so far.
    std::string output() const {
        const std::lock_guard hold(mutex_);
        return output_;
    }
    // Called with each line, or text, by the one who wrote it. Set them before there are other threads.
    std::function<void(std::string_view)> onLine;
    std::function<void(std::string_view)> onOutput;

    void clear() {
        const std::lock_guard hold(mutex_);
        lines_.clear();
        output_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    std::string output_;
};

} // namespace lightpen
