// SPDX-License-Identifier: MIT
#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace lightpen {

// Whom root becomes in a test of what permissions do, which hold root up nowhere.
inline constexpr uid_t kNobody = 65534;

// Takes this process all of root's rights, for good; false when it is root and must stay it, as in a
// container that knows no other user.
inline bool becomeOrdinaryUser() {
    return geteuid() != 0 || (setgroups(0, nullptr) == 0 && setresgid(kNobody, kNobody, kNobody) == 0 &&
                              setresuid(kNobody, kNobody, kNobody) == 0);
}

// Takes root the rights over files for as long as it lives; who is not root has none to lose.
class OrdinaryUser {
public:
    OrdinaryUser() : changed_(geteuid() == 0 && seteuid(kNobody) == 0) {}
    ~OrdinaryUser() {
        if (changed_ && seteuid(0) != 0)
            std::abort();
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    const bool changed_;
};

// Whether there is an ordinary user to become, who can go into this folder: one for temporary files may be
// root's alone. A test that needs both is skipped elsewhere.
inline bool ordinaryUserMayEnter(const std::filesystem::path& folder) {
    const pid_t child = fork();
    if (child == 0)
        _exit(becomeOrdinaryUser() && access(folder.c_str(), X_OK) == 0 ? 0 : 1);
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace lightpen
