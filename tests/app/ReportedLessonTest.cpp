// SPDX-License-Identifier: MIT
// What is left of a whole lesson's log in a report. The lesson plays with the process's own driver, which
// other tests leave behind in another state.
#include "app/ReportedLog.h"

#include <algorithm>
#include <iterator>
#include <regex>
#include <set>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/calibration/ScriptedDay.h"

namespace lightpen {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t kMany = 1'000'000;

// The numbers in a text that could be places: of three digits and more, but not those of the lines themselves
// nor parts of words.
std::set<std::string> placesIn(const std::string& text) {
    static const std::regex pattern(R"((n:)?\b(\d{3,})\b)");
    std::set<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
        if (!(*match)[1].matched)
            found.insert((*match)[2]);
    return found;
}

// A quarter of an hour of one: a unit comes, is calibrated, draws, holds still, shows its picture, loses its
// plug in a stroke, and sees the sun.
std::vector<std::uint8_t> lesson() {
    using Step = std::pair<DayStep, unsigned>;
    constexpr Step kRest{DayStep::wait, 250}; // two seconds
    constexpr Step kPlug{DayStep::plug, 0}, kUnplug{DayStep::unplug, 0}, kLift{DayStep::lift, 0};
    std::vector<Step> steps{kPlug, kRest, kRest, {DayStep::calibrate, 0}};
    const auto add = [&](std::initializer_list<Step> more) { steps.insert(steps.end(), more); };
    for (const unsigned corner : {0x11U, 0xE1U, 0x1EU, 0xEEU})
        add({kRest, {DayStep::touch, corner}, kRest, kLift});
    add({kRest, kRest});
    for (unsigned stroke = 0; stroke < 12; ++stroke) {
        for (unsigned place = 0; place < 8; ++place)
            add({{DayStep::touch, (stroke * 83 + place * 29) % 256}});
        add({kLift, kRest});
    }
    add({{DayStep::touch, 0x77}, kRest, kRest, kLift}); // a long press
    add({{DayStep::settings, 0}, {DayStep::keys, 1}, {DayStep::calibrate, 1}, kRest, {DayStep::cancel, 0}});
    add({{DayStep::picture, 0}, kRest, {DayStep::touch, 0x5A}, kUnplug, kRest, kPlug, kRest, kRest});
    add({{DayStep::light, 0x82}, kUnplug, kRest, kPlug, kRest, kRest, {DayStep::light, 0x80}, kRest});
    std::vector<std::uint8_t> script;
    for (const auto& [what, argument] : steps) {
        script.push_back(static_cast<std::uint8_t>(what));
        script.push_back(static_cast<std::uint8_t>(argument));
    }
    return script;
}

TEST(ReportedLessonTest, NoPlaceThatThePenWasAtSurvives) {
    ScriptedDay day;
    std::string log;
    {
        const RecordingLog recording; // in place of the day's own
        ASSERT_EQ(day.play(lesson()), "");
        for (const std::string& line : recording.lines())
            log += line + "\n";
        log += recording.output();
    }
    ASSERT_GE(day.tally().calibrations, 1);
    ASSERT_GE(day.tally().presses, 12);
    ASSERT_GE(day.tally().pictures, 1);
    ASSERT_GE(day.tally().lights, 1);

    // Each line that carries places, by what stands before the first of them.
    static const std::regex withPlaces("(Event n:(1505|1719|1759|1763|1798|1811|2411|256|1084|874|2033)|"
                                       "KVR n:(279|515|935)|Calibr n:503) ?[^\n]*");
    std::set<std::string> places;
    for (std::sregex_iterator line(log.begin(), log.end(), withPlaces), end; line != end; ++line)
        places.merge(placesIn(line->str()));
    ASSERT_GT(places.size(), 200U);

    const std::string report = reportedLog(log, kMany, {});
    EXPECT_THAT(report, HasSubstr("Event n:647 device did add\n"));
    EXPECT_THAT(report, HasSubstr("KVR n:628 calibrationStep"));
    std::vector<std::string> survivors;
    std::ranges::set_intersection(placesIn(report), places, std::back_inserter(survivors));
    EXPECT_THAT(survivors, IsEmpty()) << report;
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
