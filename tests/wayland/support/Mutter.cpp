// SPDX-License-Identifier: MIT
#include <stdexcept>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "wayland/support/Compositor.h"

namespace lightpen {

namespace {

constexpr const char* kService = "org.gnome.Mutter.DisplayConfig";
constexpr const char* kPath = "/org/gnome/Mutter/DisplayConfig";
constexpr const char* kTemporary = "1"; // the way of setting that asks no user to confirm it
constexpr const char* kQuarter = "1";

// GNOME's compositor, as GNOME has it by default: its layout is in pixels, and scales are whole numbers.
class Mutter final : public Compositor {
public:
    explicit Mutter(const GuestUser& user)
        : session_(user, {"/usr/bin/mutter", "--wayland", "--display-server", "--no-x11"},
                   {{"LIBGL_ALWAYS_SOFTWARE", "1"},
                    {"GSETTINGS_BACKEND", "memory"},
                    {"XDG_CURRENT_DESKTOP", "GNOME"}}) {
        session_.add({{"WAYLAND_DISPLAY", session_.awaitFile("wayland-")}});
    }

    void set(const Layout& layout) override {
        const QJsonArray state = call({"GetCurrentState"})["data"].toArray();
        std::vector<std::string> words{"ApplyMonitorsConfig", "uua(iiduba(ssa{sv}))a{sv}",
                                       std::to_string(state[0].toInt()), kTemporary,
                                       std::to_string(layout.outputs.size())};
        for (const Output& output : layout.outputs)
            words.insert(words.end(), {std::to_string(output.left), "0", std::to_string(output.scale),
                                       output.turned ? kQuarter : "0", output.primary ? "true" : "false", "1",
                                       output.name, modeOf(output, state[1].toArray()), "0"});
        words.push_back("0");
        call(words);
    }
    // It tells programs the pixels, whatever the scale is.
    Size pointsOf(const Output& output) const override { return sizeOf(output, 1); }
    bool offers(const Layout& layout) const override {
        for (const Output& output : layout.outputs)
            if (output.scale != static_cast<int>(output.scale))
                return false;
        return true;
    }
    std::string version() const override { return session_.run({"/usr/bin/mutter", "--version"}); }
    const LoginSession& session() const override { return session_; }

private:
    QJsonObject call(const std::vector<std::string>& words) const {
        std::vector<std::string> command{"/usr/bin/busctl", "--user", "--json=short", "--timeout=120", "call",
                                         kService,          kPath,    kService};
        command.insert(command.end(), words.begin(), words.end());
        return QJsonDocument::fromJson(QByteArray::fromStdString(session_.run(command))).object();
    }
    // The name of the output's mode of this size.
    static std::string modeOf(const Output& output, const QJsonArray& monitors) {
        for (const auto& monitor : monitors) {
            if (monitor.toArray()[0].toArray()[0].toString().toStdString() != output.name)
                continue;
            for (const auto& mode : monitor.toArray()[1].toArray())
                if (mode.toArray()[1].toInt() == output.width && mode.toArray()[2].toInt() == output.height)
                    return mode.toArray()[0].toString().toStdString();
        }
        throw std::runtime_error("mutter has no such mode of " + output.name);
    }

    LoginSession session_;
};

} // namespace

std::unique_ptr<Compositor> startMutter(const GuestUser& user) {
    // What the packages' own scripts would have made.
    if (runProgram({"glib-compile-schemas", "/usr/share/glib-2.0/schemas"}) != 0)
        throw std::runtime_error("the settings' descriptions cannot be compiled");
    return std::make_unique<Mutter>(user);
}

} // namespace lightpen
