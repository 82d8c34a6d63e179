// SPDX-License-Identifier: MIT
#include "kit/Timeline.h"

#include <cstdio>
#include <utility>

namespace lightpen {

// In quotes, since spaces at the end count.
std::string Timeline::quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '\n')
            quoted += "\\n";
        else
            quoted += letter;
    }
    return quoted + '"';
}

void Timeline::add(std::string text, bool deed) {
    const Microseconds now = clock_.now();
    const std::lock_guard hold(mutex_);
    entries_.push_back({now - start_, deed, std::move(text)});
}

std::vector<Timeline::Entry> Timeline::take() {
    const Microseconds now = clock_.now();
    const std::lock_guard hold(mutex_);
    start_ = now;
    return std::exchange(entries_, {});
}

void Timeline::clear() {
    take();
}

std::vector<std::string> Timeline::takeDeeds() {
    std::vector<std::string> deeds;
    for (Entry& entry : take())
        if (entry.deed)
            deeds.push_back(std::move(entry.text));
    return deeds;
}

std::vector<std::string> Timeline::takeTimedDeeds() {
    std::vector<std::string> deeds;
    for (const Entry& entry : take()) {
        char time[32];
        std::snprintf(time, sizeof time, "%g ", static_cast<double>(entry.at.count()) / 1000);
        if (entry.deed)
            deeds.push_back(time + entry.text);
    }
    return deeds;
}

std::vector<std::string> Timeline::takeAll() {
    std::vector<std::string> all;
    for (const Entry& entry : take()) {
        char time[32];
        std::snprintf(time, sizeof time, "%12.3f  ", static_cast<double>(entry.at.count()) / 1000);
        all.push_back(time + entry.text);
    }
    return all;
}

} // namespace lightpen
