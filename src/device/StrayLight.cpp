// SPDX-License-Identifier: MIT
// Stray light: the test whether the camera sees light that is not the pen's, and the check view that shows
// where, in the middle of the screen.
#include "device/EventGeneratorNX7.h"

#include "device/CheckViewRequests.h"
#include "device/Exchange.h"
#include "device/FloatPanel.h"
#include "device/SharedState.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;

constexpr int kPolls = 50;
constexpr Microseconds kPollPeriod = milliseconds(1);
constexpr int kLooks = 10; // for a reply at each poll

constexpr Microseconds kReleasePause = milliseconds(10);
constexpr int kViewShown = 2; // of checkViewState
// Where the check view draws a spot that is not there.
constexpr CameraPoint kNoCheckViewPoint{-100, -100};

void placeCheckView() {
    const auto screen = Platform::current().desktop.mainScreenFrame();
    const WindowRect rect = checkPanelRect(screen ? screen->size : Size());
    sharedState.checkViewLeft = static_cast<int>(rect.origin.x);
    sharedState.checkViewBottom = static_cast<int>(rect.origin.y);
    sharedState.checkViewWidth = static_cast<int>(rect.size.width);
    sharedState.checkViewHeight = static_cast<int>(rect.size.height);
    sharedState.checkViewRect = rect;
}

} // namespace

// The light test

std::uint8_t EventGeneratorNX7::getLightDetecting(ReportBuffer& buffer) {
    const auto logFailure = [](unsigned code) {
        logLine("Event n:1013 error when get calibration points from flash, %x", code);
    };
    auto reply = ReplyQueue{_calibrationQueue, logFailure, kLooks}.next();
    if (!reply)
        return 0;
    buffer = std::move(reply->longValue);
    for (unsigned i = 0; i < 2; ++i)
        printText("Event n:1022 event.longValue %d : 0x%x :0x%x\n", static_cast<int>(i), buffer[i],
                  buffer[0]);
    return buffer[0];
}

int EventGeneratorNX7::StrayLightDetecting() {
    openCalibrationQueue();
    if (sendFlashCommand(kLightTestCommand, 0) != kIOReturnSuccess)
        logLine("Event n:1034");
    int sightings = 0;
    for (int poll = 0; poll < kPolls; ++poll) {
        Platform::current().clock.sleep(kPollPeriod);
        ReportBuffer reply;
        if (getLightDetecting(reply) == kStrayLightReply)
            ++sightings;
    }
    return sightings;
}

void EventGeneratorNX7::reportStrayLight() {
    sharedState.strayLightFrameCount = 1;
    Nx9windowChTwoPoint();
    if (sharedState.noiseNotifyArmed <= 0)
        return;
    if (const auto delegate = deviceDelegate()) {
        delegate->noiseDetectedCallback(*this);
        delegate->tellOfRemoval(*this);
    }
}

// The check view

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

[[gnu::noinline]] void EventGeneratorNX7::showStrayLight(PointThreadState& thread) {
    thread.pollResult = nextPointEvent(thread);
    keyWindowIgnoresMouse(true);
    const int shownBefore = sharedState.strayLightFrameCount;
    sharedState.strayLightFrameCount = shownBefore + 1;
    if (shownBefore <= 0)
        return;
    const CameraPoint point = pointFromHIDEvent(thread.event);
    logLine("Event n:1811 mappedPoint: (%.2f,%.2f) MouesState:%d vtMouseStop:%d ,result:%d", point.x, point.y,
            sharedState.mouseArmed.load(), sharedState.disarmedPollCount.load(), thread.pollResult);
    const CameraPoint shown = thread.pollResult == kIOReturnSuccess ? point : kNoCheckViewPoint;
    sharedState.checkViewPoint = shown;
    askForCheckView(shown);
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

bool EventGeneratorNX7::seesStrayLight() {
    return sharedState.checkViewState == kViewShown;
}

void EventGeneratorNX7::screenWasCovered() {
    if (seesStrayLight())
        Nx9windowrelease();
}

void EventGeneratorNX7::screenWasUncovered() {
    if (seesStrayLight())
        startPointQueue();
}

void EventGeneratorNX7::screensDidChange() {
    if (const ScreenPoint anchor = _AnchorPointForLongPress; anchor != ScreenPoint{})
        performOnMain("wrapper2", NSStringFromPoint(anchor), &EventGeneratorNX7::wrapper2);
    if (!sharedState.checkViewPanel)
        return;
    sharedState.checkViewPanel->orderOut();
    Nx9windowChTwoPoint();
}

} // namespace lightpen
