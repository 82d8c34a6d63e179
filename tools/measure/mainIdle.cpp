// SPDX-License-Identifier: MIT
// Programs that scripts/measure looks at from outside while nothing happens: the driver with an emulated unit
// attached and no pen, at once or after lessons, and the least program with an icon in the panel. They say
// "ready" when they have come to rest, and go on until they are ended.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <QLabel>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>

#include "device/EventGeneratorNX7.h"
#include "emulated/UnitControl.h"
#include "measure/DriverDesktop.h"
#include "measure/MeasureProgram.h"
#include "measure/PlayedSession.h"
#include "measure/UnitInUse.h"
#include "measure/Waiting.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* kUsage =
    "usage: lightpen-idle panel                      a panel, on the session bus\n"
    "       lightpen-idle tray [shown]               the least program with an icon there; it may have "
    "shown\n"
    "                                                a window before it comes to rest\n"
    "       lightpen-idle driver FOLDER [LESSONS]    the driver with a unit, after so many lessons\n";

// After this the unit has said its last idle report, and whatever start-up has left to do is done: what waits
// for a panel, or may forget what it knew of a login, takes half a minute.
constexpr Microseconds kSettling = seconds(40);
constexpr Microseconds kLongPress = milliseconds(2500);
constexpr std::chrono::seconds kShown{2};
constexpr Microseconds kPatience = seconds(20);

void sayReady() {
    std::puts("ready");
    std::fflush(stdout);
}

int runPanel() {
    FakeStatusNotifierWatcher panel(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS").toStdString());
    panel.appear();
    sayReady();
    return QApplication::exec();
}

int runTray(bool shown) {
    QPixmap pixmap(22, 22);
    pixmap.fill(Qt::darkGreen);
    QMenu menu;
    menu.addAction(QStringLiteral("Exit"), [] { QApplication::quit(); });
    QSystemTrayIcon icon{QIcon(pixmap)};
    icon.setContextMenu(&menu);
    icon.show();
    if (shown) {
        auto* const window = new QLabel(QStringLiteral("Touch the targets"));
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->showFullScreen();
        QTimer::singleShot(kShown, window, &QWidget::close);
    }
    QTimer::singleShot(std::chrono::duration_cast<milliseconds>(kSettling), sayReady);
    return QApplication::exec();
}

// The driver, its unit, and a class that uses them.
class School {
public:
    explicit School(const std::filesystem::path& folder)
        : folder_(folder), desktop_(folder / "idle.log", settingsIn(folder)) {
        bus_.runInRealTime();
        controller_->awakeFromNib();
        storeCalibration(unit_, screen_);
        plugIn();
    }

    // A calibration by hand, writing, a tap, a long press, and the unit pulled out and put back.
    void lesson() {
        calibrate();
        play(Hand()
                 .write("NX7", {0.2 * screen_.width, 0.3 * screen_.height}, 0.2 * screen_.height)
                 .tap({0.5 * screen_.width, 0.7 * screen_.height})
                 .hold({0.3 * screen_.width, 0.6 * screen_.height}, kLongPress));
        unit_.unplug();
        require(waitUntilRemoved(platform_, *controller_),
                "The driver did not notice that the unit was gone.");
        plugIn();
    }

    int rest() {
        platform_.runLoop.runFor(kSettling);
        sayReady();
        const int status = desktop_.real.run();
        platform_.runLoop.exitProcess(status);
        return status;
    }

private:
    void plugIn() {
        require(takeIntoUse(platform_, *controller_, unit_, {screen_.width / 2, screen_.height / 2}),
                "The driver did not take the unit into use.");
    }
    void calibrate() {
        std::string problem;
        const auto eyes = ScreenCapture::create(nullptr, problem);
        require(eyes != nullptr, problem);
        PlayedSession session(platform_, unit_, *eyes);
        requireNone(session.run(
            SessionKind::byHand, [this] { controller_->calibration("the lesson"); },
            (folder_ / "lesson.png").string()));
        const auto over = [] { return !EventGeneratorNX7::sharedEventGeneratorNX7()->delegate(); };
        require(waitUntil(platform_, over, kPatience), "The calibration did not end.");
    }
    void play(const Hand& hand) {
        unit_.play(hand);
        const auto over = [this] { return unit_.toPlay() == Microseconds::zero(); };
        require(waitUntil(platform_, over, hand.duration() + kPatience), "The hand did not come to rest.");
    }

    const std::filesystem::path folder_;
    DriverDesktop desktop_;
    Platform& platform_ = desktop_.platform;
    const Size screen_ = platform_.desktop.mainScreenFrame().value_or(ScreenRect{{}, {1280, 720}}).size;
    EmulatedBus bus_{desktop_.real.registry(), platform_.runLoop, platform_.clock};
    CameraUnit& unit_ = bus_.add<CameraUnit>({}, Optics::strongKeystone(screen_));
    const std::shared_ptr<LightPenNX7Controller> controller_ = std::make_shared<LightPenNX7Controller>();
};

int runDriver(const char* folder, int lessons) {
    School school(folderNamed(folder));
    for (int i = 0; i < lessons; ++i)
        school.lesson();
    return school.rest();
}

int idleMain(int argc, char** argv) {
    const auto asked = [&](const char* what) { return argc > 1 && std::strcmp(argv[1], what) == 0; };
    if (argc == 2 && asked("panel"))
        return runPanel();
    const bool shown = argc == 3 && std::strcmp(argv[2], "shown") == 0;
    if ((argc == 2 || shown) && asked("tray"))
        return runTray(shown);
    if ((argc == 3 || argc == 4) && asked("driver"))
        return runDriver(argv[2], argc == 4 ? static_cast<int>(std::strtol(argv[3], nullptr, 10)) : 0);
    std::fputs(kUsage, stderr);
    return 2;
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runMeasureProgram(argc, argv, [&] { return lightpen::idleMain(argc, argv); });
}
