// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Sounds.h"

namespace lightpen {

// Has no sounds yet.
class LinuxSounds final : public Sounds {
public:
    SoundRef soundNamed(std::string_view) override { return nullptr; }
};

} // namespace lightpen
