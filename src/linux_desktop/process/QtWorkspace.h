// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Workspace.h"

namespace lightpen {

// Opens files as the desktop's own file manager would. Main thread.
class QtWorkspace final : public Workspace {
public:
    bool openFile(const std::string& path) override;
};

} // namespace lightpen
