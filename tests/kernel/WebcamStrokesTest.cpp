// SPDX-License-Identifier: MIT
// A hundred strokes before a webcam, and none without a pen, whatever its pictures do: they get lost, end,
// or show slides that change behind the pen. Nothing is made up but the room before the camera.
#include <gmock/gmock.h>

#include "kernel/room/SlideShow.h"
#include "kernel/support/PointerWatch.h"
#include "kernel/support/WebcamAtDesk.h"
#include "kernel/support/WebcamMain.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

DeskWithPanel* session = nullptr;

constexpr CameraMode kUsual{{{640, 480}, PixelKind::grey}, 60};

class WebcamStrokesTest : public WebcamAtDesk {
protected:
    WebcamStrokesTest() : WebcamAtDesk(*session) {}

    void begin(const RoomLight& light = {}) {
        ASSERT_NO_FATAL_FAILURE(enter(kUsual, light));
        ASSERT_NO_FATAL_FAILURE(calibrate());
    }
};

TEST_F(WebcamStrokesTest, AHundredStrokesAllArrive) {
    ASSERT_NO_FATAL_FAILURE(begin());
    expectToDraw("a hundred strokes", 100);
}

TEST_F(WebcamStrokesTest, ALampIsNoPen) {
    RoomLight light;
    light.lamp = CameraPoint{2420, 120};
    ASSERT_NO_FATAL_FAILURE(begin(light));
    rest(seconds(5));
    expectToDraw("a lamp beside the screen", 20);
}

TEST_F(WebcamStrokesTest, LostPicturesLoseNoStroke) {
    ASSERT_NO_FATAL_FAILURE(begin());
    room->setLoss(10);
    expectToDraw("one picture of ten is lost", 40);
}

TEST_F(WebcamStrokesTest, NoSignalIsNoPen) {
    ASSERT_NO_FATAL_FAILURE(begin());
    for (int i = 0; i < 3; ++i) {
        room->setSignal(false);
        rest(seconds(4));
        room->setSignal(true);
        rest(seconds(2));
    }
    expectToDraw("the signal went three times", 20);
}

TEST_F(WebcamStrokesTest, SlidesBehindThePenAreNoPen) {
    ASSERT_NO_FATAL_FAILURE(begin());
    RoomLight light = room->light();
    light.screen = 100; // no film, but a short exposure
    room->setLight(light);
    const SlideShow slides(server.display(), kScreen, milliseconds(1500));
    rest(seconds(10));
    expectToDraw("a slide show behind the pen, without a film", 40);
    EXPECT_GE(slides.slides(), 10U);
}

TEST_F(WebcamStrokesTest, ACameraThatIsPulledLiftsThePenAndComesBack) {
    ASSERT_NO_FATAL_FAILURE(begin());
    test::PointerWatch pointer;
    const std::size_t before = countOf(canvas.events(), CanvasEvent::Kind::release);
    const Microseconds touched = clock.now();
    perform(Hand().press({600, 300}).stay(seconds(60)));
    ASSERT_TRUE(becomes(1, touched));
    room->pull();
    EXPECT_TRUE(comesTrue([&] { return countOf(canvas.events(), CanvasEvent::Kind::release) > before; }))
        << "the pen is still down";
    EXPECT_FALSE(pointer.buttonDown());
    perform(Hand());
    plugCameraIn();
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    forget();
    expectToDraw("the camera was pulled and put back", 20);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::testAtDeskWithPanel(argc, argv, lightpen::session);
}
