// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace lightpen {

// What the user's other programs ask of the running application, a word each. They cannot ask the driver for
// anything: neither for reports nor for commands to the unit. Main thread.
class ApplicationRequests {
public:
    // Whether it was done.
    using Handler = std::function<bool(const std::string& action)>;

    // The word of whoever asks for nothing but the application itself.
    static constexpr std::string_view kShow = "show";

    virtual ~ApplicationRequests() = default;
    // The handler is called for each request from now on, from the main loop, and for those that came before.
    // It may be any word; one that means nothing is the handler's to refuse.
    virtual void setHandler(Handler handler) = 0;
};

} // namespace lightpen
