// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "platform/Locales.h"
#include "platform/Notifications.h"

namespace lightpen {

// The languages of the user's locale. They come from the environment at first. When somebody sets the
// system's locale while the program runs, they come from that one from then on; LC_ALL in the environment
// still goes before it. Main thread.
class LinuxLocales final : public Locales {
public:
    // Needs the application object. The centre outlives this. A change is noticed when the system bus or Qt
    // tells of it.
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
