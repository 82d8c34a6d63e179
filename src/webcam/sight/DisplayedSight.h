// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "webcam/sight/GreyView.h"
#include "webcam/sight/Spot.h"

namespace lightpen::webcam {

// What the displayed picture shows, as a camera in a room sees it.
struct DisplayedLights {
    // The compact bright places, from top to bottom; a target's disc is one. Those of the room are left out
    // as far as they are known.
    std::vector<Spot> blobs;
    // Whether the rest is dark, but for what a room may have: a window, lamps. A desktop is bright.
    bool dark = false;
};

// Looks for a displayed target in pictures that are exposed for the room, one after the other. Not for
// several threads at once.
class DisplayedSight {
public:
    // Forgets which lights are the room's. To be called when the search begins and when the exposure changes;
    // the pictures from then on, in which a desktop may still be seen, tell the lamps from the target.
    void forget();
    // A blob is told of once two pictures in a row show it at the same place, so that a half-drawn picture
    // shows none. A picture that is not whole shows nothing, and is not dark.
    DisplayedLights look(const GreyView& picture);

private:
    void learnRoom(const std::vector<Spot>& blobs);

    std::vector<Spot> before_; // the blobs of the last picture, the room's included
    std::vector<Spot> room_;
};

} // namespace lightpen::webcam
