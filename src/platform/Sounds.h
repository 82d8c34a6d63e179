// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace lightpen {

// A short alert sound. Any thread.
class Sound {
public:
    virtual ~Sound() = default;
    Sound(const Sound&) = delete;
    Sound& operator=(const Sound&) = delete;
    // What two sounds are equal by.
    const std::string& name() const { return name_; }
    // Begins to play and returns at once; silent where there is no sound server.
    virtual void play() = 0;
    // Sounds of one name are equal.
    friend bool operator==(const Sound& one, const Sound& other) { return one.name_ == other.name_; }

protected:
    explicit Sound(std::string name) : name_(std::move(name)) {}

private:
    const std::string name_;
};

using SoundRef = std::shared_ptr<Sound>;

// The system's alert sounds. Any thread.
class Sounds {
public:
    virtual ~Sounds() = default;
    // The sound of this name ("Tink", "Submarine"); null when there is none. It may outlive this object, and
    // is then silent.
    virtual SoundRef soundNamed(std::string_view name) = 0;
};

} // namespace lightpen
