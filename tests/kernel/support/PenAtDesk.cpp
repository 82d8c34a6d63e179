// SPDX-License-Identifier: MIT
#include "kernel/support/PenAtDesk.h"

#include <utility>

namespace lightpen {

void PenAtDesk::startDriver(std::map<std::string, std::string> environment) {
    DriverOptions options;
    options.environment = std::move(environment);
    HandAtDesk::startDriver(std::move(options));
}

void PenAtDesk::plugIn() {
    unit.plug();
    ASSERT_TRUE(bus.settle(unit)) << bus.failure(unit);
}

} // namespace lightpen
