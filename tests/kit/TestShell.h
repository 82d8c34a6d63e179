// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/ApplicationShell.h"

namespace lightpen {

// An application folder in memory. A resource "name.type" is a file at "/bundle/resources/name.type", or at
// another place where a test puts a real one.
class MemoryBundle final : public Bundle {
public:
    std::string executablePath() const override { return path + "/LightPenNX7"; }
    std::optional<std::string> bundleIdentifier() const override { return identifier; }
    std::optional<std::string> bundleIdentifierAtPath(const std::string& other) const override {
        const auto found = others.find(other);
        return found == others.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<PropertyListValue> objectForInfoDictionaryKey(std::string_view key) const override {
        const PropertyListValue* found = information.find(key);
        return found ? std::optional(*found) : std::nullopt;
    }
    std::optional<std::string> pathForResource(std::string_view name, std::string_view type) const override {
        const auto found = files.find(fileName(name, type));
        return found == files.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<PropertyListDictionary>
    dictionaryWithContentsOfResource(std::string_view name, std::string_view type) const override {
        asked.push_back(fileName(name, type));
        const auto found = dictionaries.find(asked.back());
        return found == dictionaries.end() ? std::nullopt : std::optional(found->second);
    }
    std::string localizedStringForKey(std::string_view key) const override { return std::string(key); }

    std::string path = "/opt/LightPenNX7";
    std::optional<std::string> identifier = "org.lightpen.LightPenNX7";
    std::map<std::string, std::string> others; // path to identifier
    PropertyListDictionary information;
    std::map<std::string, std::string> files; // "name.type" to path
    std::map<std::string, PropertyListDictionary> dictionaries;
    mutable std::vector<std::string> asked; // the dictionaries that were asked for

private:
    static std::string fileName(std::string_view name, std::string_view type) {
        return std::string(name) + '.' + std::string(type);
    }
};

class FixedLocales final : public Locales {
public:
    std::vector<std::string> preferredLanguages() const override { return languages; }
    std::vector<std::string> languages{"en"};
};

// Keeps the list, and what was stored when.
class MemoryLoginItems final : public LoginItems {
public:
    std::optional<std::vector<LoginItem>> copyValue() const override { return stored; }
    void setValue(std::vector<LoginItem> list) override { set = std::move(list); }
    bool synchronize() override {
        ++synchronizations;
        if (writable)
            stored = set;
        return writable;
    }
    std::optional<std::vector<LoginItem>> stored;
    std::vector<LoginItem> set;
    int synchronizations = 0;
    bool writable = true;
};

// A panel that comes when the test says so.
class ManualStatusBar final : public StatusBar {
public:
    void whenAvailable(std::function<void()> handler) override {
        if (there)
            handler();
        else
            waiting.push_back(std::move(handler));
    }
    void come() {
        there = true;
        for (const auto& handler : std::exchange(waiting, {}))
            handler();
    }
    bool there = false;
    std::vector<std::function<void()>> waiting;
};

// Keeps what was opened.
class RecordingWorkspace final : public Workspace {
public:
    bool openFile(const std::string& path) override {
        opened.push_back(path);
        return true;
    }
    std::vector<std::string> opened;
};

// Keeps what was shown; a test chooses an action by its label.
class RecordingNotices final : public UserNotices {
public:
    void show(UserNotice notice) override { shown.push_back(std::move(notice)); }
    // Of the last notice.
    std::vector<std::string> labels() const {
        std::vector<std::string> labels;
        for (const auto& action : shown.back().actions)
            labels.push_back(action.label);
        return labels;
    }
    std::vector<UserNotice> shown;
};

// A shell of doubles.
struct TestShell {
    MemoryBundle bundle;
    FixedLocales locales;
    MemoryLoginItems loginItems;
    ManualStatusBar statusBar;
    RecordingWorkspace workspace;
    RecordingNotices notices;
    UnitAccess unitAccess;
    ApplicationShell shell{bundle, locales, loginItems, statusBar, workspace, notices, unitAccess};
};

} // namespace lightpen
