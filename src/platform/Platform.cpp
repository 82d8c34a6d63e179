// SPDX-License-Identifier: MIT
#include "platform/Platform.h"

#include <cstdio>
#include <cstdlib>

namespace lightpen {

void Platform::endWithoutOne() {
    std::fputs("the platform was used before it was put together\n", stderr);
    std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe): a mistake of the program, nothing to save
}

} // namespace lightpen
