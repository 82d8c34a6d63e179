// SPDX-License-Identifier: MIT
#include "linux_desktop/LinuxPlatform.h"

#include <atomic>
#include <cstdlib>
#include <utility>
#include <variant>

#include <QSocketNotifier>

#include "linux_desktop/hid/UdevRegistry.h"

namespace lightpen {

namespace {

// Whom exit() has to do with.
std::atomic<LinuxPlatform*> living{nullptr};

PointerChoice chosenPointer(PointerChoice asked, const UserDefaults& defaults) {
    if (asked != PointerChoice::automatic)
        return asked;
    const auto value = defaults.objectForKey(LinuxPlatform::kPointerKey);
    const auto* name = value ? std::get_if<std::string>(&*value) : nullptr;
    return name ? pointerChoiceNamed(*name) : PointerChoice::automatic;
}

LinuxPointer openPointer(PointerChoice choice, const SharedGeometry& geometry) {
    return LinuxPointer(choice, pointerWays(choice, geometry));
}

} // namespace

// The units of the machine, for as long as the loop runs.
class LinuxPlatform::MachineUnits {
public:
    MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock)
        : udev_(registry, runLoop, clock) {
        if (!udev_.start())
            return;
        notifier_ = std::make_unique<QSocketNotifier>(udev_.eventDescriptor(), QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                         [this] { udev_.readEvents(); });
    }

private:
    UdevRegistry udev_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

LinuxPlatform::LinuxPlatform(LinuxPlatformSettings settings)
    : log_(settings.log), runLoop_(clock_, [this] { releaseButtonsAndFlushLog(); }), signals_(runLoop_),
      defaults_(std::move(settings.settingsFile)),
      dataFiles_(std::move(settings.userFiles), std::move(settings.shippedFiles)),
      desktop_(defaults_, geometry_),
      pointer_(openPointer(chosenPointer(settings.pointer, defaults_), geometry_)),
      registry_(runLoop_, clock_), distributedNotifications_(runLoop_),
      bundle_(std::move(settings.applicationFolder), [this] { return locales_.preferredLanguages(); }),
      loginItems_(std::move(settings.loginFolder)),
      platform_{
          registry_, pointer_,  runLoop_,  clock_,  threads_,   notifications_, distributedNotifications_,
          desktop_,  defaults_, systemUI_, sounds_, dataFiles_, shell_} {
    registry_.publish({"IOHIDSystem", "IOService:/IOResources/IOHIDSystem", {}, {}});
    if (settings.units == Units::ofTheMachine)
        machineUnits_ = std::make_unique<MachineUnits>(registry_, runLoop_, clock_);
    static const bool registered = on_exit(atExit, nullptr) == 0;
    if (!registered)
        logLine("Platform: exit() will not write the log out");
    living.store(this);
}

LinuxPlatform::~LinuxPlatform() {
    releaseButtonsAndFlushLog();
    living.store(nullptr);
}

void LinuxPlatform::releaseButtonsAndFlushLog() {
    if (living.load() == this) // else it is not complete, and nothing has been pressed
        pointer_.releaseButtons();
    log_.flush();
}

// Qt calls exit() when the display goes away, and so may any library. Destructors would then run under the
// threads.
void LinuxPlatform::atExit(int status, void*) {
    if (LinuxPlatform* platform = living.load())
        platform->runLoop_.exitProcess(status);
}

} // namespace lightpen
