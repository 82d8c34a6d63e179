// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <QTemporaryDir>

#include "measure/CanvasProcess.h"
#include "measure/desktop/ApplicationProcess.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"
#include "measure/desktop/MenuOverDBus.h"
#include "platform/RunLoop.h"

namespace lightpen {

// Shows the application itself, as a user's desktop has it: started in an empty home, its menu read and
// clicked over the message bus, a unit plugged in and calibrated from the menu by a hand that looks for the
// targets on the screen, strokes drawn with it on a canvas that tells what it saw, the language changed, and
// Exit. Says on standard output what happens. Main thread.
class ApplicationShow {
public:
    // The application with a unit in software, and the canvas. There must be no other panel on the bus.
    // Throws when the bus cannot be had. The run loop outlives this object.
    ApplicationShow(std::string program, std::string canvasProgram, RunLoop& runLoop,
                    std::filesystem::path output);

    // Runs all of it. Throws std::runtime_error with what went wrong.
    void run();

private:
    // In this order; each throws.
    void begin();
    void plug();
    void calibrate();
    void draw();
    void drawStrokes(CanvasProcess& canvas);
    void changeLanguage();
    void exit();

    // Waits until the menu has that many entries; separators count.
    bool menuHas(std::size_t entries);
    bool unitIsReady();
    void printMenu();

    const std::string canvasProgram_;
    RunLoop& runLoop_;
    const std::filesystem::path output_;
    const QTemporaryDir home_;
    FakeStatusNotifierWatcher panel_;
    ApplicationProcess application_;
    std::unique_ptr<MenuOverDBus> menu_;
};

} // namespace lightpen
