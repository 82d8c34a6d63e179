// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include "platform/PriorityInheritance.h"
#include "platform/Sounds.h"

namespace lightpen {

// Whether something on this machine could play: a sound server of the user's or of the system's, or a sound
// card. What libcanberra loads complains on stderr by itself where there is nothing to play on. Any thread.
bool soundIsPossible();

// The sounds of a folder, one file NAME.wav each, played by libcanberra, which knows the desktop's sound
// servers. Its calls last as long as a server takes to answer, so each is made on a thread of its own, one at
// a time: a server that hangs is in nobody's way, and the end of the program waits for no sound. Nothing is
// opened before the first sound. A failure is logged once, until a sound was heard again.
class LinuxSounds final : public Sounds {
public:
    struct Patience {
        // A sound that has waited longer for its turn is left out: it would belong to something else by now.
        std::chrono::milliseconds mostLate{1000};
        // After a failure there is silence for this long.
        std::chrono::milliseconds retry{60'000};
    };
    // How many sounds may wait for their turn; more are left out.
    static constexpr int kMostWaiting = 4;

    // Those in the program's resources.
    LinuxSounds();
    LinuxSounds(std::filesystem::path folder, Patience patience);
    // Cuts off what still plays. Waits a moment for a call that is under way; one that hangs is left behind.
    ~LinuxSounds() override;
    LinuxSounds(const LinuxSounds&) = delete;
    LinuxSounds& operator=(const LinuxSounds&) = delete;

    // A name without a file is logged once.
    SoundRef soundNamed(std::string_view name) override;

private:
    class Player;
    class FileSound;

    const std::filesystem::path folder_;
    const std::shared_ptr<Player> player_; // shared with the threads
    PriorityInheritanceMutex mutex_;
    std::set<std::string> missing_; // logged already
};

} // namespace lightpen
