// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kit/ChildProcess.h"

namespace lightpen {

// An ordinary user of the guest, who is in no group but his own.
class GuestUser {
public:
    // Makes the user. Throws when that fails.
    GuestUser();

    uid_t number() const { return number_; }
    const std::filesystem::path& home() const { return home_; }
    // Where the user's programs meet; there while the user has a session.
    std::filesystem::path runtimeFolder() const { return "/run/user/" + std::to_string(number_); }
    // The driver's settings of this user from now on, by their names in the file.
    void writeSettings(const std::map<std::string, std::string>& settings) const;

private:
    uid_t number_ = 0;
    std::filesystem::path home_;
};

// What a user's program that is meant for the session's desktop is started with.
using Environment = std::map<std::string, std::string>;

// A user's graphical session on the first terminal, as logind knows it, with a message bus of its own. One at
// a time. Main thread.
class LoginSession {
public:
    // The command is what the session consists of; the session's variables come beside these, and make it one
    // of Wayland unless these say otherwise. Throws when there is no session.
    LoginSession(const GuestUser& user, const std::vector<std::string>& command,
                 const Environment& environment);
    ~LoginSession();
    LoginSession(const LoginSession&) = delete;
    LoginSession& operator=(const LoginSession&) = delete;

    const GuestUser& user() const { return user_; }
    // Variables that every program of the session gets from now on.
    void add(const Environment& environment);
    const Environment& environment() const { return environment_; }
    // How a program of the session is started.
    ChildOptions options(int output) const;
    // Runs a program, named by its path, to its end; what it wrote. Throws when it fails.
    std::string run(const std::vector<std::string>& command) const;
    // Waits until there is a file of this beginning in the runtime folder; its name. Throws, with what the
    // session wrote, when there is none in time.
    std::string awaitFile(const std::string& beginning) const;
    // What the session's command wrote.
    std::string log() const;

private:
    const GuestUser& user_;
    Environment environment_;
};

} // namespace lightpen
