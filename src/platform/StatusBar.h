// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace lightpen {

// The part of the desktop's panel that shows status items. Main thread.
class StatusBar {
public:
    virtual ~StatusBar() = default;
    // Calls the handler once, as soon as there is a panel that takes items: at once where there is one,
    // otherwise from the main loop. Items that are made earlier would never be seen; later the desktop brings
    // them back by itself when its panel starts again.
    virtual void whenAvailable(std::function<void()> handler) = 0;
};

} // namespace lightpen
