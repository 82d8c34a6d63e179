// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/Time.h"
#include "webcam/sight/Backdrop.h"
#include "webcam/sight/CellGrid.h"
#include "webcam/sight/GreyView.h"
#include "webcam/sight/Spot.h"
#include "webcam/sight/SpotShape.h"

namespace lightpen::webcam {

// The grey levels by which a spot is brighter than what was there before it, for the unit's own scale of
// thresholds, of which 512 is the usual one. At least 8, which noise does not reach, and at most 128.
int levelOfThreshold(std::uint16_t threshold);

// Finds the pen's light in the pictures of a camera, one after the other. What is there without a pen is
// learnt, so that a lamp or a bright slide is none; and whatever is large, or comes with much else that is
// new, is none either: a slide that changes, a video, a hand with a phone's light, the noise of a camera
// without a signal. A pen that is found is followed in a small window; the whole picture is searched when it
// is not there any more. The slide behind its light is taken off, so that letters do not pull it aside.
//
// Not for several threads at once. It allocates only while it finds more than ever before.
class SpotFinder {
public:
    static constexpr int kUsualLevel = 32;
    // Without a picture for longer the pen is up.
    static constexpr Microseconds kPatience{40'000};
    // A spot that keeps quite still for so long is a lamp that somebody has switched on. A hand never does.
    static constexpr Microseconds kStill{20'000'000};

    // How much brighter than what was there before a spot has to be, 1 to 255 grey levels; others are brought
    // to the nearest of these.
    void setThreshold(int level);
    // Forgets the pen and all that was learnt, as after a change of the exposure. The next picture is taken
    // for what is there without a pen.
    void forget();

    // Forgets how bright the screen has shown things, which a pen has to be brighter than; what the next
    // picture shows counts. It is otherwise remembered for a minute or two, since a dark slide says nothing
    // about the next one; a film that has come on the lens would leave no pen bright enough meanwhile.
    void forgetShown() { shown_ = 0; }

    // The pen's spot in this picture. None when there is none, when it cannot be told from something else, or
    // when its brightest part lies at the picture's edge, since its middle is unknown then. The time is the
    // picture's own, of any clock that does not go back; a picture that is not whole counts as dark.
    std::optional<Spot> find(const GreyView& picture, Microseconds taken);

    // Whether the pen touches, as of the last picture: from its first spot on, and until two pictures in a
    // row have none, the spot jumps too far for a hand, or no picture comes for kPatience. So it is true in
    // the first dark picture, in which find has no spot.
    bool penDown() const { return tracked_.has_value(); }
    // The same as of now, where the next picture may be late; of the clock of the pictures' times.
    bool penDown(Microseconds now) const { return penDown() && now - taken_ <= kPatience; }

    // A place where a foreign light that stays leaves no room for the pen's, if there is such a place of some
    // size; the size is that of the whole place. It is what a test for foreign lights should tell.
    std::optional<Spot> blindPlace() const;

private:
    // Spots of one look at a part of the picture, and how bright the brightest thing is that is none.
    struct Sighting {
        std::vector<Spot> spots;
        double other = 0;
    };
    struct Track {
        Spot spot;
        double stepX = 0; // since the picture before, pixels
        double stepY = 0;
        int dark = 0; // pictures since it was seen last
    };
    // Where a spot has been since it has kept still.
    struct Rest {
        Microseconds since{};
        double left = 0, right = 0, top = 0, bottom = 0;
    };

    using Cell = CellGrid::Cell;

    void begin(const GreyView& picture);
    void settle(const GreyView& picture);
    SpotLimits limitsOf(bool followed) const;
    // Where the pen may be
    std::optional<Spot> follow(const GreyView& picture);
    std::optional<Spot> search(const GreyView& picture);
    std::optional<Spot> standsOut() const;
    bool outshines(const Spot& spot) const;
    // What becomes of it
    std::optional<Spot> begins(const std::optional<Spot>& spot);
    std::optional<Spot> accept(const Spot& spot);
    std::optional<Spot> lose(const std::optional<Spot>& elsewhere);
    bool keptStill(const Spot& spot);
    // The cells
    void findHot(const CellGrid::Area& area, int level);
    void lookAtHot(const GreyView& picture, const CellGrid::Area& area, const SpotLimits& limits);
    std::optional<Spot> spotOf(const GreyView& picture, const Cell& cell, const SpotLimits& limits);
    bool mayBeTracked(const Cell& cell, int level) const;
    bool isTop(const Cell& cell, const CellGrid::Area& area) const;
    void learn(const CellGrid::Area& area, int level, bool refused);
    void noteShown();
    void learnLamp(const Spot& spot);
    std::vector<Cell> blindGroup(const Cell& first, std::vector<bool>& taken) const;

    int level_ = kUsualLevel;
    int width_ = 0;
    int height_ = 0;
    Microseconds taken_{};
    int settling_ = 0; // pictures that are still taken for what is there without a pen
    CellGrid cells_;
    Backdrop backdrop_;
    std::vector<Cell> hot_; // those that are brighter than they were
    Sighting sighting_;
    std::optional<Track> tracked_;
    std::optional<Spot> pending_; // seen once, to be seen again
    Rest rest_;
    double shown_ = 0; // grey levels: how bright the screen has shown things
    int unrest_ = 0;   // pictures for which a spot has to be seen twice
};

} // namespace lightpen::webcam
