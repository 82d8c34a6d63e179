// SPDX-License-Identifier: MIT
#include "app/ApplicationMain.h"

#include <memory>

#include "app/LightPenNX7Controller.h"
#include "platform/Platform.h"

namespace lightpen {

void applicationMain(const std::function<int()>& mainLoop) {
    LightPenNX7Controller::initialize();
    const auto controller = std::make_shared<LightPenNX7Controller>();
    controller->awakeFromNib();
    // Without destructors: the driver's threads may still run.
    Platform::current().runLoop.exitProcess(mainLoop());
}

} // namespace lightpen
