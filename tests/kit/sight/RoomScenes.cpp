// SPDX-License-Identifier: MIT
#include "kit/sight/RoomScenes.h"

#include <algorithm>
#include <cmath>

namespace lightpen::webcam {

namespace {

using Random = std::mt19937;

int between(int least, int most, Random& random) {
    return std::uniform_int_distribution<int>(least, most)(random);
}

class NoSignal : public RoomScene {
public:
    void draw(DrawnPicture& picture, Random& random) override { picture.snow(random); }
};

class MuchNoise : public RoomScene {
public:
    void draw(DrawnPicture& picture, Random& random) override { picture.noise(40, random); }
};

class LostSignal : public RoomScene {
public:
    void draw(DrawnPicture& picture, Random& random) override {
        const int phase = ++number_ % 60;
        if (phase < 30)
            picture.noise(2, random);
        else if (phase < 50)
            picture.snow(random);
        else
            picture.rectangle(0, 0, picture.width(), picture.height(), phase < 55 ? 0 : 255);
    }

private:
    int number_ = 0;
};

class WhitePixels : public RoomScene {
public:
    void draw(DrawnPicture& picture, Random& random) override {
        picture.salt(between(300, 100'000, random), random).noise(3, random);
    }
};

// A title, lines of text and a picture, in levels that a projector has in a camera.
class Slides : public RoomScene {
public:
    void draw(DrawnPicture& picture, Random& random) override {
        const int phase = number_++ % kPictures;
        if (phase == 0) {
            before_ = seed_;
            seed_ = static_cast<unsigned>(random());
            change_ = between(0, 3, random);
        }
        const int steps = 12;
        if (phase >= steps || change_ == 0) {
            slide(picture, seed_, phase);
        } else if (change_ == 1) { // a fade
            blend(picture, phase, steps);
        } else { // a wipe, from the side or from above
            slide(picture, before_, kPictures);
            DrawnPicture next(picture.width(), picture.height());
            slide(next, seed_, 0);
            const int columns = change_ == 2 ? picture.width() * phase / steps : picture.width();
            const int rows = change_ == 2 ? picture.height() : picture.height() * phase / steps;
            picture.cover(next, columns, rows, 1);
        }
        picture.noise(2, random);
    }

private:
    static constexpr int kPictures = 60;

    // The lines appear one after the other.
    static void slide(DrawnPicture& picture, unsigned seed, int phase) {
        Random random(seed);
        const int width = picture.width();
        const int height = picture.height();
        const bool light = random() % 2 == 0;
        const int ground = light ? between(110, 180, random) : between(15, 50, random);
        const int ink = light ? between(20, 50, random) : between(150, 180, random);
        const int left = width / 8;
        const int top = height / 8;
        picture.rectangle(left, top, width * 3 / 4, height * 3 / 4, ground);
        text(picture, {left + 12, top + 8, between(10, width / 24, random), 6}, ink, random);
        const int lines = between(2, 6, random);
        for (int i = 0; i < lines && i * 8 < phase + 8; ++i) {
            const int y = top + 26 + i * 14;
            picture.disc(left + 10, y + 2, 2, ink);
            text(picture, {left + 16, y, between(4, width / 16, random), 4}, ink, random);
        }
        if (random() % 2 == 0)
            picture.disc(width * 0.7, height * 0.6, between(3, height / 6, random), between(60, 180, random));
    }
    struct Line {
        int x, y, letters, size;
    };
    static void text(DrawnPicture& picture, const Line& line, int ink, Random& random) {
        for (int i = 0; i < line.letters; ++i) {
            const int x = line.x + i * (line.size / 2 + 2);
            if (random() % 6 != 0)
                picture.rectangle(x, line.y + static_cast<int>(random() % 2), line.size / 2 + 1,
                                  line.size - static_cast<int>(random() % 2), ink);
        }
    }
    void blend(DrawnPicture& picture, int phase, int steps) const {
        slide(picture, before_, kPictures);
        DrawnPicture next(picture.width(), picture.height());
        slide(next, seed_, 0);
        picture.cover(next, picture.width(), picture.height(), static_cast<double>(phase) / steps);
    }

    int number_ = 0;
    unsigned before_ = 1;
    unsigned seed_ = 1;
    int change_ = 0;
};

// Things of all sizes that move and flicker before a ground that changes, with cuts.
class Video : public RoomScene {
public:
    void draw(DrawnPicture& picture, Random& random) override {
        if (number_++ % 45 == 0)
            cut(picture, random);
        const int left = picture.width() / 6;
        const int top = picture.height() / 6;
        picture.rectangle(left, top, picture.width() * 2 / 3, picture.height() * 2 / 3,
                          ground_ + between(-6, 6, random));
        for (Thing& thing : things_) {
            thing.x += thing.stepX;
            thing.y += thing.stepY;
            const int level = std::clamp(thing.level + between(-25, 25, random), 0, 200);
            if (thing.round)
                picture.disc(thing.x, thing.y, thing.size, level);
            else
                picture.rectangle(static_cast<int>(thing.x), static_cast<int>(thing.y),
                                  static_cast<int>(thing.size * 2), static_cast<int>(thing.size), level);
        }
        picture.noise(3, random);
    }

private:
    struct Thing {
        double x, y, stepX, stepY, size;
        int level;
        bool round;
    };
    void cut(const DrawnPicture& picture, Random& random) {
        ground_ = between(20, 150, random);
        things_.clear();
        const int count = between(3, 25, random);
        for (int i = 0; i < count; ++i)
            things_.push_back({picture.width() * between(20, 80, random) / 100.0,
                               picture.height() * between(20, 80, random) / 100.0,
                               between(-40, 40, random) / 10.0, between(-20, 20, random) / 10.0,
                               between(10, 300, random) / 10.0, between(20, 200, random), random() % 2 == 0});
    }

    int number_ = 0;
    int ground_ = 0;
    std::vector<Thing> things_;
};

class Lamp : public RoomScene {
public:
    void draw(DrawnPicture& picture, Random& random) override {
        if (number_++ % 200 == 0) {
            on_ = !on_;
            x_ = between(0, picture.width(), random);
            y_ = between(0, picture.height(), random);
            radius_ = picture.width() * between(25, 60, random) / 1000.0;
        }
        if (on_) {
            const int level = between(225, 255, random); // the mains' flicker
            picture.spot(x_, y_, 3 * radius_, 60).disc(x_, y_, radius_, level);
        }
        picture.noise(2, random);
    }

private:
    int number_ = 0;
    bool on_ = true;
    double x_ = 0, y_ = 0, radius_ = 0;
};

// White, with a glow around it, and the lit hand.
class Phone : public RoomScene {
public:
    void draw(DrawnPicture& picture, Random& random) override {
        if (number_++ % 90 == 0) {
            x_ = between(0, picture.width(), random);
            y_ = between(0, picture.height(), random);
            stepX_ = between(-60, 60, random) / 10.0;
            stepY_ = between(-30, 30, random) / 10.0;
            radius_ = picture.width() * between(20, 35, random) / 1000.0;
        }
        x_ += stepX_;
        y_ += stepY_;
        picture.disc(x_ + 2 * radius_, y_ + 3 * radius_, 4 * radius_, 60);
        picture.spot(x_, y_, 2 * radius_, 120).disc(x_, y_, radius_, 255).noise(2, random);
    }

private:
    int number_ = 0;
    double x_ = 0, y_ = 0, stepX_ = 0, stepY_ = 0, radius_ = 0;
};

} // namespace

std::vector<NamedScene> roomScenes() {
    std::vector<NamedScene> scenes;
    scenes.push_back({"no signal", std::make_unique<NoSignal>()});
    scenes.push_back({"much noise", std::make_unique<MuchNoise>()});
    scenes.push_back({"a lost signal", std::make_unique<LostSignal>()});
    scenes.push_back({"white pixels", std::make_unique<WhitePixels>()});
    scenes.push_back({"slides", std::make_unique<Slides>()});
    scenes.push_back({"a video", std::make_unique<Video>()});
    scenes.push_back({"a lamp", std::make_unique<Lamp>()});
    scenes.push_back({"a phone", std::make_unique<Phone>()});
    return scenes;
}

} // namespace lightpen::webcam
