// SPDX-License-Identifier: MIT
// A webcam that has never been used is calibrated, by itself and by touch, and then draws: with pictures of
// each size, at 30 and at 60 a second. Nothing is made up but the room before the camera.
#include <gmock/gmock.h>

#include <ostream>
#include <string>

#include "kernel/support/WebcamAtDesk.h"
#include "kernel/support/WebcamMain.h"

namespace lightpen {
namespace {

DeskWithPanel* session = nullptr;

constexpr const char* kLensFound = "Camera: the number of its lens is";

struct Scene {
    const char* name;
    CameraMode mode;
    SessionKind kind;
    double barrel = 0; // of the lens
};

void PrintTo(const Scene& scene, std::ostream* out) {
    *out << scene.name;
}

class WebcamCalibrationTest : public WebcamAtDesk, public testing::WithParamInterface<Scene> {
protected:
    WebcamCalibrationTest() : WebcamAtDesk(*session) {}
};

TEST_P(WebcamCalibrationTest, IsCalibratedAndDraws) {
    const Scene& scene = GetParam();
    ASSERT_NO_FATAL_FAILURE(
        enter(scene.mode, {}, scene.kind, Optics(Optics::strongKeystone(kScreen)).setBarrel(scene.barrel)));
    ASSERT_NO_FATAL_FAILURE(calibrate());
    if (scene.barrel > 0) {
        EXPECT_EQ(driver->count(kLensFound), 1U);
    }
    EXPECT_EQ(driver->count("Camera: it does not see the dots"), 0U);
    expectToDraw(GetParam().name, 16);
}

constexpr VideoFormat kGrey480{{640, 480}, PixelKind::grey};
constexpr VideoFormat kYuyv480{{640, 480}, PixelKind::yuyv};
constexpr VideoFormat kGrey720{{1280, 720}, PixelKind::grey};
constexpr VideoFormat kYuyv720{{1280, 720}, PixelKind::yuyv};
constexpr VideoFormat kGrey1080{{1920, 1080}, PixelKind::grey};

INSTANTIATE_TEST_SUITE_P(
    Scenes, WebcamCalibrationTest,
    testing::Values(Scene{"480 lines at 60, automatic", {kYuyv480, 60}, SessionKind::automatic},
                    Scene{"480 lines at 60, by touch", {kGrey480, 60}, SessionKind::byHand},
                    Scene{"480 lines, a lens with 3 % barrel", {kGrey480, 60}, SessionKind::automatic, 0.03},
                    Scene{"720 lines at 60, automatic", {kGrey720, 60}, SessionKind::automatic},
                    Scene{"720 lines at 30, automatic", {kYuyv720, 30}, SessionKind::automatic},
                    Scene{"720 lines at 60, by touch", {kYuyv720, 60}, SessionKind::byHand},
                    Scene{"1080 lines at 30, automatic", {kGrey1080, 30}, SessionKind::automatic}));

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::testAtDeskWithPanel(argc, argv, lightpen::session);
}
