// SPDX-License-Identifier: MIT
#include "linux_desktop/LinuxPlatform.h"

#include <atomic>
#include <cstdlib>
#include <utility>

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include "linux_desktop/files/XdgDataFiles.h"
#include "linux_desktop/files/XdgDefaults.h"
#include "linux_desktop/hid/MachineUnits.h"
#include "linux_desktop/panel/ShellParts.h"
#include "linux_desktop/pointer/LatePointer.h"
#include "linux_desktop/process/DBusNotifications.h"
#include "linux_desktop/process/LinuxSounds.h"
#include "linux_desktop/process/ProcessParts.h"
#include "linux_desktop/process/UserSession.h"
#include "linux_desktop/screen/LinuxSystemUI.h"
#include "linux_desktop/screen/ScreenCover.h"

namespace lightpen {

namespace {

// One of the user's, as the environment names it.
std::string folderOf(QStandardPaths::StandardLocation kind) {
    return QStandardPaths::writableLocation(kind).toStdString();
}

// What $XDG_CONFIG_DIRS names stands behind the user's own folder.
std::vector<std::string> autostartFoldersOfTheSystem() {
    std::vector<std::string> folders;
    for (const QString& folder :
         QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation).sliced(1))
        folders.push_back(folder.toStdString() + "/autostart");
    return folders;
}

// $XDG_STATE_HOME, for which Qt has a name from 6.7 on; one that is not absolute counts as unset.
std::string stateFolder() {
    const QByteArray folder = qgetenv("XDG_STATE_HOME");
    return (folder.startsWith('/') ? folder : QFile::encodeName(QDir::homePath()) + "/.local/state")
        .toStdString();
}

ProgramLog::Settings chosenLog(ProgramLog::Settings asked, const UserDefaults& defaults) {
    if (asked.choice == LogChoice::automatic)
        asked.choice = logChoiceNamed(textForKey(defaults, kLogKey)).value_or(LogChoice::automatic);
    return asked;
}

} // namespace

class LinuxPlatform::Parts {
public:
    explicit Parts(LinuxPlatformSettings settings);
    ~Parts();
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    void releaseButtonsAndFlushLog();
    void followSession();
    void followUnits();
    void followScreens();
    static void atExit(int status, void* unused);

    EarlyLines early;
    XdgDefaults defaults;
    ProcessParts process;
    XdgDataFiles dataFiles;
    SharedGeometry geometry;
    QtDesktop desktop;
    LinuxPointer pointer;
    LatePointer latePointer{pointer};
    ServiceRegistry registry{process.runLoop, process.clock};
    UserSession session{process.runLoop};
    std::unique_ptr<MachineUnits> machineUnits;
    NotificationCenter notifications;
    DBusNotifications distributedNotifications{process.runLoop};
    ScreenCover cover{session, notifications};
    LinuxSystemUI systemUI{&cover};
    LinuxSounds sounds;
    UnitAccess unitAccess;
    ShellParts shell;
    Platform platform{registry,
                      pointer,
                      process.runLoop,
                      process.clock,
                      process.threads,
                      notifications,
                      distributedNotifications,
                      desktop,
                      defaults,
                      systemUI,
                      sounds,
                      dataFiles,
                      shell.shell};
    // Whom exit() has to do with.
    static std::atomic<Parts*> living;
};

std::atomic<LinuxPlatform::Parts*> LinuxPlatform::Parts::living{nullptr};

