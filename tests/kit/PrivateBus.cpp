// SPDX-License-Identifier: MIT
#include "kit/PrivateBus.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace lightpen {

PrivateBus::PrivateBus(BusUsers users) {
    const bool open = users == BusUsers::everybody;
    if (open) // they need not see what is in the folder
        std::filesystem::permissions(folder_.path(), std::filesystem::perms::others_exec,
                                     std::filesystem::perm_options::add);
    // The daemon's own session configuration would offer the machine's services for activation.
    writeFile(folder_.file("bus.conf"),
              "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
              " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
              "<busconfig><listen>unix:path=" +
                  folder_.file("bus") + "</listen><auth>EXTERNAL</auth><policy context=\"default\">" +
                  (open ? "<allow user=\"*\"/>" : "") +
                  "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                  "<allow own=\"*\"/></policy></busconfig>\n");
    address_ = startAndReadLine(daemon_, {"dbus-daemon", "--nofork", "--print-address=%fd%",
                                          "--config-file=" + folder_.file("bus.conf")});
    if (address_.empty())
        throw std::runtime_error("dbus-daemon did not start");
}

static void enterBus(const std::string& address, const TemporaryDirectory& runtime) {
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", runtime.path().c_str(), 1);
}

void PrivateBus::enter() const {
    enterBus(address_, runtime_);
}

// Without an address the library would look for one through the X server, and start a bus of its own.
void NoBus::enter() const {
    enterBus("unix:path=" + runtime_.file("none"), runtime_);
}

} // namespace lightpen
