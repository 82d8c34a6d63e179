// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Time.h"
#include "webcam/sight/LensModel.h"

namespace lightpen::webcam {

// What a picture shows of a displayed one: its size in pixels, its compact bright places, and whether all the
// rest is dark.
struct SeenLights {
    int width = 0;
    int height = 0;
    std::vector<PicturePoint> blobs = {};
    bool dark = false;
};

// Which dots are to be shown one after the other on a black window, and where the camera has seen them. It
// has no clock: times are what its caller says, and do not go back. A value; not for several threads at once.
class DotPass {
public:
    static constexpr std::size_t kDots = 13;
    // A dot that is not seen for so long is left out, and a window that is not seen to be dark ends it.
    static constexpr Microseconds kPatience{2'500'000};
    static constexpr Microseconds kDarkPatience{4'000'000};
    // So many dots may be left out: behind a lamp, or beyond the camera's view. So many are too many at the
    // beginning: then the camera sees none.
    static constexpr std::size_t kMostMissed = 3;
    static constexpr std::size_t kBlind = 2;

    enum class State { goesOn, done, blind };

    // On a window of this size, with dots of this width, both in points; it begins now.
    DotPass(Size window, double dotWidth, Microseconds now);

    Size window() const { return window_; }
    // The middle of the dot that is to be shown now; none while all is to be dark.
    std::optional<ScreenPoint> shown() const;
    // The next picture, which has come by now. A dot is where several pictures in a row have seen one light
    // that was not there before it was shown.
    void see(const SeenLights& lights, Microseconds now);
    // No picture has come up to now.
    void wait(Microseconds now);
    State state() const { return state_; }
    // What was seen, in pictures of this size.
    std::span<const SeenDot> dots() const { return dots_; }
    int width() const { return last_.width; }
    int height() const { return last_.height; }

private:
    bool isKnown(PicturePoint place) const;
    std::optional<PicturePoint> newLight() const;
    void seeDark();
    void seeDot();
    void goOn(Microseconds now);

    Size window_;
    std::vector<ScreenPoint> places_;
    std::optional<std::size_t> step_; // of the places; none before the first
    State state_ = State::goesOn;
    Microseconds since_; // when this step began
    SeenLights last_;
    int darkInARow_ = 0;
    std::vector<PicturePoint> known_; // lights that are none of the dot that is shown
    std::vector<PicturePoint> seen_;  // the dot, in pictures in a row
    std::vector<SeenDot> dots_;
};

} // namespace lightpen::webcam
