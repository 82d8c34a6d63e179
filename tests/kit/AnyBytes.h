// SPDX-License-Identifier: MIT
// What the fuzzers have in common.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

namespace lightpen {

// Ends the program, which the fuzzer then tells of, when a promise is not kept.
inline void require(bool promise) {
    if (!promise)
        std::abort();
}

// Bytes that are used up from their front; then there are none.
class Bytes {
public:
    explicit Bytes(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
    bool empty() const { return bytes_.empty(); }
    std::span<const std::uint8_t> rest() const { return bytes_; }
    // 0 behind the last one.
    std::uint8_t next() {
        if (bytes_.empty())
            return 0;
        const std::uint8_t byte = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return byte;
    }
    // From 0 to below the count.
    int next(int count) { return next() % count; }
    // As many as there are, up to this many.
    std::vector<std::uint8_t> take(std::size_t count) {
        const auto front = bytes_.first(std::min(count, bytes_.size()));
        bytes_ = bytes_.subspan(front.size());
        return {front.begin(), front.end()};
    }

private:
    std::span<const std::uint8_t> bytes_;
};

} // namespace lightpen
