// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "emulated/ScreenWatch.h"
#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/UnitPriority.h"
#include "linux_desktop/process/SystemClock.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"
#include "unit/CameraUnit.h"
#include "wayland/support/Compositor.h"
#include "wayland/support/Keyboard.h"
#include "wayland/support/Mouse.h"
#include "wayland/support/PressWatch.h"

namespace lightpen {

// A desktop of this name, with a panel that shows status items, a keyboard and a mouse.
struct GuestDesktop {
    explicit GuestDesktop(const std::string& desktop);

    std::string name;
    GuestUser user;
    Keyboard keyboard;
    Mouse mouse;
    std::unique_ptr<Compositor> compositor;
    std::unique_ptr<FakeStatusNotifierWatcher> panel;
};

// The user's driver on a desktop with this layout, a unit whose camera sees the picture, and a program on
// every output. Main thread.
class DesktopPen : public testing::Test {
protected:
    // The desktop outlives the test.
    DesktopPen(GuestDesktop& desktop, Layout layout);
    // Shows the driver's log where the test has failed.
    ~DesktopPen() override;

    // A setting of the user's, by its name in the file, for the driver that is started later.
    void set(const std::string& setting, const std::string& value) { settings_[setting] = value; }
    // Sets the layout, covers it, starts the driver, and plugs a unit in that holds a calibration of this
    // camera, and has another one if so wished. Returns when the pen presses something.
    void sitDown(const Optics& calibrated, const Optics& camera);
    // The program covers the outputs of the layout anew.
    void cover();
    // The outputs are set anew, and the camera sees the picture so; the driver goes on.
    void change(const Layout& layout, const Optics& camera);
    // Starts a calibration from the status item's menu, and waits until it has the screen.
    void chooseCalibration();
    // Touches the targets where a calibration's window has them.
    void touchTargets();
    // Waits for the end of a calibration; whether it came.
    bool sessionEnds(std::chrono::seconds patience = std::chrono::seconds(90));
    // Clicks the item of the status item's menu.
    void clickMenu(const std::string& item);
    // Clicks the mouse at this point of the picture's output. For a layout without scales.
    void clickMouse(ScreenPoint place);
    // Lets the unit's camera look at the pixels of the picture's output, until the test's end.
    void openCamera();
    // Taps at twelve places, up to the edges, prints a line of how they arrived, and expects them to have
    // arrived on the picture's output, within two points. The words say what was done before.
    void expectTapsToArrive(const std::string& before = {});

    // In points of the picture's output.
    Size picture() const;
    DriverProcess& driver() { return *driver_; }
    CameraUnit& unit() { return *unit_; }
    GuestDesktop& desktop() { return desktop_; }

private:
    // What became of a series of taps.
    struct Landing {
        std::vector<double> distances; // of the presses on the picture's output
        int missed = 0;                // taps that pressed nothing
        int elsewhere = 0;             // presses on another output
    };
    void startDriver();
    // Taps until the program that covers the outputs has heard of one.
    void knock();
    void tap(ScreenPoint place);
    void touchTarget(ScreenPoint place);
    Landing tapEverywhere();
    bool landed(const PressWatch::Press& press, ScreenPoint place, std::optional<ScreenPoint> before,
                Landing& landing);
    const Output& aimed() const;

    GuestDesktop& desktop_;
    Layout layout_;
    std::map<std::string, std::string> settings_{{"Language", "en"}};
    SystemClock clock_;
    std::optional<UnitPriority> priority_{std::in_place};
    GadgetBus bus_{clock_}; // the kernel has room for one unit of four interfaces at a time
    CameraUnit* unit_ = &bus_.add<CameraUnit>();
    std::optional<PressWatch> watch_;
    std::unique_ptr<DriverProcess> driver_;
    std::optional<ScreenWatch> sight_;
};

} // namespace lightpen
