// SPDX-License-Identifier: MIT
#include "platform/Notifications.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace lightpen {

std::string describe(const Notification& notification) {
    std::string text = "{name = " + notification.name + "; ";
    if (notification.object) {
        std::array<char, 32> address{};
        std::snprintf(address.data(), address.size(), "%p", notification.object);
        text += "object = " + std::string(address.data()) + "; ";
    }
    if (!notification.userInfo.empty()) {
        std::string keys;
        for (const auto& [key, value] : notification.userInfo)
            keys += (keys.empty() ? "" : ", ") + key;
        text += "userInfo = (" + keys + "); ";
    }
    return text + "}";
}

void NotificationCenter::addObserver(const void* observer, std::string_view name, const void* sender,
                                     Handler handler) {
    entries_.push_back({observer, std::string(name), sender, std::move(handler), ++lastNumber_});
}

void NotificationCenter::removeObserver(const void* observer) {
    std::erase_if(entries_, [=](const Entry& entry) { return entry.observer == observer; });
}

void NotificationCenter::post(const Notification& notification) {
    // Handlers may add and remove observers, so the list is copied and each entry looked up again.
    const auto entries = entries_;
    for (const Entry& entry : entries) {
        if (entry.name != notification.name || (entry.sender && entry.sender != notification.object))
            continue;
        const bool stillThere = std::any_of(entries_.begin(), entries_.end(),
                                            [&](const Entry& other) { return other.number == entry.number; });
        if (stillThere)
            entry.handler(notification);
    }
}

} // namespace lightpen
