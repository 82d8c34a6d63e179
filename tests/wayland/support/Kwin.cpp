// SPDX-License-Identifier: MIT
#include "wayland/support/Compositor.h"

namespace lightpen {

namespace {

// KDE's compositor.
class Kwin final : public Compositor {
public:
    explicit Kwin(const GuestUser& user)
        : session_(user, {"/usr/bin/kwin_wayland", "--drm", "--no-lockscreen", "--no-global-shortcuts"},
                   {{"KWIN_COMPOSE", "Q"},
                    {"KDE_FULL_SESSION", "true"},
                    {"KDE_SESSION_VERSION", "5"},
                    {"XDG_CURRENT_DESKTOP", "KDE"}}) {
        session_.add({{"WAYLAND_DISPLAY", session_.awaitFile("wayland-")}});
    }

    // The frequency is rounded there.
    void set(const Layout& layout) override {
        std::vector<std::string> words{"/usr/bin/kscreen-doctor"};
        for (const Output& output : layout.outputs) {
            const std::string name = "output." + output.name + ".";
            words.insert(words.end(), {name + "enable",
                                       name + "mode." + std::to_string(output.width) + "x" +
                                           std::to_string(output.height) + "@60",
                                       name + "position." + std::to_string(output.left) + ",0",
                                       name + "scale." + std::to_string(output.scale),
                                       name + "rotation." + (output.turned ? "left" : "none")});
            if (output.primary)
                words.push_back(name + "primary");
        }
        if (layout.outputs.size() == 1)
            words.push_back("output.Virtual-2.disable");
        session_.run(words);
    }
    std::string version() const override { return session_.run({"/usr/bin/kwin_wayland", "--version"}); }
    const LoginSession& session() const override { return session_; }

private:
    LoginSession session_;
};

} // namespace

std::unique_ptr<Compositor> startKwin(const GuestUser& user) {
    return std::make_unique<Kwin>(user);
}

} // namespace lightpen
