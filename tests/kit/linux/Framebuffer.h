// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/TemporaryDirectory.h"

namespace lightpen {

// The memory that an Xvfb keeps its screen in, the cursor drawn into it, as a monitor would show it. The
// server is given options() when it starts.
class Framebuffer {
public:
    Framebuffer(int width, int height) : width_(width), height_(height) {}

    std::vector<std::string> options() const { return {"-fbdir", folder_.path()}; }

    // Whether anything of the cursor is shown: the pixels around the pointer, which stands on an even ground,
    // differ.
    bool cursorAt(int x, int y) const {
        const std::string file = readFile(folder_.path() / "Xvfb_screen0");
        const auto ground = pixel(file, x - kReach, y - kReach);
        for (int row = y - kReach; row <= y + kReach; ++row)
            for (int column = x - kReach; column <= x + kReach; ++column)
                if (pixel(file, column, row) != ground)
                    return true;
        return false;
    }

private:
    // A font's cursor is 16 pixels wide and its spot in the middle.
    static constexpr int kReach = 12;

    // The pixels are the last thing in the file, four bytes each.
    std::uint32_t pixel(const std::string& file, int x, int y) const {
        const auto fromEnd = static_cast<std::size_t>((height_ - y) * width_ - x) * sizeof(std::uint32_t);
        if (x < 0 || y < 0 || x >= width_ || y >= height_ || fromEnd > file.size())
            throw std::runtime_error("no such pixel");
        std::uint32_t value = 0;
        std::memcpy(&value, file.data() + (file.size() - fromEnd), sizeof value);
        return value & 0xFFFFFF;
    }

    const int width_, height_;
    const TemporaryDirectory folder_;
};

} // namespace lightpen
