// SPDX-License-Identifier: MIT
// The application with a camera unit in software: the same parts, on a bus in this process, and a window in
// which the mouse is the unit's pen.
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <QApplication>
#include <QScreen>

#include "app/LightPenNX7Controller.h"
#include "app/ProgramVersion.h"
#include "device/EventGeneratorNX7.h"
#include "emulated/CommandLines.h"
#include "emulated/EmulatedOptions.h"
#include "emulated/ScreenArea.h"
#include "emulated/ScreenWatch.h"
#include "emulated/TargetHand.h"
#include "emulated/UnitCommands.h"
#include "emulated/UnitWindow.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/ApplicationBus.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

constexpr const char* kProgram = "LightPenNX7-emulated";

// As large as the view ever needs it; the rest of the work is then cheap.
constexpr int kDisplayWidth = 960;

using SharedArea = SharedRecord<CaptureArea>;

std::unique_ptr<ScreenCapture> captureOf(const SharedArea& area) {
    std::string problem = "there is no X display";
    auto capture = QGuiApplication::platformName() == QLatin1String("xcb")
                       ? ScreenCapture::create(nullptr, problem, [&area] { return area.load(); })
                       : nullptr;
    if (!capture)
        logLine("Emulated unit: the screen cannot be looked at: %s", problem.c_str());
    return capture;
}

QImage imageOf(const ScreenPicture& picture) {
    const QImage pixels(picture.bytes.data(), picture.width, picture.height,
                        static_cast<qsizetype>(picture.stride), QImage::Format_RGB32);
    return pixels.width() > kDisplayWidth ? pixels.scaledToWidth(kDisplayWidth, Qt::SmoothTransformation)
                                          : pixels.copy();
}

// Pictures of the screen for the window. The window is on that screen too, so most changes are its own; they
// stop to be any when its picture of itself is as small as a pixel.
class DisplayPictures {
public:
    explicit DisplayPictures(std::unique_ptr<ScreenCapture> capture) : capture_(std::move(capture)) {}

    std::optional<QImage> news() {
        if (!capture_ || !capture_->changed())
            return std::nullopt;
        const auto picture = capture_->look();
        QImage image = picture ? imageOf(*picture) : QImage();
        if (image == last_)
            return std::nullopt;
        last_ = image;
        return image;
    }

private:
    const std::unique_ptr<ScreenCapture> capture_;
    QImage last_;
};

std::string yesOrNo(bool yes) {
    return yes ? "yes" : "no";
}

// Tells in words what the driver does at the moment, so that a script knows when the pen will be heard.
class DriverWatch {
public:
    // Unit and clock outlive this object, which lives as long as the unit may call back.
    DriverWatch(CameraUnit& unit, Clock& clock, std::shared_ptr<const LightPenNX7Controller> controller)
        : clock_(clock), controller_(std::move(controller)) {
        unit.onOutput([this](Microseconds time, auto) { lastCommand_.store(time); });
    }

    // The application's start has come to its end.
    void started() { started_ = true; }
    // Ready means that what the pen does now reaches the pointer. A unit does not report its pen for a while
    // after most commands, and the driver sends several commands in a row.
    std::string state() const {
        const bool connected = controller_->deviceConnected();
        const bool alone = clock_.now() - lastCommand_.load() > kRowIsOver;
        return "connected=" + yesOrNo(connected) +
               " ready=" + yesOrNo(started_ && connected && EventGeneratorNX7::hearsPen() && alone);
    }

private:
    static constexpr Microseconds kRowIsOver = std::chrono::milliseconds(600);

    Clock& clock_;
    const std::shared_ptr<const LightPenNX7Controller> controller_;
    std::atomic<Microseconds> lastCommand_{Microseconds::zero()};
    bool started_ = false;
};

void setUp(UnitControl& control, const EmulatedOptions& options) {
    if (!options.pose.empty())
        control.pose(options.pose);
    if (options.wireless)
        control.unit().information()->wireless = *options.wireless;
    if (options.calibrated)
        control.calibrate();
    if (options.strayLight)
        control.unit().strayLight(UnitControl::kLampBeside);
    if (options.plugged)
        control.unit().plug();
}

