// SPDX-License-Identifier: MIT
#include "measure/DriverDesktop.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <utility>

#include "app/DefaultsReading.h"

namespace lightpen {

namespace {

FileDescriptor emptyFile(const std::filesystem::path& name) {
    FileDescriptor file(::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644));
    if (!file)
        throw std::runtime_error(name.string() + " cannot be written: " + errorText(errno));
    return file;
}

LinuxPlatformSettings withLog(LinuxPlatformSettings settings, int log) {
    settings.log.diagnostics = log;
    settings.log.output = log;
    return settings;
}

Platform withEars(const Platform& real, PointerEvents& pointer, DistributedNotificationCenter& broadcast) {
    return {real.registry,      pointer,        real.runLoop, real.clock,    real.threads,
            real.notifications, broadcast,      real.desktop, real.defaults, real.systemUI,
            real.sounds,        real.dataFiles, real.shell};
}

} // namespace

LinuxPlatformSettings settingsIn(const std::filesystem::path& folder) {
    LinuxPlatformSettings settings;
    settings.units = Units::ofTheProgram;
    settings.pointer = PointerChoice::xtest;
    settings.settingsFile = (folder / "settings.ini").string();
    settings.loginFolder = (folder / "autostart").string();
    settings.systemLoginFolders.clear();
    return settings;
}

DriverDesktop::DriverDesktop(const std::filesystem::path& logFile, LinuxPlatformSettings settings)
    : log_(emptyFile(logFile)), real(withLog(std::move(settings), log_.get())),
      pointer_(real.platform().pointer, recording),
      broadcast_(real.platform().distributedNotifications, recording),
      platform(withEars(real.platform(), pointer_, broadcast_)) {
    Platform::setCurrent(&platform);
    // There is no panel: at a first start the window would come up over what is looked at.
    platform.defaults.setObject(kWindowShownKey, true);
}

void DriverDesktop::emptyLog() {
    real.log().flush();
    if (::ftruncate(log_.get(), 0) != 0)
        throw std::runtime_error("the log cannot be emptied: " + errorText(errno));
}

} // namespace lightpen
