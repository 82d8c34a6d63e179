// SPDX-License-Identifier: MIT
// Any bytes as the steps of a day: units that come, go and misbehave, a pen, and a user who calibrates, looks
// at pictures and presses keys, against the whole driver with its threads in virtual time.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include <QLoggingCategory>

#include "kit/calibration/ScriptedDay.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    QLoggingCategory::setFilterRules("*.warning=false"); // of what windows without a display cannot do
    return 0;
}

namespace {

// How much has been played is said at the end: an input is as long as it likes.
struct Steps {
    long count = 0;
    ~Steps() { std::fprintf(stderr, "%ld steps were played\n", count); }
} steps;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    lightpen::ScriptedDay day;
    const std::string finding = day.play({data, size});
    steps.count += day.tally().steps;
    if (finding.empty())
        return 0;
    std::fprintf(stderr, "after %ld steps %s\n", day.tally().steps, finding.c_str());
    std::abort();
}
