// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace lightpen {

// A pair of doubles in one coordinate space. The spaces are distinct types, so that a camera point cannot be
// taken for a screen point by accident.
template <class Space>
struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

// Raw camera coordinates, 0..2560 by 0..1920, y grows downwards.
struct CameraSpace;
// Screen coordinates in points, origin at the main screen's top-left corner, y grows downwards.
struct ScreenSpace;
// Window coordinates in points, origin at the bottom-left corner, y grows upwards.
struct WindowSpace;

using CameraPoint = Point<CameraSpace>;
using ScreenPoint = Point<ScreenSpace>;
using WindowPoint = Point<WindowSpace>;

// A width and a height; in points where nothing else is said.
struct Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

// The origin is the corner where both coordinates are least: upper left on a screen, lower left in a window.
template <class Space>
struct Rect {
    Point<Space> origin;
    Size size;
    friend bool operator==(const Rect&, const Rect&) = default;
};

using ScreenRect = Rect<ScreenSpace>;
using WindowRect = Rect<WindowSpace>;

// A point's string form on the stack, for the log lines of the pen's own path; see NSStringFromPoint.
class PointText {
public:
    // Formats at once and allocates nothing.
    PointText(double x, double y);
    template <class Space>
    explicit PointText(const Point<Space>& point) : PointText(point.x, point.y) {}
    const char* c_str() const { return text_; } // as long as this lives

private:
    // Two shortest decimals of at most 24 characters, "{", ", ", "}" and the final zero.
    char text_[56];
};

// Reads "{x, y}" back; anything else yields false and leaves x and y alone.
bool pairFromString(std::string_view text, double& x, double& y);

// "{x, y}", each coordinate as the shortest decimal that reads back to the same double.
template <class Space>
std::string NSStringFromPoint(const Point<Space>& point) {
    return PointText(point).c_str();
}

// The point whose string form is given; (0, 0) for a text that is not the string form of a point.
template <class AnyPoint>
AnyPoint NSPointFromString(std::string_view text) {
    AnyPoint point;
    pairFromString(text, point.x, point.y);
    return point;
}

// "{{x, y}, {width, height}}".
template <class Space>
std::string NSStringFromRect(const Rect<Space>& rect) {
    return "{" + NSStringFromPoint(rect.origin) + ", " +
           PointText(rect.size.width, rect.size.height).c_str() + "}";
}

} // namespace lightpen
