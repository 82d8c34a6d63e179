// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "linux_desktop/process/SoundOutput.h"

struct ca_context;

namespace lightpen {

// Whether something on this machine could play: a sound server of the user's or of the system's, or a sound
// card. Any thread.
bool soundIsPossible();

// Event sounds through libcanberra, which knows the desktop's sound servers. Nothing is opened before the
// first sound.
class CanberraOutput final : public SoundOutput {
public:
    // Asked before each sound: what libcanberra loads complains on stderr by itself where there is nothing to
    // play on.
    explicit CanberraOutput(std::function<bool()> possible = soundIsPossible)
        : possible_(std::move(possible)) {}
    // Cuts off what still plays.
    ~CanberraOutput() override;
    CanberraOutput(const CanberraOutput&) = delete;
    CanberraOutput& operator=(const CanberraOutput&) = delete;

    bool play(const std::string& file, std::string& problem) override;

private:
    struct Destroy {
        void operator()(ca_context* context) const;
    };

    bool open(std::string& problem);

    const std::function<bool()> possible_;
    std::unique_ptr<ca_context, Destroy> context_;
};

} // namespace lightpen
