// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QApplication>
#include <QSettings>

#include "kit/PrivateBus.h"
#include "kit/TemporaryDirectory.h"
#include "kit/Xvfb.h"
#include "kit/linux/WindowManager.h"
#include "measure/desktop/ApplicationProcess.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"
#include "measure/desktop/MenuOverDBus.h"
#include "measure/desktop/Patience.h"
#include "measure/desktop/XWindows.h"

namespace lightpen {

// The X server, the window manager and the bus on which the tests of a program run the application.
struct ApplicationStage {
    ApplicationStage() : ApplicationStage(kWidth, kHeight) {
        manager = std::make_unique<WindowManager>(server.display());
    }
    // Of this size, without a window manager.
    ApplicationStage(int width, int height) : server(std::to_string(width) + "x" + std::to_string(height)) {
        server.enter();
        bus.enter();
    }

    static constexpr int kWidth = 1024;
    static constexpr int kHeight = 768;
    const Xvfb server;
    const PrivateBus bus;
    std::unique_ptr<WindowManager> manager;
};

inline const ApplicationStage* applicationStage = nullptr;

// A user with a home, who starts the application and uses it from the panel. Several of them may share the
// stage.
class ApplicationDesk {
    const TemporaryDirectory home_;

public:
    // The program is the one in its own folder, unless said otherwise.
    explicit ApplicationDesk(const std::string& file = LIGHTPEN_EMULATED) : program(file) {
        // Whatever the application has opened by another program is written down.
        std::filesystem::create_directory(home_.file("bin"));
        const std::string opener = home_.file("bin/xdg-open");
        writeFile(opener, "#!/bin/sh\nprintf '%s\\n' \"$1\" >>'" + home_.file("opened") + "'\n");
        std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    }

    // Before the start: a setting that the user has, as text.
    void set(const std::string& key, const std::string& value) {
        QSettings(settingsFile(), QSettings::IniFormat)
            .setValue(QString::fromStdString(key), QString::fromStdString(value));
    }
    // A setting as it is stored now; empty for none.
    std::string stored(const std::string& key) const {
        return QSettings(settingsFile(), QSettings::IniFormat)
            .value(QString::fromStdString(key))
            .toString()
            .toStdString();
    }
    // What the application has had opened, a line each.
    std::string opened() const { return readFile(home_.file("opened")); }

    testing::AssertionResult start(const std::vector<std::string>& options = {},
                                   const std::map<std::string, std::string>& environment = {}) {
        std::vector<std::string> arguments{"--commands", "--xtest"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        auto all = environment;
        all.merge(ownEnvironment());
        const std::string problem = program.start(arguments, all);
        return problem.empty() ? testing::AssertionSuccess() : testing::AssertionFailure() << problem;
    }
    // Whether the application's item comes into the panel; then it is the one whose menu is read.
    testing::AssertionResult itemComes(const FakeStatusNotifierWatcher& watcher) {
        menu.reset();
        const bool came = comesTrue([&] { return findItem(watcher) || !program.running(); }) && menu;
        return came ? testing::AssertionSuccess()
                    : testing::AssertionFailure() << "no item; the log:\n"
                                                  << program.log();
    }
    // The labels right below the menu's root, or below the entries to which the labels lead.
    std::vector<std::string> labels(const std::vector<std::string>& way = {}) {
        const auto root = menu->layout();
        const MenuEntry* entry = root ? &*root : nullptr;
        for (const std::string& label : way)
            entry = entry ? entry->child(label) : nullptr;
        return entry ? entry->labels() : std::vector<std::string>{"there is no such menu"};
    }
    // Whether the menu comes to have these labels.
    testing::AssertionResult showsMenu(const std::vector<std::string>& wanted) {
        std::vector<std::string> last;
        if (comesTrue([&] { return (last = labels()) == wanted; }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << testing::PrintToString(last) << "; the log:\n" << program.log();
    }
    // Performs commands for the unit, one after the other.
    testing::AssertionResult performs(const std::vector<std::string>& commands) {
        for (const std::string& command : commands)
            if (!program.perform(command))
                return testing::AssertionFailure() << command << "; the log:\n" << program.log();
        return testing::AssertionSuccess();
    }
    // Clicks the entry to which these labels lead; whether the setting then comes to have this value.
    testing::AssertionResult clickStores(const std::vector<std::string>& way, const std::string& key,
                                         const std::string& value) {
        if (!menu->click(way))
            return testing::AssertionFailure() << "there is no " << testing::PrintToString(way);
        if (comesTrue([&] { return stored(key) == value; }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "stored is \"" << stored(key) << '"';
    }
    // Clicks the entry that ends the program and waits for that; its exit status. An answer to the click may
    // come too late.
    std::optional<int> exitBy(const std::string& label) {
        menu->click(std::vector<std::string>{label});
        return program.waitForEnd();
    }
    std::vector<ShownWindow> windows() { return screen.shown(program.processId()); }
    // The application's window that fulfils the condition; none when no such one is shown.
    template <class Condition>
    std::optional<ShownWindow> window(Condition condition) {
        const auto all = windows();
        const auto found = std::find_if(all.begin(), all.end(), condition);
        return found == all.end() ? std::nullopt : std::optional(*found);
    }
    std::optional<ShownWindow> windowTitled(const std::string& title) {
        return window([&](const ShownWindow& one) { return one.title == title; });
    }
    // The one that covers the whole screen, as a calibration does.
    std::optional<ShownWindow> coveringWindow() {
        return window([](const ShownWindow& one) {
            return one.x == 0 && one.y == 0 && one.width == ApplicationStage::kWidth &&
                   one.height == ApplicationStage::kHeight;
        });
    }

    ApplicationProcess program;
    std::unique_ptr<MenuOverDBus> menu;
    XWindows screen{applicationStage->server.display()};

private:
    QString settingsFile() const {
        return QString::fromStdString(home_.file("config/LightPenNX7-emulated/settings.ini"));
    }
    std::map<std::string, std::string> ownEnvironment() const {
        const char* const path = std::getenv("PATH");
        auto environment = environmentOf(home_.path());
        environment["XDG_CURRENT_DESKTOP"] = "";
        environment["PATH"] = home_.file("bin") + ":" + (path ? path : "/usr/bin:/bin");
        return environment;
    }
    bool findItem(const FakeStatusNotifierWatcher& watcher) {
        if (const auto item = watcher.itemOf(program.processId()))
            menu = std::make_unique<MenuOverDBus>(applicationStage->bus.address(), item->service, item->path);
        return menu != nullptr;
    }
};

// The main function of a test on the stage, of the usual size or of this one. The kind of the test's own
// application object is Qt's.
template <class Application = QApplication, class... Size>
int runOnApplicationStage(int argc, char** argv, Size... size) {
    testing::InitGoogleTest(&argc, argv);
    const ApplicationStage stage(size...);
    applicationStage = &stage;
    const Application application(argc, argv);
    return RUN_ALL_TESTS();
}

} // namespace lightpen
