// SPDX-License-Identifier: MIT
#include <stdexcept>

#include "kit/TemporaryDirectory.h"
#include "wayland/support/Compositor.h"

namespace lightpen {

namespace {

constexpr const char* kConfiguration = "/run/sway.conf";
constexpr const char* kQuarter = "270"; // it counts clockwise

class Sway final : public Compositor {
public:
    explicit Sway(const GuestUser& user)
        : session_(user, {"/usr/bin/sway", "--config", kConfiguration},
                   {{"WLR_RENDERER", "pixman"},
                    {"WLR_NO_HARDWARE_CURSORS", "1"},
                    {"LIBSEAT_BACKEND", "logind"},
                    {"XDG_CURRENT_DESKTOP", "sway"}}) {
        session_.add({{"WAYLAND_DISPLAY", session_.awaitFile("wayland-")}});
        session_.add({{"SWAYSOCK", (user.runtimeFolder() / session_.awaitFile("sway-ipc")).string()}});
    }

    void set(const Layout& layout) override {
        for (const char* name : {"Virtual-1", "Virtual-2"})
            tell(std::string("output ") + name + " disable");
        for (const Output& output : layout.outputs)
            tell("output " + output.name + " enable mode " + std::to_string(output.width) + "x" +
                 std::to_string(output.height) + " position " + std::to_string(output.left) + " 0 scale " +
                 std::to_string(output.scale) + " transform " + (output.turned ? kQuarter : "normal"));
    }
    // It knows no primary output.
    bool offers(const Layout& layout) const override {
        return layout.aimed == layout.chosen || layout.aimed == layout.outputs.front().name;
    }
    std::string version() const override { return session_.run({"/usr/bin/sway", "--version"}); }
    const LoginSession& session() const override { return session_; }

private:
    // The program waits three seconds for an answer, for which a busy guest may take longer. To ask twice
    // does no harm.
    void tell(const std::string& command) {
        for (int attempt = 1;; ++attempt) {
            try {
                session_.run({"/usr/bin/swaymsg", command});
                return;
            } catch (const std::runtime_error&) {
                if (attempt == 10)
                    throw;
            }
        }
    }

    LoginSession session_;
};

} // namespace

std::unique_ptr<Compositor> startSway(const GuestUser& user) {
    writeFile(kConfiguration, "xwayland disable\ndefault_border none\n");
    return std::make_unique<Sway>(user);
}

} // namespace lightpen
