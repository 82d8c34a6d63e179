// SPDX-License-Identifier: MIT
#pragma once

#include <thread>

#include "measure/desktop/Eventually.h"

namespace lightpen {

// As there, for a test without a loop of its own: it sleeps meanwhile.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    return eventually(
        condition, [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }, patience);
}

} // namespace lightpen
