// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <string>

namespace lightpen {

// The value of an environment variable; empty when it is not set. Any thread, since nobody changes the
// environment.
inline std::string environmentVariable(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): it never changes
    return value ? value : "";
}

} // namespace lightpen
