// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Time.h"

namespace lightpen {

// What has happened, in one order and with its times: the deeds, and the lines that were logged meanwhile.
// Thread-safe.
class Timeline {
public:
    explicit Timeline(Clock& clock) : clock_(clock) { clear(); }

    // Something was done: "press 503 307".
    void deed(std::string text) { add(std::move(text), true); }
    // Something was done that belongs to a transcript only.
    void note(std::string text) { add(std::move(text), false); }
    // Something was logged, or written to standard output.
    void line(std::string_view text) { add("log " + quoted(text), false); }
    void output(std::string_view text) { add("out " + quoted(text), false); }

    // The deeds since the last call of any of these, oldest first.
    std::vector<std::string> takeDeeds();
    // The same with the milliseconds since the last call in front: "16.8 press 503 307".
    std::vector<std::string> takeTimedDeeds();
    // Everything, as a transcript holds it: the milliseconds since the last call, and what happened.
    std::vector<std::string> takeAll();
    // Forgets what was; times count from here.
    void clear();

private:
    struct Entry {
        Microseconds at;
        bool deed;
        std::string text;
    };
    static std::string quoted(std::string_view text);
    void add(std::string text, bool deed);
    std::vector<Entry> take();

    Clock& clock_;
    std::mutex mutex_;
    Microseconds start_{0};
    std::vector<Entry> entries_;
};

} // namespace lightpen
