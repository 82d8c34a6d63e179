// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace lightpen {

// Hears the distributed notifications of other programs on the session bus. Main thread.
class BusListener {
public:
    using Handler = std::function<void(const std::string& name)>;

    // The handler is called on the main loop, once for each notification that is listened for.
    explicit BusListener(Handler handler);
    ~BusListener();
    BusListener(const BusListener&) = delete;
    BusListener& operator=(const BusListener&) = delete;

    // Whoever sends it. False when there is no session bus.
    bool listenFor(std::string_view name);

private:
    class Receiver;
    std::unique_ptr<Receiver> receiver_;
};

} // namespace lightpen
