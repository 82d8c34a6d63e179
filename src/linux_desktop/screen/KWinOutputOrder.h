// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <QObject>

class QSocketNotifier;
struct wl_display;
struct wl_message;
struct wl_proxy;
struct wl_registry;
union wl_argument;

namespace lightpen {

// The first output in the order that KWin, the compositor of KDE, announces to its clients as
// kde_output_order_v1: its primary one. Also knows weston by what it offers. Listens on a connection of its
// own, since Qt's is Qt's to read. Main thread.
class KWinOutputOrder final : public QObject {
public:
    // Connects to the compositor of the environment and asks. The handler is called when name() has changed.
    explicit KWinOutputOrder(std::function<void()> changed);
    ~KWinOutputOrder() override;

    // Waits until the compositor has said what it has to say, at most until then.
    void settle(std::chrono::steady_clock::time_point until);
    // The output's name ("HDMI-A-1"); empty while nobody says.
    const std::string& name() const { return name_; }
    // Whether the compositor is weston, which has no order of outputs.
    bool isWeston() const { return isWeston_; }

private:
    bool roundTrip(std::chrono::steady_clock::time_point until);
    bool read(std::chrono::milliseconds wait);
    void readNews();
    void bind(std::uint32_t global);
    void unbind();
    void set(std::string name);

    static void globalCame(void* self, wl_registry* registry, std::uint32_t global, const char* interface,
                           std::uint32_t version);
    static void globalWent(void* self, wl_registry* registry, std::uint32_t global);
    static int orderSaid(const void* unused, void* order, std::uint32_t event, const wl_message* message,
                         wl_argument* arguments);

    const std::function<void()> changed_;
    wl_display* const display_; // null when there is no compositor
    wl_registry* registry_ = nullptr;
    wl_proxy* order_ = nullptr; // null where the compositor has none
    std::uint32_t global_ = 0;  // the number of what order_ is bound to
    std::unique_ptr<QSocketNotifier> news_;
    std::optional<std::string> first_; // of the list that is being announced
    std::string name_;
    bool isWeston_ = false;
};

} // namespace lightpen
