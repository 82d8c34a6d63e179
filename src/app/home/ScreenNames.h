// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "platform/Time.h"

class QWidget;

namespace lightpen {

// Shows on each screen how it is called, so that a user sees which is which. Main thread.
class ScreenNames {
public:
    static constexpr Microseconds kTime = std::chrono::seconds(4);

    ScreenNames();
    ~ScreenNames();
    ScreenNames(const ScreenNames&) = delete;
    ScreenNames& operator=(const ScreenNames&) = delete;

    // For that time, or until the screens change or are covered. The keyboard stays where it is.
    void show();
    void hide();
    bool shown() const { return !windows_.empty(); }

private:
    std::vector<std::unique_ptr<QWidget>> windows_;
};

} // namespace lightpen
