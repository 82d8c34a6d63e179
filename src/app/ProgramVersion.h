// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen {

// The program's version, as "1.2.3": the one of the whole project.
extern const char* const kProgramVersion;

} // namespace lightpen
