// SPDX-License-Identifier: MIT
#include "emulated/UnitCommands.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <utility>

#include "emulated/DrawnGesture.h"

namespace lightpen {

namespace {

constexpr double kDragSpeed = 800; // screen points a second
constexpr Microseconds kLongestTime = std::chrono::minutes(10);

const std::string kOk = "ok";

std::string error(std::string_view reason) {
    return "error " + std::string(reason);
}

std::vector<std::string_view> wordsOf(std::string_view line) {
    constexpr std::string_view kBlank = " \t\r";
    std::vector<std::string_view> words;
    while (true) {
        const std::size_t start = line.find_first_not_of(kBlank);
        if (start == std::string_view::npos)
            return words;
        const std::size_t end = std::min(line.find_first_of(kBlank, start), line.size());
        words.push_back(line.substr(start, end - start));
        line.remove_prefix(end);
    }
}

// None when a word is no number.
template <class Number>
std::optional<std::vector<Number>> numbersOf(std::span<const std::string_view> words) {
    std::vector<Number> numbers;
    for (const std::string_view word : words) {
        Number number{};
        const auto [end, problem] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (problem != std::errc() || end != word.data() + word.size())
            return std::nullopt;
        numbers.push_back(number);
    }
    return numbers;
}

template <class AnyPoint>
std::optional<std::vector<AnyPoint>> pointsOf(std::span<const std::string_view> words) {
    const auto numbers = numbersOf<double>(words);
    if (!numbers || numbers->size() % 2 != 0 ||
        !std::ranges::all_of(*numbers, [](double number) { return std::isfinite(number); }))
        return std::nullopt;
    std::vector<AnyPoint> points;
    for (std::size_t i = 0; i < numbers->size(); i += 2)
        points.push_back({(*numbers)[i], (*numbers)[i + 1]});
    return points;
}

template <class AnyPoint>
std::optional<AnyPoint> pointOf(std::span<const std::string_view> words) {
    const auto points = pointsOf<AnyPoint>(words);
    return points && points->size() == 1 ? std::optional(points->front()) : std::nullopt;
}

// Milliseconds, above 0; without a word, the one that is usual.
std::optional<Microseconds> timeOf(std::span<const std::string_view> words, Microseconds usual) {
    if (words.empty())
        return usual;
    const auto numbers = numbersOf<int>(words);
    if (!numbers || numbers->size() != 1)
        return std::nullopt;
    const Microseconds time = std::chrono::milliseconds(numbers->front());
    return time > Microseconds::zero() && time <= kLongestTime ? std::optional(time) : std::nullopt;
}

std::optional<std::uint8_t> byteOf(std::span<const std::string_view> words) {
    const auto numbers = numbersOf<std::uint8_t>(words);
    return numbers && numbers->size() == 1 ? std::optional(numbers->front()) : std::nullopt;
}

// None for anything but one "on" or "off".
std::optional<bool> switchOf(std::span<const std::string_view> words) {
    if (words.size() != 1 || (words[0] != "on" && words[0] != "off"))
        return std::nullopt;
    return words[0] == "on";
}

// What is wrong with a byte's words, empty when nothing is.
std::optional<std::string> setByte(std::uint8_t& target, std::span<const std::string_view> words) {
    const auto byte = byteOf(words);
    if (!byte)
        return error("a number from 0 to 255 belongs here");
    target = *byte;
    return kOk;
}

} // namespace

const UnitCommands::Command UnitCommands::kCommands[] = {
    {"plug", &UnitCommands::plug},     {"unplug", &UnitCommands::unplug},
    {"replug", &UnitCommands::replug}, {"tap", &UnitCommands::tap},
    {"hold", &UnitCommands::hold},     {"drag", &UnitCommands::drag},
    {"wait", &UnitCommands::wait},     {"stray", &UnitCommands::stray},
    {"pose", &UnitCommands::pose},     {"wireless", &UnitCommands::wireless},
    {"board", &UnitCommands::board},   {"cmos", &UnitCommands::cmos},
    {"erase", &UnitCommands::erase},   {"calibrate", &UnitCommands::calibrate},
    {"flash", &UnitCommands::flash},   {"hand", &UnitCommands::hand},
    {"silent", &UnitCommands::silent}, {"state", &UnitCommands::state},
    {"quit", &UnitCommands::quit},
};

UnitCommands::UnitCommands(UnitControl& control, Surroundings surroundings)
    : control_(control), surroundings_(std::move(surroundings)) {}

std::optional<std::string> UnitCommands::perform(std::string_view line) {
    Words words = wordsOf(line);
    if (words.empty())
        return error("an empty line is no command");
    const std::string_view name = words.front();
    words.erase(words.begin());
    const auto* const command = std::ranges::find(kCommands, name, &Command::name);
    if (command == std::end(kCommands))
        return error("there is no command " + std::string(name));
    return (this->*command->perform)(words);
}

// The plug is done when the unit has it; asked for again meanwhile, it changes nothing.
UnitCommands::Answer UnitCommands::plug(const Words&) {
    if (control_.unit().plugged())
        return kOk;
    control_.plug();
    return std::nullopt;
}

UnitCommands::Answer UnitCommands::unplug(const Words&) {
    if (!control_.unit().plugged())
        return kOk;
    control_.unplug();
    return std::nullopt;
}

UnitCommands::Answer UnitCommands::replug(const Words& words) {
    const auto pause = timeOf(words, UnitControl::kReplugPause);
    if (!pause)
        return error("replug, or replug and a pause in milliseconds");
    control_.replug(*pause);
    return kOk;
}

// The hand

UnitCommands::Answer UnitCommands::play(const Hand& gesture) {
    if (!control_.unit().plugged())
        return error("the unit is not plugged in");
    return control_.play(gesture) ? kOk : error("the hand is busy");
}

UnitCommands::Answer UnitCommands::tap(const Words& words) {
    const auto point = pointOf<ScreenPoint>(words);
    return point ? play(Hand().tap(*point, DrawnGesture::kTapContact)) : error("tap X Y");
}

UnitCommands::Answer UnitCommands::hold(const Words& words) {
    const std::span all(words);
    const std::size_t place = std::min<std::size_t>(all.size(), 2);
    const auto point = pointOf<ScreenPoint>(all.first(place));
    const auto time = timeOf(all.subspan(place), DrawnGesture::kLeastHold);
    return point && time ? play(Hand().hold(*point, *time)) : error("hold X Y, or hold X Y and milliseconds");
}

UnitCommands::Answer UnitCommands::drag(const Words& words) {
    const auto points = pointsOf<ScreenPoint>(words);
    if (!points || points->size() < 2)
        return error("drag X Y X Y, and more points if need be");
    Hand hand;
    hand.press(points->front()).stay(DrawnGesture::kRest);
    for (const ScreenPoint& point : *points)
        hand.moveTo(point, kDragSpeed);
    return play(hand.stay(DrawnGesture::kRest).lift());
}

UnitCommands::Answer UnitCommands::wait(const Words&) {
    return control_.handRests() ? Answer(kOk) : std::nullopt;
}

UnitCommands::Answer UnitCommands::hand(const Words& words) {
    const auto on = switchOf(words);
    if (!on)
        return error("hand on, or hand off");
    surroundings_.letHandTouchTargets(*on);
    return kOk;
}

// The room

UnitCommands::Answer UnitCommands::stray(const Words& words) {
    const std::span all(words);
    const auto on = switchOf(all.first(std::min<std::size_t>(all.size(), 1)));
    const auto place =
        all.size() > 1 ? pointOf<CameraPoint>(all.subspan(1)) : std::optional(UnitControl::kLampBeside);
    if (!on || !place || (!*on && all.size() > 1))
        return error("stray on, stray on X Y, or stray off");
    control_.unit().strayLight(*on ? place : std::nullopt);
    return kOk;
}

UnitCommands::Answer UnitCommands::pose(const Words& words) {
    return words.size() == 1 && control_.pose(words[0]) ? kOk : error("pose keystone, straight or rotated");
}

// The firmware

UnitCommands::Answer UnitCommands::wireless(const Words& words) {
    return setByte(control_.unit().information()->wireless, words);
}

UnitCommands::Answer UnitCommands::board(const Words& words) {
    return setByte(control_.unit().information()->NX9Ver, words);
}

UnitCommands::Answer UnitCommands::cmos(const Words& words) {
    return setByte(control_.unit().information()->cmosVer, words);
}

UnitCommands::Answer UnitCommands::silent(const Words& words) {
    const auto on = switchOf(words);
    if (!on)
        return error("silent on, or silent off");
    control_.unit().faults()->silent = *on;
    return kOk;
}

UnitCommands::Answer UnitCommands::calibrate(const Words&) {
    control_.calibrate();
    return kOk;
}

UnitCommands::Answer UnitCommands::erase(const Words&) {
    control_.unit().flash()->erase();
    return kOk;
}

UnitCommands::Answer UnitCommands::flash(const Words&) {
    const auto points = control_.unit().flash()->points();
    if (!points)
        return "ok empty";
    std::string answer = kOk;
    for (const CameraPoint& point : *points)
        answer += " " + NSStringFromPoint(point);
    return answer;
}

UnitCommands::Answer UnitCommands::state(const Words&) {
    const CameraUnit& unit = control_.unit();
    const bool filterOut = control_.unit().firmware()->settings().filterOut;
    std::string answer = kOk;
    answer += unit.plugged() ? " plugged=yes" : " plugged=no";
    answer += filterOut ? " filter=out" : " filter=in";
    answer += control_.handRests() ? " hand=resting" : " hand=playing";
    return answer + " " + surroundings_.driverState();
}

UnitCommands::Answer UnitCommands::quit(const Words&) {
    surroundings_.quit();
    return kOk;
}

} // namespace lightpen
