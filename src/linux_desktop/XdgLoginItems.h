// SPDX-License-Identifier: MIT
#pragma once

#include "platform/LoginItems.h"

namespace lightpen {

// The user's autostart folder. Main thread.
class XdgLoginItems final : public LoginItems {
public:
    std::optional<std::vector<LoginItem>> copyValue() const override { return std::nullopt; }
    void setValue(std::vector<LoginItem>) override {}
    bool synchronize() override { return false; }
};

} // namespace lightpen
