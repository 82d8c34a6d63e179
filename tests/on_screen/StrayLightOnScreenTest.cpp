// SPDX-License-Identifier: MIT
// Stray light in the room when a unit is plugged in: the real driver shows on an X server's screen where it
// is, until the light is off and the check is closed.
//
// With LIGHTPEN_STRAY_LIGHT set to the name of a file, a picture of the screen is written there.
#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include <QApplication>
#include <QImage>
#include <QString>

#include "app/PreviewWindow.h"
#include "kit/linux/PointerObserver.h"
#include "kit/linux/WindowManager.h"
#include "kit/linux/XNeighbour.h"
#include "on_screen/DriverStage.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::uint32_t kBlack = 0x000000, kWall = 0x3A6EA5, kPaper = 0xE8E4DA;
// The middle of a screen of 1920 x 1080, in pixels from its upper left corner; right and bottom are outside.
constexpr int kLeft = 480, kTop = 180, kRight = 1440, kBottom = 720;
constexpr int kMarker = 10; // its side

struct Pixel {
    int x, y;
};

const std::vector<Pixel> kInside{
    {kLeft, kTop}, {kRight - 1, kTop}, {kLeft, kBottom - 1}, {kRight - 1, kBottom - 1}};
const std::vector<Pixel> kBeside{{kLeft - 1, kTop}, {kRight, kTop}, {kLeft, kTop - 1}, {kRight - 1, kBottom}};

// The pixels of the panel that are not black: the least rectangle around them.
struct Lit {
    int left = kRight, top = kBottom, right = kLeft, bottom = kTop;
    bool none() const { return left >= right; }
};

// One screen, with other programs' windows on it; with and without a window manager.
class StrayLightOnScreenTest : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        ASSERT_TRUE(eyes);
        if (GetParam())
            manager = std::make_unique<WindowManager>(server());
        wall = neighbour.openWindow({0, 0, 1920, 1080, kWall});
        ASSERT_TRUE(shows({{5, 1060}, {1900, 1060}, {960, 450}}, kWall));
        DriverStage::calibrate(unit);
    }
    void TearDown() override {
        unit.strayLight(std::nullopt);
        EXPECT_TRUE(stage->unplug(unit));
        EXPECT_TRUE(shows(kInside, kWall));
    }
    static std::string server() { return std::getenv("DISPLAY"); }

    static bool comes(const std::function<bool()>& condition) {
        return waitUntil(stage->platform(), condition, seconds(20));
    }
    testing::AssertionResult shows(const std::vector<Pixel>& places, std::uint32_t colour) {
        for (const Pixel& at : places)
            if (!comes([&] { return colourAt(at) == colour; }))
                return testing::AssertionFailure()
                       << at.x << ", " << at.y << " is " << std::hex << colourAt(at);
        return testing::AssertionSuccess();
    }
    std::uint32_t colourAt(Pixel at) {
        return neighbour.pixelAt(static_cast<std::int16_t>(at.x), static_cast<std::int16_t>(at.y));
    }
    Lit lit() {
        Lit lit;
        const auto picture = eyes->look();
        for (int y = kTop; picture && y < kBottom; ++y)
            for (int x = kLeft; x < kRight; ++x) {
                std::uint32_t pixel = 0;
                std::memcpy(&pixel,
                            &picture->bytes[static_cast<std::size_t>(y) * picture->stride +
                                            static_cast<std::size_t>(x) * sizeof pixel],
                            sizeof pixel);
                if ((pixel & 0xFFFFFF) == kBlack)
                    continue;
                lit = {std::min(lit.left, x), std::min(lit.top, y), std::max(lit.right, x + 1),
                       std::max(lit.bottom, y + 1)};
            }
        return lit;
    }
    // Nothing is lit but a marker that stands with its lower left corner here.
    testing::AssertionResult marks(Pixel place) {
        Lit now;
        const auto there = [&] {
            now = lit();
            return !now.none() && std::abs(now.left - place.x) <= 2 && std::abs(now.bottom - place.y) <= 2 &&
                   std::abs(now.right - now.left - kMarker) <= 1 &&
                   std::abs(now.bottom - now.top - kMarker) <= 1;
        };
        if (comes(there))
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << now.left << ", " << now.top << " to " << now.right << ", " << now.bottom;
    }
    // The application's warning, which stands beside the panel.
    static testing::AssertionResult warningIsMovedAside() {
        bool shown = false;
        for (QWidget* window : QApplication::topLevelWidgets())
            if (auto* warning = dynamic_cast<PreviewWindow*>(window)) {
                shown = shown || warning->isVisible();
                warning->orderOut();
            }
        return shown ? testing::AssertionSuccess() : testing::AssertionFailure() << "there was no warning";
    }
    void savePicture() {
        const char* file = std::getenv("LIGHTPEN_STRAY_LIGHT");
        const auto picture = file ? eyes->look() : std::nullopt;
        if (!picture)
            return;
        const QImage screen(picture->bytes.data(), picture->width, picture->height,
                            static_cast<qsizetype>(picture->stride), QImage::Format_RGB32);
        EXPECT_TRUE(screen.save(QString::fromUtf8(file), "PNG"));
    }
    // A press and a release of the button where the pen was, as other programs see them. Where the machine is
    // held up, a touch may be more than one press.
    void tap(ScreenPoint place) {
        neighbour.takeClicks();
        ASSERT_NO_FATAL_FAILURE(stage->tap(unit, *eyes, place));
        int presses = 0;
        EXPECT_TRUE(comes([&] { return (presses += neighbour.takeClicks()) > 0; }));
        EXPECT_TRUE(comes([&] { return !pointer.state().left; }));
    }

    CameraUnit& unit = stage->bus.add<CameraUnit>({}, Optics::strongKeystone(DriverStage::kScreen));
    std::unique_ptr<ScreenCapture> eyes = stage->look();
    XNeighbour neighbour{server()};
    PointerObserver pointer{server()};
    std::unique_ptr<WindowManager> manager;
    xcb_window_t wall = 0;
};

