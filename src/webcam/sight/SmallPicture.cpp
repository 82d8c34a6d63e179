// SPDX-License-Identifier: MIT
#include "webcam/sight/SmallPicture.h"

#include <algorithm>
#include <numeric>

namespace lightpen::webcam {

namespace {

// What a pixel of the small picture stands for along one side: from begin to before end, never nothing.
struct Stretch {
    int begin;
    int end;
};

Stretch stretchOf(int index, int parts, int pixels) {
    const auto edge = [&](int part) {
        return static_cast<int>(static_cast<long long>(part) * pixels / parts);
    };
    return {edge(index), std::max(edge(index + 1), edge(index) + 1)};
}

std::uint8_t mean(const GreyView& picture, Stretch across, Stretch down) {
    long long sum = 0;
    for (int y = down.begin; y < down.end; ++y)
        sum = std::accumulate(picture.row(y) + across.begin, picture.row(y) + across.end, sum);
    const long long count =
        static_cast<long long>(across.end - across.begin) * static_cast<long long>(down.end - down.begin);
    return static_cast<std::uint8_t>((sum + count / 2) / count);
}

} // namespace

SmallPicture smallPicture(const GreyView& picture) {
    SmallPicture small{};
    if (!picture.whole())
        return small;
    for (int row = 0; row < kSmallHeight; ++row)
        for (int column = 0; column < kSmallWidth; ++column)
            small[static_cast<std::size_t>(row * kSmallWidth + column)] =
                mean(picture, stretchOf(column, kSmallWidth, picture.width),
                     stretchOf(row, kSmallHeight, picture.height));
    return small;
}

} // namespace lightpen::webcam
