// SPDX-License-Identifier: MIT
// Any bytes as a camera's pictures of any size, one after the other, and as dots that were seen.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>
#include <vector>

#include "kit/AnyBytes.h"
#include "webcam/sight/DisplayedSight.h"
#include "webcam/sight/LensModel.h"
#include "webcam/sight/SmallPicture.h"
#include "webcam/sight/SpotFinder.h"

namespace {

using namespace lightpen;
using namespace lightpen::webcam;

// The pixels are no more than are needed, and the padding of the last row is not among them.
struct Camera {
    int width = 40;
    int height = 30;
    int stride = 40;
    std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(1200);

    GreyView view() const { return {pixels, width, height, stride}; }
    void resize(Bytes& bytes) {
        constexpr int kWidths[] = {1, 2, 15, 16, 17, 63, 64, 65, 100, 130, 200, 333};
        width = kWidths[static_cast<std::size_t>(bytes.next(static_cast<int>(std::size(kWidths))))];
        height = 1 + bytes.next(70);
        stride = width + bytes.next(20);
        pixels.assign(static_cast<std::size_t>(stride * (height - 1) + width),
                      static_cast<std::uint8_t>(bytes.next()));
    }
    void paint(Bytes& bytes) {
        const int left = bytes.next() * width / 256;
        const int top = bytes.next() * height / 256;
        const int right = std::min(left + bytes.next() / 2 + 1, width);
        const int bottom = std::min(top + bytes.next() / 2 + 1, height);
        const int level = bytes.next();
        const int rough = bytes.next();
        unsigned state = static_cast<unsigned>(level * 256 + rough);
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x) {
                state = state * 1664525U + 1013904223U;
                const int noise = rough == 0 ? 0 : static_cast<int>(state >> 24) * rough / 256;
                pixels[static_cast<std::size_t>(y * stride + x)] =
                    static_cast<std::uint8_t>(std::max(level - noise, 0));
            }
    }
};

void check(const Spot& spot, const Camera& camera) {
    require(spot.x >= 0 && spot.x <= camera.width - 1);
    require(spot.y >= 0 && spot.y <= camera.height - 1);
    require(spot.size > 0 && spot.size <= 2 * (camera.width + camera.height));
    require(spot.peak >= 1 && spot.peak <= 255);
}

void checkPictures(Bytes& bytes) {
    Camera camera;
    SpotFinder finder;
    DisplayedSight displayed;
    Microseconds now{};
    while (!bytes.empty()) {
        switch (bytes.next(8)) {
        case 0:
            camera.resize(bytes);
            break;
        case 1:
            finder.setThreshold(bytes.next() * 3 - 100);
            break;
        case 2:
            finder.forget();
            displayed.forget();
            break;
        case 3: {
            const auto lights = displayed.look(camera.view());
            for (const Spot& blob : lights.blobs)
                check(blob, camera);
            const SmallPicture small = smallPicture(camera.view());
            require(*std::ranges::max_element(small) <= *std::ranges::max_element(camera.pixels));
            break;
        }
        case 4: {
            if (const auto place = finder.blindPlace())
                require(place->size > 0);
            GreyView broken = camera.view();
            broken.height += 1 + bytes.next();
            require(!finder.find(broken, now));
            break;
        }
        case 5:
        case 6:
            camera.paint(bytes);
            [[fallthrough]];
        default:
            now += Microseconds(bytes.next() * 200);
            const auto spot = finder.find(camera.view(), now);
            require(!spot || finder.penDown());
            if (spot)
                check(*spot, camera);
        }
    }
}

void checkLens(Bytes& bytes) {
    const int width = bytes.next() * 8;
    const int height = bytes.next() * 6;
    std::vector<SeenDot> dots;
    const auto place = [&](double scale) {
        const int high = bytes.next();
        const double value = (high * 256 + bytes.next()) * scale;
        return high == 255 ? value * 1e300 * 1e10 : value;
    };
    while (!bytes.empty() && dots.size() < 200) {
        const PicturePoint seen{place(0.03), place(0.02)};
        dots.push_back({seen, {place(0.03), place(0.02)}});
    }
    const auto estimate = estimateLens(dots, width, height);
    require(std::isfinite(estimate.error) && std::isfinite(estimate.straightError));
    require(estimate.error <= estimate.straightError);
    require(estimate.known ? dots.size() > 4 : estimate.lens.k() == 0);
    require(std::abs(estimate.lens.k()) < LensModel::kMost);
    const PicturePoint corner = estimate.lens.undistorted({0, 0});
    require(std::isfinite(corner.x) && std::isfinite(corner.y));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(std::span(data, size));
    if (bytes.next(4) == 0)
        checkLens(bytes);
    else
        checkPictures(bytes);
    return 0;
}
