// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <QImage>
#include <QTemporaryDir>

#include "emulated/ScreenCapture.h"
#include "measure/desktop/ApplicationProcess.h"
#include "measure/desktop/XTrayPanel.h"
#include "measure/desktop/XWindows.h"

namespace lightpen {

// Takes the pictures of the application's menu and windows that its documents show, from the program itself
// on the X server of the environment, which nobody else uses. Main thread.
class ApplicationPictures {
public:
    // The program with a unit in software, and the folder that the pictures go to. Throws when there is no
    // such display, or a tray already.
    ApplicationPictures(std::string program, std::filesystem::path output);

    // Takes all of them. Throws std::runtime_error with what went wrong.
    void take();

private:
    void takeMenu(const std::string& language, const std::string& name);
    void takeWindows();
    void takePreview(const std::string& language, const std::string& name);
    void takeCalibration();
    void takeHome(const std::string& language, const std::string& name);
    // After a calibration by the emulated hand.
    void takePenTrial();
    void takeUnitView();
    void takeSettings();

    // Starts the program with a home of its own; the settings are lines of its settings file.
    void start(const std::vector<std::string>& options, const std::string& settings);
    void end();
    // Opens the menu from the icon; the first entry has the number 1.
    void openMenu();
    void choose(int entry);
    // Has the application show its window; the page counts from 0.
    void openHome(int page);
    // Without the unit's own window, which the camera would see too.
    void hideUnitWindow();
    // Has the pen write a word in the middle of that place of the screen.
    void write(const std::string& word, const QRect& place);
    // Goes on to the next widget, and presses it.
    void pressNext();
    // The windows that have come since the last call of forget().
    std::vector<ShownWindow> fresh();
    void forget() { known_ = windows_.shown(program_.processId()); }
    template <class Condition>
    bool comes(Condition condition);
    template <class Condition>
    void awaitThat(const char* problem, Condition condition);
    bool comesToRest();
    QImage screen();
    // The part of the screen in which these windows are, without their frames.
    QImage pictureOf(const std::vector<ShownWindow>& shown);
    void save(const QImage& picture, const std::string& name);

    const std::filesystem::path output_;
    XTrayPanel tray_;
    XWindows windows_;
    std::unique_ptr<ScreenCapture> eyes_;
    ApplicationProcess program_;
    std::unique_ptr<QTemporaryDir> home_;
    std::vector<ShownWindow> known_;
};

} // namespace lightpen
