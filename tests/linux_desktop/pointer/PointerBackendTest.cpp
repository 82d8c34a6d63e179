// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/PointerBackend.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace lightpen {
namespace {

using testing::ElementsAre;

class RecordingBackend final : public PointerBackend {
public:
    using PointerBackend::PointerBackend;

    std::vector<std::string> take() { return std::exchange(sent_, {}); }
    IOReturn result = kIOReturnSuccess;

private:
    IOReturn send(std::optional<Place> place, Button button, bool press) override {
        std::string text =
            place ? std::to_string(place->pixel.x) + "," + std::to_string(place->pixel.y) : "here";
        if (button != Button::none)
            text +=
                std::string(press ? " press" : " release") + (button == Button::left ? " left" : " right");
        sent_.push_back(text);
        return result;
    }
    std::vector<std::string> sent_;
};

class PointerBackendTest : public testing::Test {
protected:
    SharedGeometry geometry{PointerGeometry({100, 50}, 1, {0, 0, 1000, 700})};
    RecordingBackend backend{geometry};
};

TEST_F(PointerBackendTest, TurnsEachEventIntoAMoveAndAButton) {
    backend.post(kLeftMouseDown, {1, 2});
    backend.post(kLeftMouseDragged, {3, 4});
    backend.post(kLeftMouseUp, {5, 6});
    backend.post(kRightMouseDown, {7, 8});
    backend.post(kRightMouseUp, {9, 10});
    EXPECT_THAT(backend.take(), ElementsAre("101,52 press left", "103,54", "105,56 release left",
                                            "107,58 press right", "109,60 release right"));
}

TEST_F(PointerBackendTest, DropsReleasesOfButtonsThatAreNotDownWithTheirMoves) {
    EXPECT_EQ(backend.post(kLeftMouseUp, {1, 2}), kIOReturnSuccess);
    backend.post(kLeftMouseDown, {3, 4});
    backend.post(kRightMouseUp, {5, 6});
    backend.post(kLeftMouseUp, {7, 8});
    backend.post(kLeftMouseUp, {9, 10});
    EXPECT_THAT(backend.take(), ElementsAre("103,54 press left", "107,58 release left"));
}

TEST_F(PointerBackendTest, FollowsTheGeometry) {
    backend.post(kLeftMouseDragged, {10, 20});
    geometry.store(PointerGeometry({0, 0}, 2, {0, 0, 1000, 700}));
    backend.post(kLeftMouseDragged, {10, 20});
    EXPECT_THAT(backend.take(), ElementsAre("110,70", "20,40"));
}

TEST_F(PointerBackendTest, ReleasesWhatIsDownOnceAndWhereThePointerStands) {
    backend.post(kLeftMouseDown, {1, 2});
    backend.post(kRightMouseDown, {1, 2});
    backend.take();
    backend.releaseButtons();
    EXPECT_THAT(backend.take(), ElementsAre("here release left", "here release right"));
    backend.releaseButtons();
    EXPECT_THAT(backend.take(), ElementsAre());
}

TEST_F(PointerBackendTest, WithoutADesktopOnlyLetsGo) {
    backend.post(kLeftMouseDown, {1, 2});
    backend.take();
    geometry.store(PointerGeometry());
    EXPECT_EQ(backend.post(kLeftMouseDragged, {3, 4}), kIOReturnNoDevice);
    EXPECT_EQ(backend.post(kLeftMouseUp, {3, 4}), kIOReturnSuccess);
    EXPECT_THAT(backend.take(), ElementsAre("here release left"));
}

TEST_F(PointerBackendTest, HandsTheDevicesErrorOn) {
    backend.result = kIOReturnNoDevice;
    EXPECT_EQ(backend.post(kLeftMouseDown, {1, 2}), kIOReturnNoDevice);
}

TEST_F(PointerBackendTest, StillOwesAReleaseThatDidNotGetThrough) {
    backend.post(kRightMouseDown, {1, 2});
    backend.take();
    backend.result = kIOReturnError;
    EXPECT_EQ(backend.post(kRightMouseUp, {3, 4}), kIOReturnError);
    backend.result = kIOReturnSuccess;
    backend.releaseButtons();
    EXPECT_THAT(backend.take(), ElementsAre("103,54 release right", "here release right"));
}

} // namespace
} // namespace lightpen
