// SPDX-License-Identifier: MIT
// Programs that scripts/measure looks at from outside while nothing happens: the driver with an emulated unit
// attached and no pen, at once or after lessons, and the least program with an icon in the panel. They say
// "ready" when they have come to rest, and go on until they are ended.
#include <sys/prctl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

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
    "       lightpen-idle tray                       the least program with an icon there\n"
    "       lightpen-idle driver FOLDER [LESSONS]    the driver with a unit, after so many lessons\n";

// After this the unit has said its last idle report, and whatever start-up has left to do is done.
constexpr Microseconds kSettling = seconds(5);
constexpr Microseconds kLongPress = milliseconds(2500);
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

int runTray() {
    QPixmap pixmap(22, 22);
    pixmap.fill(Qt::darkGreen);
    QMenu menu;
    menu.addAction(QStringLiteral("Exit"), [] { QApplication::quit(); });
    QSystemTrayIcon icon{QIcon(pixmap)};
    icon.setContextMenu(&menu);
    icon.show();
    QTimer::singleShot(std::chrono::duration_cast<milliseconds>(kSettling), sayReady);
    return QApplication::exec();
}

// The driver, its unit, and a class that uses them.
class School {
public:
    explicit School(const std::filesystem::path& folder)
        : folder_(folder), desktop_(folder / "idle.log", settingsIn(folder)) {
        // The thread of the unit stands for hardware: whoever looks from outside is to know it.
        prctl(PR_SET_NAME, "emulated unit");
        bus_.runInRealTime();
        prctl(PR_SET_NAME, "lightpen-idle");
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
        require(eyes != nullptr, problem.c_str());
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
    if (argc == 2 && asked("tray"))
        return runTray();
    if ((argc == 3 || argc == 4) && asked("driver"))
        return runDriver(argv[2], argc == 4 ? std::atoi(argv[3]) : 0);
    std::fputs(kUsage, stderr);
    return 2;
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runMeasureProgram(argc, argv, [&] { return lightpen::idleMain(argc, argv); });
}
