// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "platform/Locales.h"
#include "platform/Notifications.h"

namespace lightpen {

// The languages of the user's locale: those of the environment, until the system's locale is set anew while
// the program runs. Then that one holds, but for LC_ALL, with which the user has outvoted it before. Main
// thread.
class LinuxLocales final : public Locales {
public:
    // The application object is there, and the centre outlives this. Where there is no system bus or Qt says
    // nothing, changes go unnoticed.
    explicit LinuxLocales(NotificationCenter& notifications);
    ~LinuxLocales() override;
    LinuxLocales(const LinuxLocales&) = delete;
    LinuxLocales& operator=(const LinuxLocales&) = delete;

    std::vector<std::string> preferredLanguages() const override;

private:
    class Watch;
    std::unique_ptr<Watch> watch_;
};

} // namespace lightpen
