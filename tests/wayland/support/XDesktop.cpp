// SPDX-License-Identifier: MIT
#include <filesystem>
#include <stdexcept>

#include "kit/Eventually.h"
#include "kit/TemporaryDirectory.h"
#include "wayland/support/Compositor.h"

namespace lightpen {

namespace {

namespace fs = std::filesystem;

constexpr const char* kServer = "/usr/lib/xorg/Xorg";
// No server that this machine's own files tell of has such a number.
constexpr const char* kDisplay = ":90";
constexpr const char* kSocket = "/tmp/.X11-unix/X90";
constexpr const char* kConfiguration = "/run/xorg.conf";
// On the kernel's graphics card. Drawing through OpenGL would cost more here than it gains.
constexpr const char* kCard = R"(
Section "Module"
    Disable "glx"
EndSection
Section "Device"
    Identifier "card"
    Driver "modesetting"
    Option "AccelMethod" "none"
EndSection
)";
constexpr const char* kManaged = "window-manager"; // a file in the user's runtime folder
constexpr std::chrono::seconds kPatience{120};

// An X server of the user's own, as a login without Wayland gives, with a window manager. It lets everybody
// in, and its screen saver is off.
class XDesktop final : public Compositor {
public:
    explicit XDesktop(const GuestUser& user)
        : session_(user,
                   {kServer, kDisplay, "vt1", "-keeptty", "-config", kConfiguration, "-noreset", "-nolisten",
                    "tcp", "-ac", "-s", "0", "-dpms"},
                   {{"XDG_SESSION_TYPE", "x11"}, {"XDG_CURRENT_DESKTOP", "openbox"}}) {
        if (!eventually([] { return fs::exists(kSocket); }, kPatience))
            throw std::runtime_error("Xorg did not start. It wrote:\n" + session_.log());
        session_.add({{"DISPLAY", kDisplay}});
        // It is told to say so itself: it calls itself there before it looks after windows.
        manager_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{"/usr/bin/openbox", "--sm-disable", "--startup",
                                     "touch " + (user.runtimeFolder() / kManaged).string()},
            session_.options(-1));
        session_.awaitFile(kManaged);
    }

    void set(const Layout& layout) override {
        std::vector<std::string> words{"/usr/bin/xrandr"};
        for (const Output& output : layout.outputs) {
            words.insert(words.end(),
                         {"--output", output.name, "--mode",
                          std::to_string(output.width) + "x" + std::to_string(output.height), "--pos",
                          std::to_string(output.left) + "x0", "--rotate", output.turned ? "left" : "normal"});
            if (output.primary)
                words.emplace_back("--primary");
        }
        if (layout.outputs.size() == 1)
            words.insert(words.end(), {"--output", "Virtual-2", "--off"});
        session_.run(words);
    }
    // Its outputs have no scale.
    bool offers(const Layout& layout) const override {
        for (const Output& output : layout.outputs)
            if (output.scale != 1)
                return false;
        return true;
    }
    std::string serverToLookAt() const override { return kDisplay; }
    std::string version() const override {
        // "X.Org X Server 1.21.1.7", in a line of several.
        const std::string text = session_.run({"/bin/sh", "-c", std::string(kServer) + " -version 2>&1"});
        const auto begin = text.find("X Server ");
        return begin == text.npos ? text : text.substr(begin, text.find('\n', begin) - begin);
    }
    const LoginSession& session() const override { return session_; }

private:
    LoginSession session_;
    std::unique_ptr<ChildProcess> manager_;
};

} // namespace

std::unique_ptr<Compositor> startXDesktop(const GuestUser& user) {
    writeFile(kConfiguration, kCard);
    // What a system's start would have made.
    const fs::path folder = fs::path(kSocket).parent_path();
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::all | fs::perms::sticky_bit);
    return std::make_unique<XDesktop>(user);
}

} // namespace lightpen