LinuxPlatform::Parts::Parts(LinuxPlatformSettings settings)
    : defaults(std::move(settings.settingsFile)),
      process(early, chosenLog(settings.log, defaults), [this] { releaseButtonsAndFlushLog(); }),
      dataFiles(std::move(settings.userFiles), std::move(settings.shippedFiles)),
      desktop(defaults, geometry, std::move(settings.screen)),
      pointer(pointerWays(chosenPointer(settings.pointer, defaults)), geometry),
      shell(notifications, unitAccess, std::move(settings.applicationFolder),
            std::move(settings.startedProgram), std::move(settings.loginFolder),
            std::move(settings.systemLoginFolders)) {
    registry.publish({"IOHIDSystem", "IOService:/IOResources/IOHIDSystem", {}, {}});
    if (settings.units == Units::ofTheMachine)
        machineUnits = std::make_unique<MachineUnits>(registry, process.runLoop, process.clock,
                                                      session.hasTheSeat(), settings.furtherUnits);
    if (machineUnits)
        machineUnits->setObserver([this] { followUnits(); });
    followUnits();
    session.setObserver([this] { followSession(); });
    followScreens();
    static const bool registered = on_exit(atExit, nullptr) == 0;
    if (!registered)
        logLine("Platform: exit() will not write the log out");
    living.store(this);
}

LinuxPlatform::Parts::~Parts() {
    releaseButtonsAndFlushLog();
    living.store(nullptr);
}

void LinuxPlatform::Parts::releaseButtonsAndFlushLog() {
    if (living.load() == this) // else it is not complete, and nothing has been pressed
        pointer.releaseButtons();
    process.log.flush();
}

// The unit and the pointer belong to whoever sits at the machine.
void LinuxPlatform::Parts::followSession() {
    if (machineUnits)
        machineUnits->allow(session.hasTheSeat());
    if (session.hasTheSeat())
        latePointer.tryAgain();
    else
        pointer.releaseButtons();
    cover.update();
    followUnits();
}

void LinuxPlatform::Parts::followUnits() {
    UnitAccess now{session.hasTheSeat(), machineUnits ? machineUnits->permissionCommand() : ""};
    if (now == unitAccess)
        return;
    unitAccess = std::move(now);
    notifications.post({std::string(kUnitAccessDidChange)});
}

// A stroke ends where it was, before its next place is one in another picture; what follows until the pen is
// lifted only moves the pointer.
void LinuxPlatform::Parts::followScreens() {
    desktop.beforeMainScreenChanges = [this] { pointer.releaseButtons(); };
    desktop.afterChange = [this] { notifications.post({std::string(kScreensDidChange)}); };
    notifications.addObserver(this, kMainScreenWasChosen, nullptr,
                              [this](const Notification&) { desktop.update(); });
}

// Qt calls exit() when the display goes away, and so may any library. Destructors would then run under the
// threads.
void LinuxPlatform::Parts::atExit(int status, void*) {
    if (Parts* parts = living.load())
        parts->process.runLoop.exitProcess(status);
}

LinuxPlatformSettings::LinuxPlatformSettings(const std::string& program)
    : settingsFile(folderOf(QStandardPaths::GenericConfigLocation) + "/" + program + "/settings.ini"),
      userFiles(folderOf(QStandardPaths::GenericDataLocation) + "/" + program),
      shippedFiles(ApplicationBundle::resourcesOfTheProgram().string()),
      loginFolder(folderOf(QStandardPaths::GenericConfigLocation) + "/autostart"),
      systemLoginFolders(autostartFoldersOfTheSystem()),
      applicationFolder(ApplicationBundle::folderOfTheProgram()) {
    log.folder = stateFolder() + "/" + program;
}

LinuxPlatform::LinuxPlatform(LinuxPlatformSettings settings)
    : parts_(std::make_unique<Parts>(std::move(settings))) {}

LinuxPlatform::~LinuxPlatform() = default;

Platform& LinuxPlatform::platform() {
    return parts_->platform;
}

int LinuxPlatform::run() {
    return parts_->process.runLoop.run();
}

ServiceRegistry& LinuxPlatform::registry() {
    return parts_->registry;
}

QtDesktop& LinuxPlatform::desktop() {
    return parts_->desktop;
}

std::string LinuxPlatform::pointerInUse() const {
    return parts_->pointer.wayInUse();
}

ProgramLog& LinuxPlatform::log() {
    return parts_->process.log;
}

} // namespace lightpen
