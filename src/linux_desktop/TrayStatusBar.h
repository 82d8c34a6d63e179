// SPDX-License-Identifier: MIT
#pragma once

#include "platform/StatusBar.h"

namespace lightpen {

// The desktop's tray. Main thread.
class TrayStatusBar final : public StatusBar {
public:
    void whenAvailable(std::function<void()> handler) override { handler(); }
};

} // namespace lightpen
