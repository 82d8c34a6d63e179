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

using Answer = std::optional<std::string>; // none: not done yet

// One line that is to be performed, with the words behind the command's own.
struct Call {
    UnitControl& control;
    const UnitCommands::Surroundings& surroundings;
    const std::vector<std::string_view> words;
};

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

// The plug is done when the unit has it; asked for again meanwhile, it changes nothing.
Answer plug(const Call& call) {
    if (call.control.unit().plugged())
        return kOk;
    call.control.plug();
    return std::nullopt;
}

Answer unplug(const Call& call) {
    if (!call.control.unit().plugged())
        return kOk;
    call.control.unplug();
    return std::nullopt;
}

Answer replug(const Call& call) {
    const auto pause = timeOf(call.words, UnitControl::kReplugPause);
    if (!pause)
        return error("replug, or replug and a pause in milliseconds");
    call.control.replug(*pause);
    return kOk;
}

// The hand

Answer play(const Call& call, const Hand& gesture) {
    if (!call.control.unit().plugged())
        return error("the unit is not plugged in");
    return call.control.play(gesture) ? kOk : error("the hand is busy");
}

Answer tap(const Call& call) {
    const auto point = pointOf<ScreenPoint>(call.words);
    return point ? play(call, Hand().tap(*point, DrawnGesture::kTapContact)) : error("tap X Y");
}

Answer hold(const Call& call) {
    const std::span all(call.words);
    const std::size_t place = std::min<std::size_t>(all.size(), 2);
    const auto point = pointOf<ScreenPoint>(all.first(place));
    const auto time = timeOf(all.subspan(place), DrawnGesture::kLeastHold);
    return point && time ? play(call, Hand().hold(*point, *time))
                         : error("hold X Y, or hold X Y and milliseconds");
}

Answer drag(const Call& call) {
    const auto points = pointsOf<ScreenPoint>(call.words);
    if (!points || points->size() < 2)
        return error("drag X Y X Y, and more points if need be");
    Hand hand;
    hand.press(points->front()).stay(DrawnGesture::kRest);
    for (const ScreenPoint& point : *points)
        hand.moveTo(point, kDragSpeed);
    return play(call, hand.stay(DrawnGesture::kRest).lift());
}

Answer waitForHand(const Call& call) {
    return call.control.handRests() ? Answer(kOk) : std::nullopt;
}

Answer hand(const Call& call) {
    const auto on = switchOf(call.words);
    if (!on)
        return error("hand on, or hand off");
    call.surroundings.letHandTouchTargets(*on);
    return kOk;
}

// The room

Answer stray(const Call& call) {
    const std::span all(call.words);
    const auto on = switchOf(all.first(std::min<std::size_t>(all.size(), 1)));
    const auto place =
        all.size() > 1 ? pointOf<CameraPoint>(all.subspan(1)) : std::optional(UnitControl::kLampBeside);
    if (!on || !place || (!*on && all.size() > 1))
        return error("stray on, stray on X Y, or stray off");
    call.control.unit().strayLight(*on ? place : std::nullopt);
    return kOk;
}

Answer pose(const Call& call) {
    return call.words.size() == 1 && call.control.pose(call.words[0])
               ? kOk
               : error("pose keystone, straight or rotated");
}

// The firmware

Answer wireless(const Call& call) {
    return setByte(call.control.unit().information()->wireless, call.words);
}

Answer board(const Call& call) {
    return setByte(call.control.unit().information()->NX9Ver, call.words);
}

Answer cmos(const Call& call) {
    return setByte(call.control.unit().information()->cmosVer, call.words);
}

Answer silent(const Call& call) {
    const auto on = switchOf(call.words);
    if (!on)
        return error("silent on, or silent off");
    call.control.unit().faults()->silent = *on;
    return kOk;
}

Answer calibrate(const Call& call) {
    call.control.calibrate();
    return kOk;
}

Answer erase(const Call& call) {
    call.control.unit().flash()->erase();
    return kOk;
}

Answer flash(const Call& call) {
    const auto points = call.control.unit().flash()->points();
    if (!points)
        return "ok empty";
    std::string answer = kOk;
    for (const CameraPoint& point : *points)
        answer += " " + NSStringFromPoint(point);
    return answer;
}

Answer state(const Call& call) {
    const CameraUnit& unit = call.control.unit();
    const bool filterOut = call.control.unit().firmware()->settings().filterOut;
    std::string answer = kOk;
    answer += unit.plugged() ? " plugged=yes" : " plugged=no";
    answer += filterOut ? " filter=out" : " filter=in";
    answer += call.control.handRests() ? " hand=resting" : " hand=playing";
    return answer + " " + call.surroundings.driverState();
}

Answer quit(const Call& call) {
    call.surroundings.quit();
    return kOk;
}

struct Command {
    std::string_view name;
    Answer (*perform)(const Call& call);
};
constexpr Command kCommands[] = {
    {"plug", plug},     {"unplug", unplug},       {"replug", replug},    {"tap", tap},
    {"hold", hold},     {"drag", drag},           {"wait", waitForHand}, {"stray", stray},
    {"pose", pose},     {"wireless", wireless},   {"board", board},      {"cmos", cmos},
    {"erase", erase},   {"calibrate", calibrate}, {"flash", flash},      {"hand", hand},
    {"silent", silent}, {"state", state},         {"quit", quit},
};

} // namespace

UnitCommands::UnitCommands(UnitControl& control, Surroundings surroundings)
    : control_(control), surroundings_(std::move(surroundings)) {}

std::optional<std::string> UnitCommands::perform(std::string_view line) {
    std::vector<std::string_view> words = wordsOf(line);
    if (words.empty())
        return error("an empty line is no command");
    const std::string_view name = words.front();
    words.erase(words.begin());
    const auto* const command = std::ranges::find(kCommands, name, &Command::name);
    if (command == std::end(kCommands))
        return error("there is no command " + std::string(name));
    return command->perform({control_, surroundings_, std::move(words)});
}

} // namespace lightpen
