// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen {

// Sends Qt's own messages to the platform log; one that Qt calls fatal, such as a display that cannot be
// opened, ends the program with status 1 instead of a core dump. Call it before the application object is
// made.
void setUpQtMessages();

// What a tray program needs of Qt beyond its defaults: closing the last window does not end the program, and
// numbers are read and written with a decimal point. Call it right after the application object was made.
void setUpQtApplication();

} // namespace lightpen
