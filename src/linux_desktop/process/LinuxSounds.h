// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "linux_desktop/process/SoundOutput.h"
#include "platform/Sounds.h"
#include "platform/Time.h"

namespace lightpen {

// The sounds of a folder, one file NAME.wav each. A thread of their own plays them, begun with the first one,
// so that a sound server that is slow or hangs is in nobody's way: a sound that cannot begin soon is left
// out, and the end of the program waits for none. A failure is logged once, until a sound was heard again.
class LinuxSounds final : public Sounds {
public:
    // How many sounds may wait; more are left out.
    static constexpr std::size_t kMostWaiting = 4;
    // A sound that has waited longer is left out: it would belong to something else by now.
    static constexpr Microseconds kMostLate{1'000'000};
    // After a failure there is silence for this long.
    static constexpr Microseconds kRetry{60'000'000};

    // The folder of the program's own sounds, see resourceFolder().
    static std::filesystem::path programSounds();

    // The clock outlives this; the output is used by the thread alone, and outlives this when it hangs.
    LinuxSounds(Clock& clock, std::unique_ptr<SoundOutput> output,
                std::filesystem::path folder = programSounds());
    // Waits a moment for the thread, not for a sound.
    ~LinuxSounds() override;
    LinuxSounds(const LinuxSounds&) = delete;
    LinuxSounds& operator=(const LinuxSounds&) = delete;

    // A name without a file is logged once.
    SoundRef soundNamed(std::string_view name) override;

private:
    class Player;
    class FileSound;

    void missing(const std::string& file);

    const std::filesystem::path folder_;
    const std::shared_ptr<Player> player_;
    std::mutex mutex_;
    std::set<std::string> missing_; // logged already
};

} // namespace lightpen
