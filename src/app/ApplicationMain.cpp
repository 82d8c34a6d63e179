// SPDX-License-Identifier: MIT
#include "app/ApplicationMain.h"

#include <memory>

#include <QGuiApplication>

#include "app/LightPenNX7Controller.h"
#include "app/ResourceImages.h"
#include "platform/Platform.h"

namespace lightpen {

void applicationMain(const std::function<int()>& mainLoop, const ApplicationSurroundings& surroundings) {
    LightPenNX7Controller::initialize(surroundings.facts.camera.has_value());
    // Under Wayland a window's picture is that of its desktop entry, elsewhere its own.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.lightpen.LightPenNX7"));
    QGuiApplication::setWindowIcon(resourceIcon("Picture 1"));
    const auto controller = std::make_shared<LightPenNX7Controller>();
    controller->setProgramFacts(surroundings.facts);
    // Before the start, which a unit that does not answer holds up without end.
    if (surroundings.requests)
        surroundings.requests->setHandler([weak = std::weak_ptr(controller)](const std::string& action) {
            const auto asked = weak.lock();
            return asked && asked->performAction(action);
        });
    controller->awakeFromNib();
    if (!surroundings.action.empty())
        controller->performAction(surroundings.action);
    const int status = mainLoop();
    controller->programEnds();
    // Without destructors: the driver's threads may still run.
    Platform::current().runLoop.exitProcess(status);
}

} // namespace lightpen