// Everything beside the application: the unit, its window and the commands.
class EmulatedDesk {
public:
    EmulatedDesk(LinuxPlatform& real, const EmulatedOptions& options,
                 const std::shared_ptr<const LightPenNX7Controller>& controller)
        : real_(real), platform_(real.platform()), bus_(real.registry(), platform_.runLoop, platform_.clock),
          control_(bus_.add<CameraUnit>(), platform_.clock, {1280, 800}),
          driver_(control_.unit(), platform_.clock, controller),
          hand_(control_, platform_.clock, captureOf(area_),
                [this] { return sessionByHandShown(control_.unit()); }),
          pictures_(captureOf(area_)),
          window_(control_, platform_.clock,
                  {[this] { return pictures_.news(); }, [this](bool on) { hand_.allow(on); },
                   [this] { return hand_.allowed(); },
                   [this] { platform_.runLoop.terminate(EXIT_SUCCESS); }}),
          commands_(control_, {[this](bool on) { hand_.allow(on); }, [this] { return driver_.state(); },
                               [this] { platform_.runLoop.terminate(EXIT_SUCCESS); }}) {
        followScreen();
        platform_.notifications.addObserver(this, kScreensDidChange, nullptr,
                                            [this](const Notification&) { followScreen(); });
        if (auto capture = captureOf(area_))
            watch_ = std::make_unique<ScreenWatch>(std::move(capture), control_.unit());
        hand_.allow(options.hand);
        setUp(control_, options);
        bus_.runInRealTime();
        window_.show();
        if (options.commands)
            listen();
    }

    ~EmulatedDesk() { platform_.notifications.removeObserver(this); }
    EmulatedDesk(const EmulatedDesk&) = delete;
    EmulatedDesk& operator=(const EmulatedDesk&) = delete;

    void started() { driver_.started(); }
    // Whether the camera sees what is on the screen.
    bool seesScreen() const { return watch_ != nullptr; }

private:
    // The camera looks at the wall, where the picture stays when its screen changes.
    void followScreen() {
        const QScreen* screen = real_.desktop().mainScreen();
        const auto frame = real_.desktop().mainScreenFrame();
        if (!screen || !frame)
            return;
        area_ = areaOf(*screen);
        control_.setScreen(frame->size);
    }

    void listen() {
        lines_ = std::make_unique<CommandLines>(
            STDIN_FILENO,
            CommandLines::Ends{[this](std::string_view line) { return commands_.perform(line); },
                               [](const std::string& answer) {
                                   std::puts(answer.c_str());
                                   std::fflush(stdout);
                               },
                               [this] { platform_.runLoop.terminate(EXIT_SUCCESS); }});
    }

    LinuxPlatform& real_;
    Platform& platform_;
    SharedArea area_; // of the main screen
    EmulatedBus bus_;
    UnitControl control_;
    DriverWatch driver_;
    TargetHand hand_;
    DisplayPictures pictures_;
    UnitWindow window_;
    UnitCommands commands_;
    std::unique_ptr<ScreenWatch> watch_;
    std::unique_ptr<CommandLines> lines_;
};

int emulatedMain(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    std::string problem;
    const auto options = emulatedOptions(arguments, problem);
    if (!options) {
        std::fprintf(stderr, "%s\n%s", problem.c_str(), kEmulatedUsage);
        return 2;
    }
    if (options->help || options->version) {
        const std::string version = std::string("LightPenNX7-emulated ") + kProgramVersion + '\n';
        std::fputs(options->help ? kEmulatedUsage : version.c_str(), stdout);
        return EXIT_SUCCESS;
    }
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    // To try it must change nothing of the real program: its settings, its pairing table, its login entry.
    LinuxPlatformSettings settings(kProgram);
    settings.units = Units::ofTheProgram;
    if (options->commands)
        settings.log.output = STDERR_FILENO; // standard output is for the answers
    settings.log.choice = options->log;
    settings.screen = options->screen;
    settings.loginFolder = settings.userFiles + "/autostart";
    settings.systemLoginFolders.clear();
    settings.pointer = options->xtest ? PointerChoice::xtest : PointerChoice::automatic;
    LinuxPlatform real(std::move(settings));
    Platform::setCurrent(&real.platform());
    LightPenNX7Controller::initialize();
    const auto controller = std::make_shared<LightPenNX7Controller>();
    EmulatedDesk desk(real, *options, controller);
    controller->setProgramFacts({.logFile = real.log().file(),
                                 .pointer = [&real] { return real.pointerInUse(); },
                                 .cameraSeesScreen = desk.seesScreen()});
    ApplicationBus requests(kProgram);
    requests.setHandler(
        [controller](const std::string& action) { return controller->performAction(action); });
    controller->awakeFromNib();
    desk.started();
    // Without destructors: the driver's threads may still run.
    const int status = real.run();
    controller->programEnds();
    real.platform().runLoop.exitProcess(status);
    return EXIT_FAILURE;
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::emulatedMain(argc, argv);
}
