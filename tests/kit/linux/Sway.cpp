// SPDX-License-Identifier: MIT
#include "kit/linux/Sway.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include <QJsonArray>
#include <QJsonObject>

#include "kit/OrdinaryUser.h"
#include "kit/Pipe.h"
#include "measure/desktop/Patience.h"
#include "measure/desktop/XClient.h"

namespace lightpen {

namespace {

constexpr const char* kProgram = "/usr/bin/sway";
// Whatever the number of programs, the first one takes this.
constexpr const char* kWaylandSocket = "wayland-1";

std::string text(const QJsonValue& value) {
    return value.toString().toStdString();
}

QRect rectangle(const QJsonValue& value) {
    return {value[QLatin1String("x")].toInt(), value[QLatin1String("y")].toInt(),
            value[QLatin1String("width")].toInt(), value[QLatin1String("height")].toInt()};
}

void collect(const QJsonObject& node, std::uint32_t processId, std::vector<SwayWindow>& found) {
    const auto has = [&](const char* name) { return node[QLatin1String(name)]; };
    if (has("pid").toInt() == static_cast<int>(processId) && has("visible").toBool())
        found.push_back({text(has("name")), rectangle(has("rect")), text(has("type")) == "floating_con",
                         has("fullscreen_mode").toInt() != 0, has("focused").toBool()});
    for (const char* const below : {"nodes", "floating_nodes"})
        for (const QJsonValue& child : has(below).toArray())
            collect(child.toObject(), processId, found);
}

} // namespace

// The outputs' windows, the oldest first.
class Sway::Display final : public XClient {
public:
    using XClient::XClient;

    std::vector<xcb_window_t> windows() {
        const auto reply = ownedReply(
            xcb_query_tree_reply(connection(), xcb_query_tree(connection(), screen().root), nullptr));
        std::vector<xcb_window_t> found;
        for (int i = 0; reply && i < xcb_query_tree_children_length(reply.get()); ++i)
            if (const auto child = xcb_query_tree_children(reply.get())[i]; viewable(child))
                found.push_back(child);
        std::ranges::sort(found);
        return found;
    }
    void move(xcb_window_t window, QPoint place) {
        const std::uint32_t values[] = {static_cast<std::uint32_t>(place.x()),
                                        static_cast<std::uint32_t>(place.y())};
        xcb_configure_window(connection(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
        sync();
    }
    void close(xcb_window_t window) {
        sendMessage(window, XCB_EVENT_MASK_NO_EVENT, window, "WM_PROTOCOLS", {atom("WM_DELETE_WINDOW")});
    }
};

bool Sway::canRun() {
    return ordinaryUserMayEnter(std::filesystem::temp_directory_path());
}

Sway::Sway(const std::string& display, int outputs, const std::string& configuration)
    : socket_(folder_.file("run/sway.sock")), display_(std::make_unique<Display>(display)) {
    const std::filesystem::path run = folder_.file("run"), file = folder_.file("config");
    std::filesystem::create_directory(run);
    std::filesystem::permissions(run, std::filesystem::perms::owner_all);
    // Later releases make small floating windows larger than they ask for, unless they are told not to.
    writeFile(file, "xwayland disable\ndefault_border none\nfloating_minimum_size 1 x 1\n" + configuration);
    ChildOptions options{.environment = {{"DISPLAY", display},
                                         {"HOME", run},
                                         {"PATH", "/usr/bin:/bin"},
                                         {"SWAYSOCK", socket_},
                                         {"WLR_BACKENDS", "x11"},
                                         {"WLR_RENDERER", "pixman"},
                                         {"WLR_X11_OUTPUTS", std::to_string(outputs)},
                                         {"XDG_RUNTIME_DIR", run}},
                         .thatEnvironmentOnly = true};
    if (geteuid() == 0) {
        using std::filesystem::perms;
        std::filesystem::permissions(folder_.path(), perms::others_exec, std::filesystem::perm_options::add);
        std::filesystem::permissions(file, perms::others_read, std::filesystem::perm_options::add);
        if (chown(run.c_str(), kNobody, kNobody) != 0)
            throw std::runtime_error("the folder cannot be the ordinary user's");
        options.user = ChildOptions::User{kNobody, {}};
    }
    compositor_ = std::make_unique<ChildProcess>(std::vector<std::string>{kProgram, "-c", file}, options);
    if (!settles(static_cast<std::size_t>(outputs)))
        throw std::runtime_error("sway did not start");
}

Sway::~Sway() = default;

void Sway::enter() const {
    setenv("WAYLAND_DISPLAY", folder_.file(std::string("run/") + kWaylandSocket).c_str(), 1);
    setenv("QT_QPA_PLATFORM", "wayland", 1);
}

QJsonDocument Sway::ask(const std::vector<std::string>& words) const {
    Pipe answer;
    std::vector<std::string> command{"swaymsg", "-r", "-s", socket_};
    command.insert(command.end(), words.begin(), words.end());
    if (ChildProcess(command, ChildOptions{.output = answer.writeEnd()}).wait() != 0)
        return {};
    return QJsonDocument::fromJson(QByteArray::fromStdString(answer.readAvailable()));
}

std::vector<std::string> Sway::outputs() const {
    std::vector<std::string> names;
    for (const QJsonValue& output : ask({"-t", "get_outputs"}).array())
        names.push_back(text(output[QLatin1String("name")]));
    std::ranges::sort(names);
    return names;
}

QRect Sway::area(const std::string& output) const {
    for (const QJsonValue& one : ask({"-t", "get_outputs"}).array())
        if (text(one[QLatin1String("name")]) == output)
            return rectangle(one[QLatin1String("rect")]);
    return {};
}

// Waits until there are that many outputs, each with its window, and places these.
bool Sway::settles(std::size_t count) {
    std::vector<std::string> names;
    std::vector<xcb_window_t> windows;
    if (!comesTrue([&] {
            names = outputs();
            windows = display_->windows();
            return (names.size() == count && windows.size() == count) || !compositor_->running();
        }) ||
        windows.size() != count)
        return false;
    for (std::size_t i = 0; i < count; ++i)
        display_->move(windows[i], area(names[i]).topLeft());
    return true;
}

bool Sway::perform(const std::string& command) {
    return !ask({"--", command}).isNull() && settles(outputs().size());
}

bool Sway::addOutput() {
    const auto before = outputs().size();
    return !ask({"create_output"}).isNull() && settles(before + 1);
}

bool Sway::removeOutput(const std::string& name) {
    const auto names = outputs();
    const auto found = std::ranges::find(names, name);
    if (found == names.end())
        return false;
    display_->close(display_->windows().at(static_cast<std::size_t>(found - names.begin())));
    return settles(names.size() - 1);
}

std::vector<SwayWindow> Sway::windows(std::uint32_t processId) const {
    std::vector<SwayWindow> found;
    collect(ask({"-t", "get_tree"}).object(), processId, found);
    return found;
}

} // namespace lightpen
