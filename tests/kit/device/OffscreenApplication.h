// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen {

// Makes Qt's application object, without a display, unless the process has it already. Always true, so that a
// member can stand before those that need it.
bool ensureOffscreenApplication();

} // namespace lightpen