TEST_P(StrayLightOnScreenTest, IsShownUntilItIsOffAndThePenIsBack) {
    unit.strayLight(CameraPoint{353, 215});
    unit.plug();
    ASSERT_TRUE(shows(kInside, kBlack));
    EXPECT_FALSE(stage->controller->deviceConnected());
    EXPECT_TRUE(warningIsMovedAside());
    EXPECT_TRUE(shows(kInside, kBlack));
    EXPECT_TRUE(shows(kBeside, kWall));
    // A quarter of the panel for a quarter of the 1410 x 860 that it shows.
    EXPECT_TRUE(marks({kLeft + 240, kTop + 135}));
    unit.strayLight(CameraPoint{1058, 645});
    EXPECT_TRUE(marks({kLeft + 720, kTop + 405}));

    // Whatever comes is below it.
    const auto window = neighbour.openWindow({300, 100, 700, 500, kPaper});
    EXPECT_TRUE(shows({{470, 300}}, kPaper));
    neighbour.raise(window);
    const auto free = neighbour.openFreePanel({900, 400, 1000, 600, kPaper});
    EXPECT_TRUE(shows({{kRight, 500}}, kPaper));
    EXPECT_TRUE(shows(kInside, kBlack));
    EXPECT_TRUE(marks({kLeft + 720, kTop + 405}));
    savePicture();
    neighbour.close(free);
    neighbour.close(window);

    unit.strayLight(std::nullopt);
    EXPECT_TRUE(comes([&] { return lit().none(); }));
    EXPECT_TRUE(shows(kInside, kBlack)) << "the panel stays until somebody closes the check";
    EXPECT_TRUE(EventGeneratorNX7::isUnitOpen());

    stage->controller->showPreviewWindow(false);
    EXPECT_TRUE(shows(kInside, kWall));
    EXPECT_TRUE(stage->controller->deviceConnected());
    EXPECT_TRUE(stage->arm(unit));
    tap({1310, 290});
    tap({420, 770});
}

// Who closes the check with the light still on gets the next one.
TEST_P(StrayLightOnScreenTest, IsShownAgainAsLongAsItIsOn) {
    unit.strayLight(CameraPoint{900, 120});
    unit.plug();
    ASSERT_TRUE(shows(kInside, kBlack));
    stage->controller->showPreviewWindow(false);
    ASSERT_TRUE(shows(kInside, kBlack));
    EXPECT_FALSE(stage->controller->deviceConnected());
    EXPECT_TRUE(warningIsMovedAside());
    EXPECT_TRUE(shows(kInside, kBlack));
    EXPECT_TRUE(marks({kLeft + 613, kTop + 75}));
}

INSTANTIATE_TEST_SUITE_P(On, StrayLightOnScreenTest, testing::Values(false, true),
                         [](const auto& tested) { return tested.param ? "Managed" : "Unmanaged"; });

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    lightpen::runTestsOnDriverStage(argc, argv);
}
