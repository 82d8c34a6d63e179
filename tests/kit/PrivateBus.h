// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "kit/ChildProcess.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {

// Who may use a bus of the test's.
enum class BusUsers { own, everybody };

// A D-Bus of the test's own, with a runtime directory of its own. Throws when it does not start.
class PrivateBus {
public:
    // Other users only where it says so; the machine must then be the test's alone.
    explicit PrivateBus(BusUsers users = BusUsers::own);

    const std::string& address() const { return address_; }
    // Makes it the session bus and the system bus of this process, and its directory the XDG_RUNTIME_DIR;
    // before anything uses a bus.
    void enter() const;
    // The bus goes away as if it had crashed.
    void kill() { daemon_->kill(); }

private:
    TemporaryDirectory runtime_;
    TemporaryDirectory folder_; // another one, which others may enter
    std::unique_ptr<ChildProcess> daemon_;
    std::string address_;
};

// No bus at all for this process, with an empty runtime directory.
class NoBus {
public:
    void enter() const;

private:
    TemporaryDirectory runtime_;
};

} // namespace lightpen
