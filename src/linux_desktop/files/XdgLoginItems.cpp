// SPDX-License-Identifier: MIT
#include "linux_desktop/files/XdgLoginItems.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <tuple>
#include <utility>

#include <QByteArray>

#include "linux_desktop/files/DesktopEntry.h"
#include "linux_desktop/files/PlainFile.h"
#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// The keys of our own. "Path" alone would be the folder in which the program runs.
constexpr const char* kPath = "X-LightPenNX7-Path";
constexpr const char* kHide = "X-LightPenNX7-Hide";
constexpr const char* kIdentifier = "X-LightPenNX7-Identifier";
constexpr const char* kOrder = "X-LightPenNX7-Order";
// Below the greatest numbers, so that there is always a next one.
constexpr std::int64_t kHighestOrder = 1'000'000'000;

constexpr const char* kFileStem = "org.lightpen.LightPenNX7";
constexpr std::string_view kSuffix = ".desktop";
// Far above any entry, in bytes.
constexpr std::size_t kLargest = 64 * 1024;
constexpr int kMostNames = 100;

// What a new entry has beside the keys that follow from its item: each desktop's way to start it when the
// panel is there. Phases of GNOME's are none of them: systemd leaves entries that name one alone.
constexpr std::pair<const char*, const char*> kStandardKeys[] = {
    {"Name", "LightPenNX7"},
    {"Icon", kFileStem},
    {"Terminal", "false"},
    {"X-GNOME-Autostart-enabled", "true"},
    {"X-KDE-autostart-after", "panel"},
    {"X-LXQt-Need-Tray", "true"},
};

DesktopEntry newEntry() {
    DesktopEntry entry;
    for (const auto& [key, value] : kStandardKeys)
        entry.set(key, value);
    return entry;
}

std::optional<DesktopEntry> readEntry(const std::string& path) {
    const auto text = readPlainFile(path, kLargest + 1, Links::refused);
    return text && text->size() <= kLargest ? DesktopEntry::parse(*text) : std::nullopt;
}

std::int64_t orderIn(const DesktopEntry& entry) {
    const qlonglong order = QByteArray::fromStdString(entry.value(kOrder).value_or("")).toLongLong();
    return order > 0 && order <= kHighestOrder ? order : 0;
}

// Who still finds the entry when the program is gone must not try to start it.
bool setPath(DesktopEntry& entry, const std::string& path) {
    return !path.empty() && entry.set(kPath, path) && entry.set("TryExec", path) &&
           entry.set("Exec", commandLineOf(path));
}

// An entry that only keeps the system's of the same name from being started: ours, and for no path.
DesktopEntry hidingEntry() {
    DesktopEntry entry = newEntry();
    entry.set("Hidden", "true");
    entry.set(kPath, "");
    return entry;
}

bool isHidingEntry(const std::string& path) {
    const auto entry = readEntry(path);
    return entry && entry->value(kPath) == "" && entry->value("Hidden") == "true";
}

} // namespace

struct XdgLoginItems::Stored {
    DesktopEntry entry;
    LoginItem item;
    std::int64_t order; // 0 where there is none
};

// The item in this file; none when it is no entry of ours.
std::optional<XdgLoginItems::Stored> XdgLoginItems::storedIn(const std::filesystem::path& file) {
    const std::string name = file.filename().string();
    const auto entry = name.ends_with(kSuffix) ? readEntry(file.string()) : std::nullopt;
    const std::string path = entry ? entry->value(kPath).value_or("") : "";
    if (path.empty())
        return std::nullopt;
    LoginItem item{path, entry->value(kHide) == "true", name, entry->value(kIdentifier)};
    if (item.identifier == "")
        item.identifier.reset();
    return Stored{*entry, std::move(item), orderIn(*entry)};
}

