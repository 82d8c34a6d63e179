// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Locales.h"

namespace lightpen {

// The languages of the user's locale. Main thread.
class LinuxLocales final : public Locales {
public:
    std::vector<std::string> preferredLanguages() const override;
};

} // namespace lightpen
