// SPDX-License-Identifier: MIT
#pragma once

#include <any>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace lightpen {

// A process-local notification. The sender is an address to compare, never to follow.
struct Notification {
    std::string name;
    const void* object = nullptr;
    std::map<std::string, std::any, std::less<>> userInfo = {};
};

// "{name = kThatHappened; object = 0x...; userInfo = (key, ...); }"; what there is none of is left out.
std::string describe(const Notification& notification);

// Process-local notifications, delivered at once on the posting thread. Main thread.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;
    // Calls the handler for each notification of the name from the sender; a null sender stands for any.
    void addObserver(const void* observer, std::string_view name, const void* sender, Handler handler);
    // Ends all registrations of the observer; also from a handler.
    void removeObserver(const void* observer);
    // Observers that are removed while a notification is delivered are not called any more.
    void post(const Notification& notification);

private:
    struct Entry {
        const void* observer;
        std::string name;
        const void* sender;
        Handler handler;
        std::uint64_t number; // tells apart an entry and one that took its place
    };
    std::vector<Entry> entries_;
    std::uint64_t lastNumber_ = 0;
};

// System-wide notifications: a name, no sender, no payload. Any thread.
class DistributedNotificationCenter {
public:
    virtual ~DistributedNotificationCenter() = default;
    // Returns at once, whether anybody listens or not.
    virtual void postNotificationName(std::string_view name) = 0;
};

} // namespace lightpen
