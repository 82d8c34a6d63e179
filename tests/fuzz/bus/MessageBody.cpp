// SPDX-License-Identifier: MIT
#include "fuzz/bus/MessageBody.h"

#include <array>
#include <cstdlib>
#include <utility>

namespace lightpen {

namespace {

constexpr std::string_view kPlain{"ybnqiuxtdsogh"};
constexpr int kDeepest = 3;
constexpr int kDeepestVariant = 8; // with what is in them less than the 64 that the bus lets through
constexpr std::size_t kLongestSignature = 255; // as the bus has it
// What the program looks for, so that more of what is made up means something to it.
constexpr std::array kTexts{"",
                            "Active",
                            "LockedHint",
                            "Locale",
                            "0",
                            "1",
                            "auto",
                            "HDMI-1",
                            "org.freedesktop.login1.Session",
                            "X11Layout",
                            "LC_ALL=C",
                            "org.freedesktop.locale1",
                            "LANG=fr_FR",
                            "LANGUAGE=de:zh_Hant_TW@a",
                            "activation-token",
                            "calibrate"};
constexpr std::array kPaths{"/", "/session/_1", "/session/_2"};

std::size_t alignment(char letter) {
    switch (letter) {
    case 'y':
    case 'g':
    case 'v':
        return 1;
    case 'n':
    case 'q':
        return 2;
    case 'x':
    case 't':
    case 'd':
    case '(':
    case '{':
        return 8;
    default:
        return 4;
    }
}

// How many letters the first complete type has.
std::size_t firstType(std::string_view signature) {
    if (signature.front() == 'a')
        return 1 + firstType(signature.substr(1));
    std::size_t end = 1;
    if (signature.front() == '(' || signature.front() == '{') {
        while (signature[end] != ')' && signature[end] != '}')
            end += firstType(signature.substr(end));
        ++end;
    }
    return end;
}

void write(WireWriter& to, std::string_view types, BodyValues& values, int variants);

void writeArray(WireWriter& to, std::string_view element, BodyValues& values, int variants) {
    to.number(0, 4);
    const std::size_t lengthAt = to.bytes.size() - 4;
    to.align(alignment(element.front()));
    const std::size_t begin = to.bytes.size();
    for (std::size_t left = values.count(); left > 0; --left)
        write(to, element, values, variants);
    const std::size_t length = to.bytes.size() - begin;
    for (std::size_t i = 0; i < 4; ++i)
        to.bytes[lengthAt + i] = static_cast<std::uint8_t>(length >> 8 * i);
}

void writeOne(WireWriter& to, std::string_view type, BodyValues& values, int variants) {
    const char letter = type.front();
    switch (letter) {
    case 'a':
        return writeArray(to, type.substr(1), values, variants);
    case '(':
    case '{':
        to.align(8);
        return write(to, type.substr(1, type.size() - 2), values, variants);
    case 'v': {
        const std::string inner = variants < kDeepestVariant ? values.type() : "y";
        to.text(inner, 1);
        return write(to, inner, values, variants + 1);
    }
    case 's':
    case 'o':
        return to.text(values.text(letter), 4);
    case 'g':
        return to.text(values.type(), 1);
    case 'h': // the first of the descriptors that come along, and the only one
        return to.number(0, 4);
    case 'b':
        return to.number(values.number() & 1, 4);
    default:
        return to.number(values.number(), alignment(letter));
    }
}

// With how many variants around them.
void write(WireWriter& to, std::string_view types, BodyValues& values, int variants) {
    while (!types.empty()) {
        const std::size_t length = firstType(types);
        writeOne(to, types.substr(0, length), values, variants);
        types.remove_prefix(length);
    }
}

class GivenValues final : public BodyValues {
public:
    explicit GivenValues(std::vector<GivenValue> values) : values_(std::move(values)) {}
    std::uint64_t number() override { return static_cast<std::uint64_t>(std::get<int>(take())); }
    std::string text(char) override { return std::get<std::string>(take()); }
    std::size_t count() override { return number(); }
    std::string type() override { return text('g'); }

private:
    const GivenValue& take() { return values_.at(next_++); }

    const std::vector<GivenValue> values_;
    std::size_t next_ = 0;
};

} // namespace

void WireWriter::number(std::uint64_t value, std::size_t size) {
    align(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}

void WireWriter::text(std::string_view text, std::size_t lengthBytes) {
    number(text.size(), lengthBytes);
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}

MessageBody bodyOf(std::string signature, BodyValues& values) {
    WireWriter writer;
    write(writer, signature, values, 0);
    return {std::move(signature), std::move(writer.bytes)};
}

MessageBody givenBody(std::string signature, std::vector<GivenValue> values) {
    GivenValues source(std::move(values));
    return bodyOf(std::move(signature), source);
}

std::uint8_t FuzzedValues::next() {
    if (bytes_.empty())
        return 0;
    const std::uint8_t front = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return front;
}

std::string FuzzedValues::signature() {
    std::string all;
    for (int left = next() % 5; left > 0; --left)
        if (const std::string one = type(0); all.size() + one.size() <= kLongestSignature)
            all += one;
    return all;
}

std::string FuzzedValues::type() {
    return empty() ? "y" : type(0);
}

std::string FuzzedValues::type(int depth) {
    const std::size_t choice = next() % (kPlain.size() + 4);
    if (choice < kPlain.size() || depth == kDeepest)
        return {kPlain[choice % kPlain.size()]};
    if (choice == kPlain.size())
        return "v";
    if (choice == kPlain.size() + 1)
        return "a" + type(depth + 1);
    if (choice == kPlain.size() + 2)
        return std::string("a{") + kPlain[next() % kPlain.size()] + type(depth + 1) + "}";
    std::string fields;
    for (int left = next() % 4; left >= 0; --left)
        fields += type(depth + 1);
    return "(" + fields + ")";
}

std::uint64_t FuzzedValues::number() {
    const std::uint8_t form = next();
    if (form < 0x80)
        return form; // small ones are the commonest
    std::uint64_t number = 0;
    for (int i = 0; i < 8; ++i)
        number = number << 8 | next();
    return number;
}

std::string FuzzedValues::text(char letter) {
    const std::uint8_t form = next();
    if (letter == 'o')
        return kPaths[form % kPaths.size()];
    if (form < 0x80)
        return kTexts[form % kTexts.size()];
    std::string text;
    for (int left = form & 0x3F; left > 0; --left) {
        const std::uint8_t character = next();
        if (character >= 0x80) // in UTF-8
            text += static_cast<char>(0xC0 | character >> 6);
        text += static_cast<char>(character >= 0x80 ? 0x80 | (character & 0x3F)
                                  : character       ? character
                                                    : 'x');
    }
    return text;
}

} // namespace lightpen
