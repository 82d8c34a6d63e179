// SPDX-License-Identifier: MIT
// The two-point check view: where the camera sees light, shown in the middle of the screen.
#include "device/EventGeneratorNX7.h"

#include <cmath>

#include "device/CheckViewRequests.h"
#include "device/FloatPanel.h"
#include "device/SharedState.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr Microseconds kReleasePause = std::chrono::milliseconds(10);
constexpr int kViewShown = 2; // of checkViewState

int truncated(double value) {
    return static_cast<int>(std::trunc(value));
}

void placeCheckView() {
    const auto screen = Platform::current().desktop.mainScreenFrame();
    const Size size = screen ? screen->size : Size();
    sharedState.checkViewLeft = truncated(size.width * 0.25);
    sharedState.checkViewBottom = truncated(size.height / 3);
    sharedState.checkViewWidth = truncated(size.width * 0.5);
    sharedState.checkViewHeight = truncated(size.height * 0.5);
    sharedState.checkViewRect = {{double(sharedState.checkViewLeft), double(sharedState.checkViewBottom)},
                                 {double(sharedState.checkViewWidth), double(sharedState.checkViewHeight)}};
}

} // namespace

void EventGeneratorNX7::Nx9windowChTwoPoint() {
    placeCheckView();
    sharedState.checkViewPanel = newFloatPanel(sharedState.checkViewRect);
    sharedState.checkViewRequests = std::make_shared<CheckViewRequests>();
    Nx9View();
}

// Once the view is in it, the panel only needs drawing.
void EventGeneratorNX7::Nx9View() {
    if (FloatPanel* panel = sharedState.checkViewPanel.get()) {
        if (panel->contentView()) {
            panel->contentView()->update();
        } else {
            panel->setContentView(std::make_unique<PanelView>(sharedState.checkViewRect));
            panel->setIgnoresMouseEvents(false);
            panel->makeKeyAndOrderFront();
        }
    }
    sharedState.checkViewState = kViewShown;
    sharedState.strayLightViewShown = 1;
}

void EventGeneratorNX7::askForCheckView(CameraPoint point) {
    const auto requests = sharedState.checkViewRequests.load();
    if (!requests || !requests->ask(point))
        return;
    auto showView = [this, requests] {
        if (sharedState.checkViewRequests.load() != requests)
            return; // its panel is gone; the view's flags would come back without it
        requests->arrived();
        Nx9View();
    };
    Platform::current().runLoop.performOnMainThread({this, "Nx9View", {}, std::move(showView)});
}

int EventGeneratorNX7::Nx9windowrelease() {
    sharedState.strayLightViewShown = 0;
    _stopThread = true;
    sharedState.checkViewRequests = nullptr;
    if (sharedState.checkViewPanel)
        sharedState.checkViewPanel->orderOut();
    sharedState.checkViewPanel = nullptr;
    Platform::current().clock.sleep(kReleasePause);
    return 0;
}

} // namespace lightpen
