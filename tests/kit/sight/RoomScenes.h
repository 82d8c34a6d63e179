// SPDX-License-Identifier: MIT
// What a camera in front of a screen sees while no pen touches it, picture by picture.
#pragma once

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kit/sight/DrawnPicture.h"

namespace lightpen::webcam {

class RoomScene {
public:
    virtual ~RoomScene() = default;
    // The next picture, drawn over a dark one.
    virtual void draw(DrawnPicture& picture, std::mt19937& random) = 0;
};

// A name and the scene, which begins anew.
struct NamedScene {
    std::string name;
    std::unique_ptr<RoomScene> scene;
};

// A camera without a signal; one with much noise; one that loses its signal now and then; single white
// pixels; slides that are cut, faded and wiped, and whose lines appear one by one; a video over a part of the
// picture; a lamp that is switched on and off; a phone's light in a hand that moves.
std::vector<NamedScene> roomScenes();

} // namespace lightpen::webcam
