// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/Defaults.h"

namespace lightpen {

// The user's settings in a file that people can read and edit, one "key=value" a line. Main thread.
class XdgDefaults final : public UserDefaults {
public:
    // Reads the file; one that does not exist is empty. A damaged one (not UTF-8, with zero bytes, over 1
    // MiB, with lines that say nothing, or with values that are objects of Qt's) is logged, moved aside to
    // FILE.damaged, and counts as empty.
    explicit XdgDefaults(std::string file);

    // Logs a line for each value in the file that will not count.
    void registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults) override;
    // The user's value, or the registered one. A value in the file that is not of the registered one's type
    // does not count; a whole number does where a fraction is registered.
    std::optional<DefaultsValue> objectForKey(std::string_view key) const override;
    // The file is replaced in one step: a crash leaves the old or the new one, and from the return on the new
    // one. A file that cannot be read is left alone, and so is one whose lock another program holds for half
    // a second.
    bool setObject(std::string_view key, DefaultsValue value) override;
    bool removeObjectForKey(std::string_view key) override;

private:
    enum class Condition { absent, sound, damaged, unreadable };

    Condition condition() const;
    std::string asideName() const { return file_ + ".damaged"; }
    bool moveAside() const;
    // Brings one key of the file, or everything, into line with what is known.
    bool write(const std::string& key) const;
    bool store(const std::string& key, bool everything) const;

    const std::string file_;
    std::map<std::string, DefaultsValue, std::less<>> registered_;
    std::map<std::string, DefaultsValue, std::less<>> set_;
};

} // namespace lightpen
