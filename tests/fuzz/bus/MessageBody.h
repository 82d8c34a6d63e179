// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace lightpen {

// What is in a message, by its letters and as it goes over the wire.
struct MessageBody {
    std::string signature;
    std::vector<std::uint8_t> bytes;
};

// Writes what goes over the wire: each value at its place, in the order of this machine.
class WireWriter {
public:
    void align(std::size_t to) { bytes.resize((bytes.size() + to - 1) / to * to); }
    // The lowest bytes of the number, at a place for a number of that size.
    void number(std::uint64_t value, std::size_t size);
    // The text with its length before it, in so many bytes.
    void text(std::string_view text, std::size_t lengthBytes);

    std::vector<std::uint8_t> bytes;
};

// Where the values of a body come from, in their order.
class BodyValues {
public:
    virtual ~BodyValues() = default;
    virtual std::uint64_t number() = 0;
    // A text, or the path of an object ('o').
    virtual std::string text(char letter) = 0;
    // How many elements an array has.
    virtual std::size_t count() = 0;
    // What kind of value is in a variant: one complete type.
    virtual std::string type() = 0;
};

MessageBody bodyOf(std::string signature, BodyValues& values);

// A number, a count, a text, a path or a type.
using GivenValue = std::variant<int, std::string>;
MessageBody givenBody(std::string signature, std::vector<GivenValue> values);

// Bytes that are used up from their front, and what can be made of them. Then there are none, which are
// zeros.
class FuzzedValues final : public BodyValues {
public:
    explicit FuzzedValues(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
    bool empty() const { return bytes_.empty(); }
    std::uint8_t next();
    // Up to four complete types of any kind.
    std::string signature();

    std::uint64_t number() override;
    std::string text(char letter) override;
    std::size_t count() override { return next() % 4U; }
    std::string type() override;

private:
    std::string type(int depth);

    std::span<const std::uint8_t> bytes_;
};

} // namespace lightpen
