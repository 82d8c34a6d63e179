// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "kit/resources/ResourceFiles.h"
#include "measure/desktop/MenuOverDBus.h"

namespace lightpen {

// What stands in the application's menu, by the tables of texts that are shipped.
using Labels = std::vector<std::string>;

// The table of the language; read once.
inline StringTable tableOf(const std::string& language) {
    static std::map<std::string, StringTable> known;
    const auto [place, fresh] = known.try_emplace(language);
    if (fresh)
        place->second = shippedTable(language);
    return place->second;
}

// The texts of these keys in the language; "-" stays.
inline Labels texts(const std::string& language, const Labels& keys) {
    const StringTable table = tableOf(language);
    Labels labels;
    for (const std::string& key : keys)
        labels.push_back(key == "-" ? key : textOf(table, key));
    return labels;
}

// The menu with a unit, and without one.
inline Labels fullMenu(const std::string& language) {
    return texts(language,
                 {"Calibration", "Projection Distance", "Language", "-", "Help", "About...", "Exit"});
}

inline Labels exitMenu(const std::string& language) {
    return texts(language, {"Exit"});
}

// Those right below the entry that have a check mark.
inline Labels checkedBelow(const MenuEntry& root, const std::string& label) {
    Labels checked;
    const MenuEntry* const entry = root.child(label);
    for (const MenuEntry& child : entry ? entry->children : std::vector<MenuEntry>{})
        if (child.checked.value_or(false))
            checked.push_back(child.label);
    return checked;
}

// Whether everything that can be clicked is enabled and seen, from the entry on.
inline bool allUsable(const MenuEntry& entry) {
    return entry.enabled && entry.visible &&
           std::all_of(entry.children.begin(), entry.children.end(), allUsable);
}

} // namespace lightpen
