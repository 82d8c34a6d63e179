// SPDX-License-Identifier: MIT
// Any bytes as the steps of a day: units that come, go and misbehave, a pen, and a user who calibrates, looks
// at pictures and presses keys, against the whole driver with its threads in virtual time.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include <QLoggingCategory>

#include "kit/calibration/ScriptedDay.h"

using lightpen::DayStep;

namespace {

// How much has been played is said now and then and at the end, whatever ends the program.
struct Played {
    lightpen::ScriptedDay::Tally all;

    void add(const lightpen::ScriptedDay::Tally& day) {
        constexpr long kBetweenLines = 100'000;
        const long linesBefore = all.steps / kBetweenLines;
        all.steps += day.steps;
        all.presses += day.presses;
        all.calibrations += day.calibrations;
        all.pictures += day.pictures;
        all.lights += day.lights;
        if (all.steps / kBetweenLines != linesBefore)
            say();
    }
    void say() const {
        char line[200];
        const int length =
            std::snprintf(line, sizeof line,
                          "%ld steps were played: %ld presses, %ld calibrations, %ld pictures, "
                          "%ld lights\n",
                          all.steps, all.presses, all.calibrations, all.pictures, all.lights);
        if (write(STDERR_FILENO, line, static_cast<std::size_t>(length)) < 0)
            _exit(1);
    }
    ~Played() { say(); }
} played;

using Step = std::pair<DayStep, std::uint8_t>;
constexpr std::uint8_t kAny = 0xFF; // an argument that is left to chance

// What happens in a lesson, the most usual first. A day of random steps alone would hardly come to a stroke.
using enum DayStep;
const std::vector<Step> kPhrases[] = {
    {{touch, kAny},
     {touch, kAny},
     {touch, kAny},
     {touch, kAny}, //
     {touch, kAny},
     {touch, kAny},
     {touch, kAny},
     {touch, kAny},
     {lift, 0},
     {wait, 20}},
    {{touch, kAny}, {wait, kAny}, {lift, 0}, {wait, 20}},
    {{mend, 0}, {unplug, 0}, {unplug, 1}, {wait, 30}, {plug, kAny}, {wait, 250}, {wait, 250}},
    {{unplug, kAny}, {wait, 30}, {plug, kAny}, {wait, kAny}},
    {{picture, 0}, {wait, kAny}, {settings, 0}, {wait, kAny}},
    {{calibrate, 1}, {wait, kAny}, {wait, kAny}, {cancel, 0}},
    {{calibrate, 0},
     {wait, 125}, //
     {touch, 0x11},
     {wait, 16},
     {lift, 0},
     {wait, 120},
     {touch, 0xE1},
     {wait, 16},
     {lift, 0},
     {wait, 120},
     {touch, 0x1E},
     {wait, 16},
     {lift, 0},
     {wait, 120},
     {touch, 0xEE},
     {wait, 16},
     {lift, 0},
     {wait, 250},
     {wait, 250}},
};

} // namespace

// Whole traces of allocations, and keeping a lot that was freed, cost a fifth of the time.
extern "C" const char* __asan_default_options() {
    return "malloc_context_size=4:quarantine_size_mb=16";
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    QLoggingCategory::setFilterRules("*.warning=false"); // of what windows without a display cannot do
    // The fuzzer leaves handlers alone that are there.
    for (const int signal : {SIGTERM, SIGINT})
        std::signal(signal, [](int) {
            played.say();
            _exit(0);
        });
    return 0;
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

// Every other time a phrase comes in between two steps, and the day's end goes where it gets too long.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
    std::mt19937 random(seed);
    if (random() % 2)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::vector<std::uint8_t> script(data, data + size / 2 * 2);
    std::vector<std::uint8_t> phrase;
    for (const auto& [what, argument] : kPhrases[random() % (random() % std::size(kPhrases) + 1)]) {
        phrase.push_back(static_cast<std::uint8_t>(what));
        phrase.push_back(argument == kAny ? static_cast<std::uint8_t>(random()) : argument);
    }
    const auto place = static_cast<std::ptrdiff_t>(random() % (script.size() / 2 + 1) * 2);
    script.insert(script.begin() + place, phrase.begin(), phrase.end());
    script.resize(std::min(script.size(), maxSize));
    std::copy(script.begin(), script.end(), data);
    return script.size();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    lightpen::ScriptedDay day;
    const std::string finding = day.play({data, size});
    played.add(day.tally());
    if (finding.empty())
        return 0;
    std::fprintf(stderr, "after %ld steps %s\n", day.tally().steps, finding.c_str());
    std::abort();
}
