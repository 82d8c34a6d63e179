// SPDX-License-Identifier: MIT
#include "app/ProgramVersion.h"

namespace lightpen {

const char* const kProgramVersion = LIGHTPEN_VERSION;

} // namespace lightpen