// In the order of the list. None (with errno set) when the user's folder cannot be read; one of the system's
// then counts as empty.
std::optional<std::vector<XdgLoginItems::Stored>> XdgLoginItems::stored() const {
    std::vector<Stored> result;
    std::set<std::string> names;
    const auto add = [&](const std::string& folder) {
        std::error_code error;
        std::filesystem::directory_iterator place(folder, error);
        for (; !error && place != std::filesystem::directory_iterator(); place.increment(error))
            if (names.insert(place->path().filename().string()).second)
                if (auto one = storedIn(place->path()))
                    result.push_back(*std::move(one));
        return error;
    };
    if (const auto error = add(folder_); error && error != std::errc::no_such_file_or_directory) {
        errno = error.value();
        return std::nullopt;
    }
    for (const std::string& folder : systemFolders_)
        add(folder);
    std::sort(result.begin(), result.end(), [](const Stored& a, const Stored& b) {
        return std::tie(a.order, a.item.origin) < std::tie(b.order, b.item.origin);
    });
    return result;
}

std::optional<std::vector<LoginItem>> XdgLoginItems::copyValue() const {
    seen_.clear();
    const auto all = stored();
    if (!all || all->empty())
        return std::nullopt;
    std::vector<LoginItem> list;
    for (const Stored& one : *all) {
        list.push_back(one.item);
        seen_.insert(one.item.origin);
    }
    return list;
}

void XdgLoginItems::setValue(std::vector<LoginItem> list) {
    list_ = std::move(list);
}

// A name that nothing in the folder has, or nothing but what hides the system's; empty when there is none.
std::string XdgLoginItems::freeName() const {
    for (int number = 1; number <= kMostNames; ++number) {
        std::string name =
            kFileStem + (number == 1 ? "" : '-' + std::to_string(number)) + std::string(kSuffix);
        std::error_code error;
        if (std::filesystem::symlink_status(file(name), error).type() ==
                std::filesystem::file_type::not_found ||
            isHidingEntry(file(name)))
            return name;
    }
    logLine("Login items: no file name is left in %s", folder_.c_str());
    return {};
}

// Leaves alone what has not changed.
bool XdgLoginItems::store(const LoginItem& item, std::int64_t order, const Stored* before) const {
    if (before && before->item == item && before->order == order)
        return true;
    DesktopEntry entry = before ? before->entry : newEntry();
    const std::string name = before ? item.origin : freeName();
    if (name.empty())
        return false;
    if ((!before || item.path != before->item.path) && !setPath(entry, item.path)) {
        logLine("Login items: no entry can hold the path \"%s\"", item.path.c_str());
        return false;
    }
    entry.set(kHide, item.hide ? "true" : "false");
    if (item.identifier || entry.value(kIdentifier))
        entry.set(kIdentifier, item.identifier.value_or(""));
    entry.set(kOrder, std::to_string(order));
    return replacePlainFile(file(name), entry.text());
}

bool XdgLoginItems::isOfTheSystem(const std::string& name) const {
    return std::ranges::any_of(systemFolders_, [&](const std::string& folder) {
        return storedIn(std::filesystem::path(folder) / name).has_value();
    });
}

bool XdgLoginItems::remove(const std::string& name) const {
    if (isOfTheSystem(name))
        return replacePlainFile(file(name), hidingEntry().text());
    if (::unlink(file(name).c_str()) == 0 || errno == ENOENT)
        return true;
    logLine("Login items: %s cannot be removed: %s", file(name).c_str(), errorText(errno).c_str());
    return false;
}

bool XdgLoginItems::synchronize() {
    const auto list = std::exchange(list_, std::nullopt);
    if (!list)
        return true;
    const auto present = stored();
    if (!present) {
        logLine("Login items: %s cannot be read: %s", folder_.c_str(), errorText(errno).c_str());
        return false;
    }
    std::set<std::string> kept;
    std::int64_t last = 0;
    for (const LoginItem& item : *list) {
        const auto found = std::find_if(present->begin(), present->end(), [&](const Stored& one) {
            return !item.origin.empty() && one.item.origin == item.origin;
        });
        const bool isNew = item.origin.empty();
        if (!isNew && (found == present->end() || !kept.insert(item.origin).second))
            continue;
        last = isNew ? last + 1 : std::max(found->order, last + 1);
        if (!store(item, last, isNew ? nullptr : &*found))
            return false; // with what there was still in place
    }
    bool removed = true;
    for (const Stored& one : *present)
        if (seen_.contains(one.item.origin) && !kept.contains(one.item.origin))
            removed = remove(one.item.origin) && removed;
    return removed;
}

} // namespace lightpen
