// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/LoginItems.h"

namespace lightpen {

// The items that were stored here, each as a desktop entry in the user's autostart folder. Such an entry has
// keys of our own, and no other file there is listed, written or removed. An item's origin is the name of its
// file. Links, folders, pipes, files that are too large for an entry or are none are as good as not there,
// and stay. Main thread.
class XdgLoginItems final : public LoginItems {
public:
    // The folder is made with the first entry.
    explicit XdgLoginItems(std::string folder) : folder_(std::move(folder)) {}

    std::optional<std::vector<LoginItem>> copyValue() const override;
    void setValue(std::vector<LoginItem> list) override;
    // Items that are new or have another path, "Hide", identifier or place are written whole, with all keys
    // that they had; the others keep their bytes. What was on the list and is not any more is removed. What
    // somebody else has taken away meanwhile stays away.
    bool synchronize() override;

private:
    struct Stored;

    std::string file(const std::string& name) const { return folder_ + '/' + name; }
    std::optional<std::vector<Stored>> stored() const;
    std::string freeName() const;
    bool store(const LoginItem& item, std::int64_t order, const Stored* before) const;
    bool remove(const std::string& name) const;

    const std::string folder_;
    mutable std::set<std::string> seen_; // the origins of items that were on the list when it was asked for
    std::optional<std::vector<LoginItem>> list_; // to be stored
};

} // namespace lightpen
