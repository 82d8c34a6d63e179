// SPDX-License-Identifier: MIT
#include "kit/UnitProtocolDocument.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>

namespace lightpen {

namespace {

using Kind = ExchangeLine::Kind;

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    return first == std::string_view::npos
               ? std::string()
               : std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

ProtocolRow cellsOf(const std::string& line) {
    ProtocolRow cells;
    std::istringstream rest(line.substr(1));
    for (std::string cell; std::getline(rest, cell, '|');)
        cells.push_back(trimmed(cell));
    return cells;
}

// The words that begin a line, with what they mean and how many numbers follow.
struct Word {
    const char* text;
    Kind kind;
    int numbers;
};
constexpr Word kWords[] = {{"wait", Kind::wait, 1},   {"silence", Kind::silence, 1},
                           {"unit", Kind::unit, 1},   {"pen up", Kind::penUp, 0},
                           {"light", Kind::light, 2}, {"power off", Kind::powerOff, 0},
                           {"pen", Kind::pen, 2}};

ExchangeLine exchangeLine(const std::string& written) {
    const std::string text = trimmed(written.substr(0, written.find(';')));
    ExchangeLine line;
    line.text = text;
    if (text.starts_with("> ") || text.starts_with("< ")) {
        line.kind = text[0] == '>' ? Kind::send : Kind::receive;
        line.bytes = hexadecimalBytes(text.substr(2));
        line.more = text.ends_with("...");
        return line;
    }
    for (const Word& word : kWords) {
        if (!text.starts_with(word.text))
            continue;
        std::istringstream numbers(text.substr(std::string_view(word.text).size()));
        const bool read =
            word.numbers == 0 || (numbers >> line.first && (word.numbers == 1 || numbers >> line.second));
        line.kind = read ? word.kind : Kind::unknown;
        break;
    }
    return line;
}

std::string testName(const std::string& title) {
    std::istringstream words(title);
    std::string name;
    for (std::string word; words >> word; name += word)
        word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
    return name;
}

} // namespace

std::vector<std::uint8_t> hexadecimalBytes(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        if (word.size() != 2 ||
            !std::ranges::all_of(word, [](unsigned char c) { return std::isxdigit(c) != 0; }))
            break;
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(word, nullptr, 16)));
    }
    return bytes;
}

std::optional<int> ProtocolSection::number(std::string_view firstCell) const {
    const auto row =
        std::ranges::find_if(rows, [&](const ProtocolRow& cells) { return cells[0] == firstCell; });
    if (row == rows.end() || row->size() < 2 || !std::isdigit(static_cast<unsigned char>((*row)[1][0])))
        return std::nullopt;
    return std::stoi((*row)[1], nullptr, 0);
}

UnitProtocolDocument::UnitProtocolDocument() {
    std::ifstream file(LIGHTPEN_UNIT_PROTOCOL);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("```")) {
            if (block_)
                takeBlock(*std::exchange(block_, std::nullopt));
            else
                block_.emplace();
        } else if (block_) {
            block_->push_back(line);
        } else {
            takeLine(line);
        }
    }
}

void UnitProtocolDocument::takeLine(const std::string& line) {
    if (line.starts_with("# "))
        part_ = line.substr(2);
    if (line.starts_with("## ")) {
        sections.emplace_back();
        sections.back().part = part_;
        sections.back().title = line.substr(3);
    }
    if (sections.empty() || !line.starts_with('|'))
        return;
    auto& rows = sections.back().rows;
    if (!line.starts_with("|---"))
        rows.push_back(cellsOf(line));
    else if (!rows.empty())
        rows.pop_back(); // what stands above such a line is the table's head
}

void UnitProtocolDocument::takeBlock(const std::vector<std::string>& lines) {
    if (sections.empty())
        return;
    ProtocolSection& section = sections.back();
    if (lines.size() == 1 && hexadecimalBytes(lines[0]).size() > 1) {
        section.dumps.push_back(hexadecimalBytes(lines[0]));
        return;
    }
    Exchange& exchange = section.exchanges.emplace_back();
    for (const std::string& line : lines)
        exchange.push_back(exchangeLine(line));
}

const ProtocolSection& UnitProtocolDocument::section(std::string_view title) const {
    static const ProtocolSection none;
    const auto found = std::ranges::find(sections, title, &ProtocolSection::title);
    return found == sections.end() ? none : *found;
}

testing::AssertionResult UnitProtocolDocument::isCoveredByThisSuite(std::string_view part,
                                                                    std::size_t count) const {
    std::set<std::string> names;
    for (const ProtocolSection& section : sections)
        if (section.part == part)
            names.insert(testName(section.title));
    if (names.size() != count)
        return testing::AssertionFailure() << names.size() << " sections";
    names.insert("HasATestForEachSection");
    std::set<std::string> tests;
    const testing::TestSuite& suite = *testing::UnitTest::GetInstance()->current_test_suite();
    for (int index = 0; index < suite.total_test_count(); ++index)
        tests.insert(suite.GetTestInfo(index)->name());
    if (tests == names)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "tests " << testing::PrintToString(tests) << ", sections " << testing::PrintToString(names);
}

} // namespace lightpen
