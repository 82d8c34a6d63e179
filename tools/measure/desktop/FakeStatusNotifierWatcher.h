// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QThread>

namespace lightpen {

// The part of a desktop's panel that keeps the list of status items, on a bus; it answers from a thread of
// its own, so that a test may wait for the program that asks. Methods are called from the test's thread.
class FakeStatusNotifierWatcher {
public:
    struct Item {
        std::string service; // the name on the bus to talk to
        std::string path;    // the object there
        friend bool operator==(const Item&, const Item&) = default;
    };

    // Not there yet, and with a panel that shows items unless said otherwise. Throws when the bus cannot be
    // had.
    explicit FakeStatusNotifierWatcher(const std::string& address, bool host = true);
    ~FakeStatusNotifierWatcher();
    FakeStatusNotifierWatcher(const FakeStatusNotifierWatcher&) = delete;
    FakeStatusNotifierWatcher& operator=(const FakeStatusNotifierWatcher&) = delete;

    // Takes its name on the bus, with an empty list. Throws when the name is taken.
    void appear();
    // Gives its name up, as a panel does that ends.
    void disappear();
    // A panel comes that shows the items.
    void registerHost();
    // It answers nobody until it goes on.
    void stall();
    void goOn() { goingOn_.set_value(); }
    // The items that are registered and whose programs live, oldest first.
    std::vector<Item> items() const;
    // The one that the process registered; none when there is none yet.
    std::optional<Item> itemOf(std::uint32_t processId) const;

private:
    class Watcher;
    std::promise<void> goingOn_;
    QThread thread_;
    std::unique_ptr<Watcher> watcher_;
};

} // namespace lightpen
