// SPDX-License-Identifier: MIT
#include "kit/Transcript.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>

namespace lightpen {

namespace {

constexpr std::size_t kLinesAround = 3; // of those that agree
constexpr const char* kWrite = "LIGHTPEN_WRITE_TRANSCRIPTS";

using Lines = std::vector<std::string>;

// The lengths of the longest common parts of what is left of both, for each pair of places.
std::vector<std::vector<std::size_t>> commonLengths(const Lines& a, const Lines& b) {
    std::vector<std::vector<std::size_t>> length(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = a.size(); i-- > 0;)
        for (std::size_t j = b.size(); j-- > 0;)
            length[i][j] =
                a[i] == b[j] ? length[i + 1][j + 1] + 1 : std::max(length[i + 1][j], length[i][j + 1]);
    return length;
}

// All lines of both, each behind its sign.
Lines signedLines(const Lines& expected, const Lines& got) {
    const auto length = commonLengths(expected, got);
    Lines lines;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < expected.size() || j < got.size()) {
        if (i < expected.size() && j < got.size() && expected[i] == got[j]) {
            lines.push_back("  " + expected[i]);
            ++i, ++j;
        } else if (j == got.size() || (i < expected.size() && length[i + 1][j] >= length[i][j + 1])) {
            lines.push_back("- " + expected[i++]);
        } else {
            lines.push_back("+ " + got[j++]);
        }
    }
    return lines;
}

bool differs(const std::string& line) {
    return line[0] != ' ';
}

std::string withoutAddresses(const std::string& line) {
    static const std::regex address("0x[0-9a-f]{8,}");
    return std::regex_replace(line, address, "(address)");
}

void writeTranscript(const std::string& file, const Lines& head, const Lines& lines) {
    std::ofstream stream(file, std::ios::trunc);
    for (const Lines& part : {head, lines})
        for (const std::string& line : part)
            stream << line << '\n';
}

} // namespace

std::string differenceOf(const Lines& expected, const Lines& got) {
    const Lines lines = signedLines(expected, got);
    std::string text;
    bool left = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto first = lines.begin() + static_cast<std::ptrdiff_t>(i - std::min(i, kLinesAround));
        const auto last =
            lines.begin() + static_cast<std::ptrdiff_t>(std::min(i + kLinesAround + 1, lines.size()));
        const bool shown = std::any_of(first, last, differs);
        if (shown)
            text += (left ? "  ...\n" : "") + lines[i] + '\n';
        left = !shown;
    }
    return text;
}

testing::AssertionResult matchesTranscript(const std::string& file, const Lines& happened) {
    Lines got(happened.size());
    std::transform(happened.begin(), happened.end(), got.begin(), withoutAddresses);
    Lines head, expected;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);)
        (line.starts_with('#') ? head : expected).push_back(line);
    const std::string difference = differenceOf(expected, got);
    if (std::getenv(kWrite)) {
        if (!difference.empty())
            writeTranscript(file, head, got);
        return testing::AssertionFailure()
               << file << (difference.empty() ? " is what it was" : " is written anew:\n" + difference)
               << "\n"
               << kWrite << " is set: nothing was tested";
    }
    if (head.empty())
        return testing::AssertionFailure() << file << " does not say in its first line what it is";
    if (!difference.empty())
        return testing::AssertionFailure() << "not as in " << file << ":\n" << difference;
    return testing::AssertionSuccess();
}

} // namespace lightpen
