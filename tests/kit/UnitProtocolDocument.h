// SPDX-License-Identifier: MIT
// docs/unit-protocol.md as tests read it: its sections, with their tables and the exchanges that are played.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace lightpen {

// One line of an exchange.
struct ExchangeLine {
    enum class Kind {
        send,     // `bytes` to the unit
        receive,  // the unit's next report begins with `bytes`
        wait,     // `first` milliseconds
        silence,  // as many without a report
        unit,     // a new unit with reports of `first` bytes
        pen,      // the pen's light at `first`, `second`
        penUp,    //
        light,    // a foreign light there
        powerOff, //
        unknown   // nothing that this page explains
    };
    Kind kind = Kind::unknown;
    std::vector<std::uint8_t> bytes;
    bool more = false; // anything may stand behind the bytes; otherwise zeros do
    int first = 0;
    int second = 0;
    std::string text; // as it is written
};
using Exchange = std::vector<ExchangeLine>;

// The cells of a table's row.
using ProtocolRow = std::vector<std::string>;

struct ProtocolSection {
    std::string part;  // the heading above it, as "The unit"
    std::string title; // as "Pen reports"
    std::vector<Exchange> exchanges;
    std::vector<std::vector<std::uint8_t>> dumps; // code blocks of bytes alone
    std::vector<ProtocolRow> rows;                // of all its tables; heads and lines below them are not

    // The number in the row that begins with this cell, whatever unit stands behind it; none without such a
    // row.
    std::optional<int> number(std::string_view firstCell) const;
};

// Reads bytes that are written in hexadecimal, up to the first word that is none.
std::vector<std::uint8_t> hexadecimalBytes(std::string_view text);

// The document; without sections when it cannot be read.
class UnitProtocolDocument {
public:
    UnitProtocolDocument();

    std::vector<ProtocolSection> sections;

    // The section of this title; an empty one when there is none.
    const ProtocolSection& section(std::string_view title) const;
    // Whether the suite of the running test has one of its name for each section of the part, of which there
    // are so many, and no other but HasATestForEachSection: "Pen reports" has PenReports.
    testing::AssertionResult isCoveredByThisSuite(std::string_view part, std::size_t count) const;

private:
    void takeLine(const std::string& line);
    void takeBlock(const std::vector<std::string>& lines);

    std::string part_;                              // that is being read
    std::optional<std::vector<std::string>> block_; // so far, inside a code block
};

} // namespace lightpen
