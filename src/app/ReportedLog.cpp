// SPDX-License-Identifier: MIT
#include "app/ReportedLog.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <deque>
#include <utility>

namespace lightpen {

namespace {

// The numbered lines that stay, for what they tell of starts, units, exchanges and sessions: results,
// versions, settings and counts. A numbered line that is not here may hold places or keys.
constexpr std::array<std::string_view, 76> kHarmless{
    "Event n:1013", "Event n:1034", "Event n:1071", "Event n:1110", "Event n:1149", "Event n:1187",
    "Event n:1196", "Event n:1291", "Event n:1367", "Event n:1385", "Event n:1565", "Event n:1572",
    "Event n:1688", "Event n:1872", "Event n:1886", "Event n:1900", "Event n:1906", "Event n:1910",
    "Event n:1949", "Event n:1958", "Event n:2010", "Event n:2068", "Event n:2071", "Event n:2074",
    "Event n:2125", "Event n:2198", "Event n:2254", "Event n:2270", "Event n:2285", "Event n:2314",
    "Event n:2350", "Event n:2474", "Event n:2755", "Event n:2774", "Event n:2817", "Event n:2915",
    "Event n:2927", "Event n:405",  "Event n:466",  "Event n:473",  "Event n:594",  "Event n:647",
    "Event n:666",  "Event n:721",  "Event n:724",  "Event n:758",  "Event n:794",  "Event n:798",
    "Event n:809",  "Event n:903",  "Event n:914",  "Event n:940",  "Event n:977",  "KVR n:628",
    "KVR n:737",    "KVR n:744",    "KVR n:928",    "Light n:118",  "Light n:140",  "Light n:143",
    "Light n:322",  "Light n:357",  "Light n:358",  "Light n:384",  "Light n:386",  "Light n:389",
    "Light n:646",  "Light n:707",  "Light n:751",  "Light n:774",  "Light n:784",  "Light n:79",
    "Light n:794",  "Light n:799",  "Light n:87",   "Light n:883"};

// The parts of this program whose lines have no place in them. What others say, libraries among them, loses
// its numbers.
constexpr std::array<std::string_view, 24> kParts{
    "Application", "Calibration", "Camera",      "Driver",  "Files",         "HID",
    "KVR",         "Log",         "Login items", "Notices", "Notifications", "Pairing",
    "Platform",    "Pointer",     "Run loop",    "Screen",  "Session",       "Settings",
    "Signals",     "Sounds",      "Status bar",  "Threads", "Webcam",        "Workspace"};
// What follows may have a camera's serial number in it: the end of a file's name, and what a user calls a
// camera.
constexpr std::array<std::string_view, 2> kCameraFiles{"/camera-unit-", "/camera-controls-"};
constexpr std::string_view kNoCamera = "Webcam: there is no camera ";
constexpr std::string_view kOfFileNames = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
constexpr std::string_view kRangeError = "Range error in ";
constexpr std::string_view kNumberMark = " n:";
constexpr std::size_t kLongestPart = 24;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// "Event n:647" of "Event n:647 device did add"; empty for other lines.
std::string_view numberOf(std::string_view line) {
    const auto mark = line.find(kNumberMark);
    if (mark > kLongestPart) // or nowhere
        return {};
    auto end = mark + kNumberMark.size();
    while (end < line.size() && isDigit(line[end]))
        ++end;
    return end == mark + kNumberMark.size() ? std::string_view() : line.substr(0, end);
}

// "Pointer" of "Pointer: ...": a line without a number begins with a word or two for the part that says it.
// Empty for other lines.
std::string_view partOf(std::string_view line) {
    const auto part = line.substr(0, line.find(": "));
    const auto isOfAWord = [](char character) {
        return character == ' ' || std::isalpha(static_cast<unsigned char>(character)) != 0;
    };
    const bool named = part.size() < line.size() && !part.empty() && part.size() <= kLongestPart &&
                       std::isupper(static_cast<unsigned char>(part.front())) != 0 &&
                       std::ranges::all_of(part, isOfAWord);
    return named ? part : std::string_view();
}

std::string withoutNumbers(std::string_view line) {
    std::string text;
    for (const char character : line) {
        if (!isDigit(character))
            text += character;
        else if (text.empty() || text.back() != '#')
            text += '#';
    }
    return text;
}

template <std::size_t kCount>
bool contains(const std::array<std::string_view, kCount>& list, std::string_view text) {
    return std::ranges::find(list, text) != list.end();
}

// Empty for a line that is left out. Text without a line break stands before the next line, so a second
// number says that this is more than one.
std::string shownAs(std::string_view line) {
    const auto number = numberOf(line);
    if (line.find(kNumberMark, number.size()) != std::string_view::npos)
        return {};
    if (!number.empty())
        return std::string(contains(kHarmless, number) ? line : std::string_view());
    if (const auto part = partOf(line); !part.empty())
        return contains(kParts, part) ? std::string(line) : withoutNumbers(line);
    return line.starts_with(kRangeError) ? withoutNumbers(line) : std::string();
}

std::string withoutSerials(std::string text) {
    for (const std::string_view file : kCameraFiles)
        for (auto at = text.find(file); at != std::string::npos; at = text.find(file, at)) {
            at += file.size();
            text.replace(at, std::min(text.find_first_not_of(kOfFileNames, at), text.size()) - at, "#");
        }
    if (text.starts_with(kNoCamera))
        text.replace(kNoCamera.size(), std::string::npos, "#");
    return text;
}

std::string withoutHome(std::string text, const std::vector<std::string>& homes) {
    for (const std::string& home : homes)
        for (auto at = text.find(home); !home.empty() && at != std::string::npos;
             at = text.find(home, at + 1))
            text.replace(at, home.size(), "~");
    return text;
}

} // namespace

std::string reportedLog(std::string_view log, std::size_t mostLines, const std::vector<std::string>& homes) {
    std::deque<std::string> lines;
    std::size_t leftOut = 0;
    const auto add = [&](std::string line) {
        lines.push_back(std::move(line));
        if (lines.size() > mostLines)
            lines.pop_front();
    };
    const auto countLeftOut = [&] {
        if (leftOut > 0)
            add("(lines left out: " + std::to_string(leftOut) + ")");
        leftOut = 0;
    };
    while (!log.empty()) {
        const std::string_view line = log.substr(0, log.find('\n'));
        log.remove_prefix(std::min(log.size(), line.size() + 1));
        if (auto shown = shownAs(line); shown.empty()) {
            ++leftOut;
        } else {
            countLeftOut();
            add(withoutHome(withoutSerials(std::move(shown)), homes));
        }
    }
    countLeftOut();
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return text;
}

} // namespace lightpen
