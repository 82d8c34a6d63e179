// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace lightpen::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// A short item of a report descriptor with a value of two bytes.
inline Bytes wordItem(std::uint8_t prefix, unsigned value) {
    return {static_cast<std::uint8_t>(prefix | 2), static_cast<std::uint8_t>(value & 0xFF),
            static_cast<std::uint8_t>(value >> 8)};
}

inline Bytes reportSize(unsigned bits) {
    return wordItem(0x74, bits);
}
inline Bytes reportCount(unsigned fields) {
    return wordItem(0x94, fields);
}

inline const Bytes kVendorCollection{0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01};
inline const Bytes kInput{0x81, 0x02};
inline const Bytes kOutput{0x91, 0x02};
inline const Bytes kFeature{0xB1, 0x02};
inline const Bytes kEndCollection{0xC0};

// The descriptor of an interface that sends and takes unnumbered reports of these lengths in bytes.
inline Bytes unitDescriptor(unsigned inputLength, unsigned outputLength) {
    return kVendorCollection + reportSize(8) + reportCount(inputLength) + kInput + reportCount(outputLength) +
           kOutput + kEndCollection;
}

} // namespace lightpen::test
