// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QObject>

#include "linux_desktop/pointer/PointerGeometry.h"
#include "linux_desktop/screen/MonitorRotations.h"
#include "linux_desktop/screen/PrimaryOutput.h"
#include "platform/Defaults.h"
#include "platform/Desktop.h"
#include "platform/PlatformSettings.h"
#include "platform/Shared.h"

class QScreen;

namespace lightpen {

// The user's screens as Qt reports them. Made after the application object, on its thread; keeps the main
// screen's frame and the pointer's geometry up to date while the loop runs.
class QtDesktop final : public QObject, public Desktop {
public:
    // Both outlive the desktop. A name that is not empty goes before the user default "Main Screen". The
    // desktop's own primary output goes before Qt's primary screen.
    QtDesktop(const UserDefaults& defaults, SharedGeometry& geometry, std::string chosen = "",
              std::unique_ptr<PrimaryOutput> primary = std::make_unique<PrimaryOutput>());

    // Called on the main thread when something has changed: before the frame and the geometry of the main
    // screen do, if they do, and after everything has.
    std::function<void()> beforeMainScreenChanges;
    std::function<void()> afterChange;

    // The origin is (0, 0): screen points are counted from the main screen's corner.
    std::optional<ScreenRect> mainScreenFrame() const override { return frame_.load(); }
    std::vector<Screen> screens() const override;
    // The main screen, for windows that belong on it; null without any. Main thread.
    QScreen* mainScreen() const;
    // Looks again; needed only after the user default has changed. Main thread.
    void update();

private:
    void watch(QScreen& screen);
    int quarterTurnsOf(const QScreen& screen) const;
    std::string chosenName() const;
    void tellOfChosen();
    void tellOfGuess();
    void tellOfOnePointersOutput();

    const UserDefaults& defaults_;
    SharedGeometry& geometry_;
    const std::string chosen_;
    const std::unique_ptr<PrimaryOutput> primary_;
    MonitorRotations rotations_{[this] { update(); }};
    std::string missing_;      // the chosen screen's name while it is not there
    std::string guessedAmong_; // the screens' names while nobody says which is the primary one
    bool toldOfOneOutput_ = false;
    bool started_ = false;        // from now on a change of the main screen is told
    std::vector<Screen> screens_; // as everybody has been told
    SharedRecord<std::optional<ScreenRect>> frame_;
};

} // namespace lightpen
