// SPDX-License-Identifier: MIT
#include "webcam/sight/DisplayedSight.h"

#include <cmath>

#include <gmock/gmock.h>

#include "kit/sight/DrawnPicture.h"

namespace lightpen::webcam {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

// A room with a screen in it, which shows a black picture or a desktop.
class DisplayedSightTest : public testing::Test {
protected:
    DrawnPicture room(int screen = 30) {
        DrawnPicture picture(640, 480, 60);
        picture.rectangle(100, 80, 440, 320, screen);
        return picture;
    }
    DrawnPicture target(double x, double y, double radius = 5) { return room().disc(x, y, radius, 210); }
    DisplayedLights show(DrawnPicture picture) { return sight_.look(picture.noise(3, random_).view()); }
    DisplayedLights showTwice(const DrawnPicture& picture) {
        show(picture);
        return show(picture);
    }

    DisplayedSight sight_;
    std::mt19937 random_{6};
};

MATCHER_P2(Beside, x, y, "") {
    return std::hypot(arg.x - x, arg.y - y) < 0.1;
}

TEST_F(DisplayedSightTest, FindsTheTargetInTheDark) {
    for (const double radius : {2.5, 5.0, 12.0, 20.0}) {
        const auto lights = showTwice(target(200.3, 150.7, radius));
        EXPECT_TRUE(lights.dark);
        ASSERT_THAT(lights.blobs, SizeIs(1)) << radius;
        EXPECT_THAT(lights.blobs.front(), Beside(200.3, 150.7)) << radius;
    }
}

TEST_F(DisplayedSightTest, ATargetSeenFromTheSideIsOne) {
    DrawnPicture picture = room();
    for (int i = -40; i <= 40; ++i) // an ellipse
        picture.disc(300 + i * 0.1, 200, 4, 210);
    const auto lights = showTwice(picture);
    ASSERT_THAT(lights.blobs, SizeIs(1));
    EXPECT_THAT(lights.blobs.front(), Beside(300, 200));
}

TEST_F(DisplayedSightTest, ABlobIsToldOfWhenTwoPicturesHaveIt) {
    EXPECT_THAT(show(target(200, 150)).blobs, IsEmpty());
    EXPECT_THAT(show(target(200, 150)).blobs, SizeIs(1));
    EXPECT_THAT(show(target(300, 150)).blobs, IsEmpty());
    EXPECT_THAT(show(target(300, 150)).blobs, SizeIs(1));
}

TEST_F(DisplayedSightTest, ADesktopIsNotDark) {
    for (const int level : {120, 180, 255}) {
        const auto lights = showTwice(room(level));
        EXPECT_FALSE(lights.dark) << level;
        EXPECT_THAT(lights.blobs, IsEmpty()) << level;
    }
    EXPECT_FALSE(showTwice(DrawnPicture(640, 480, 200)).dark);
}

TEST_F(DisplayedSightTest, AnEmptyDarkScreenShowsNothing) {
    const auto lights = showTwice(room());
    EXPECT_TRUE(lights.dark);
    EXPECT_THAT(lights.blobs, IsEmpty());
}

TEST_F(DisplayedSightTest, AWindowOfTheRoomIsNoPartOfThePicture) {
    const auto lights = showTwice(target(200.3, 150.7).rectangle(560, 20, 80, 200, 255));
    EXPECT_TRUE(lights.dark);
    ASSERT_THAT(lights.blobs, SizeIs(1));
    EXPECT_THAT(lights.blobs.front(), Beside(200.3, 150.7));
}

TEST_F(DisplayedSightTest, LampsThatStayWhenTheScreenBecomesDarkAreTheRooms) {
    const auto lamps = [](DrawnPicture picture) {
        return picture.disc(50, 40, 6, 250).disc(600, 440, 9, 255);
    };
    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(show(lamps(room(180))).dark);
    const auto lights = showTwice(lamps(target(200.3, 150.7)));
    EXPECT_TRUE(lights.dark);
    ASSERT_THAT(lights.blobs, SizeIs(1));
    EXPECT_THAT(lights.blobs.front(), Beside(200.3, 150.7));
    sight_.forget();
    EXPECT_THAT(showTwice(lamps(target(200.3, 150.7))).blobs, SizeIs(3));
}

TEST_F(DisplayedSightTest, NoPictureIsNotDark) {
    const auto lights = sight_.look({});
    EXPECT_FALSE(lights.dark);
    EXPECT_THAT(lights.blobs, IsEmpty());
}

TEST_F(DisplayedSightTest, AnySizeIsLookedAt) {
    for (const int width : {1, 16, 33, 1921})
        for (const int height : {1, 15, 17, 64})
            EXPECT_TRUE(sight_.look(DrawnPicture(width, height, 20, 3).view()).dark)
                << width << " " << height;
}

} // namespace
} // namespace lightpen::webcam
