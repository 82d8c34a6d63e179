// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>
#include <unistd.h>

namespace lightpen {

// Writes one log line when this user is root: the driver needs none of root's rights, and why it should not
// have them. Any thread.
void warnOfRoot(uid_t user = ::geteuid());

} // namespace lightpen
