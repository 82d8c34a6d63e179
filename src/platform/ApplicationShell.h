// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Bundle.h"
#include "platform/Locales.h"
#include "platform/LoginItems.h"
#include "platform/StatusBar.h"
#include "platform/UnitAccess.h"
#include "platform/UserNotices.h"
#include "platform/Workspace.h"

namespace lightpen {

// What only the application itself asks of its desktop.
struct ApplicationShell {
    Bundle& bundle;
    Locales& locales;
    LoginItems& loginItems;
    StatusBar& statusBar;
    Workspace& workspace;
    UserNotices& notices;
    const UnitAccess& unitAccess; // as it is at the moment
};

} // namespace lightpen
