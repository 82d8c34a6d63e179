// SPDX-License-Identifier: MIT
// The two-point check view and the pairing key window. Neither is there yet: nothing is shown.
#include "device/EventGeneratorNX7.h"

#include "device/PairingKeyWindow.h"
#include "device/SharedState.h"
#include "platform/Platform.h"

namespace lightpen {

std::shared_ptr<PairingKeyWindow> newPairingKeyWindow() {
    return nullptr;
}

void EventGeneratorNX7::Nx9windowChTwoPoint() {}

void EventGeneratorNX7::Nx9View() {}

int EventGeneratorNX7::Nx9windowrelease() {
    sharedState.strayLightViewShown = 0;
    _stopThread = true;
    Platform::current().clock.sleep(std::chrono::milliseconds(10));
    return 0;
}

} // namespace lightpen
