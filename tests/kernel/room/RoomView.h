// SPDX-License-Identifier: MIT
// What a webcam sees that looks at a projection: the projected picture, a pen's light, a lamp, and the
// sensor's noise. Whole numbers wherever each pixel counts, since it also runs on an emulated machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/Geometry.h"
#include "unit/room/Optics.h"
#include "unit/room/ScreenSight.h"

namespace lightpen {

// A place in a picture, in pixels from its upper left corner; a pixel covers the half-open range from its
// number to the next.
struct PictureSpace;
using PicturePoint = Point<PictureSpace>;

// How many pixels a camera's picture has; both above 0.
struct PictureSize {
    int width = 0;
    int height = 0;
    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

// How bright things come out, in grey levels of 255.
struct RoomLight {
    double screen = 200; // the projection's white; a film on the lens leaves a few levels
    double dark = 10;    // where there is no light at all
    double pen = 240;    // the middle of the pen's spot, on top of what is behind it
    double noise = 2;    // standard deviation of each pixel, at most 4
    // A light in the room that does not move, in camera units, as bright as the pen and three times as wide.
    std::optional<CameraPoint> lamp = std::nullopt;
};

// One camera in one place. One thread at a time.
class RoomView {
public:
    // A screen of that size in points and pixels, dark at first. The camera's units are laid over the whole
    // picture, whatever its shape. The same seed gives the same noise.
    RoomView(PictureSize picture, Size screen, const Optics& optics, std::uint32_t seed = 1);

    // Throws nothing away: what is shown stays.
    void setLight(const RoomLight& light);
    const RoomLight& light() const { return light_; }
    // What the projector shows from now on; a picture of another size shows nothing.
    void show(const ScreenPicture& picture);

    PictureSize size() const { return size_; }
    // Where a light at this place comes out.
    PicturePoint place(ScreenPoint point) const { return inPicture(optics_.project(point)); }
    PicturePoint inPicture(CameraPoint point) const;
    // The standard deviation of the pen's spot, which is round and normally distributed, in pixels.
    double spotWidth() const;

    // The next picture, with a pen that lights there or none, rows from top to bottom. Other noise each time.
    // The buffer has room for all pixels.
    void draw(std::optional<ScreenPoint> pen, std::span<std::uint8_t> grey);

private:
    // Columns and rows [left, right) x [top, bottom).
    struct Box {
        int left = 0, top = 0, right = 0, bottom = 0;
    };
    static constexpr std::uint32_t kNoScreen = 0xFFFFFFFF;

    void lookUpScreen();
    void makeNoise();
    Box takeOver(const ScreenPicture& picture);
    Box seenOf(const Box& changed) const;
    void light(const Box& pixels);
    void addSpot(PicturePoint middle, double width, std::span<std::uint8_t> grey) const;

    const PictureSize size_;
    const int screenWidth_;
    const int screenHeight_;
    const Optics optics_;
    RoomLight light_;
    int side_ = 1;                       // how many of the screen's pixels a pixel covers, each way
    std::vector<std::uint32_t> corners_; // for each pixel, the first of those; kNoScreen beside the screen
    std::vector<std::uint32_t> colours_; // of the screen's pixels
    std::vector<std::uint8_t> screen_;   // their light
    std::vector<std::uint8_t> still_;    // the picture without pen, lamp and noise
    std::vector<std::uint8_t> noise_;    // longer than a picture, so that it can begin anywhere
    std::uint32_t random_;
};

} // namespace lightpen
