// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <vector>

#include "linux_desktop/panel/StatusNotifierHosts.h"
#include "platform/StatusBar.h"

namespace lightpen {

// The desktop's tray: a panel that shows status items of the session bus, or under X11 one that embeds
// windows. Qt looks for a tray once, at its first icon, and stays with what it has found, so nothing may make
// an icon before the handler is called. Main thread.
class TrayStatusBar final : public StatusBar {
public:
    // The patience is for the answer of a panel on the bus, each time that somebody asks.
    explicit TrayStatusBar(std::chrono::milliseconds patience = StatusNotifierHosts::kPatience);
    ~TrayStatusBar() override;
    TrayStatusBar(const TrayStatusBar&) = delete;
    TrayStatusBar& operator=(const TrayStatusBar&) = delete;

    void whenAvailable(std::function<void()> handler) override;

private:
    class Search;

    void found();

    const std::chrono::milliseconds patience_;
    std::unique_ptr<Search> search_; // for as long as somebody waits
    std::vector<std::function<void()>> waiting_;
};

} // namespace lightpen
