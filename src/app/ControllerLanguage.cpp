// SPDX-License-Identifier: MIT
// The language of the menus: its choice, its texts and its help.
#include <QAction>

#include "app/DefaultsReading.h"
#include "app/LanguageChoice.h"
#include "app/LightPenNX7Controller.h"
#include "app/MenuItems.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

std::string LightPenNX7Controller::choosePreferredLanguage() const {
    if (const auto chosen = storedText(kLocaleIdentifierKey))
        return chooseIdentifier(*chosen);
    const auto preferred = Platform::current().shell.locales.preferredLanguages();
    return chooseIdentifier(preferred.empty() ? std::string() : preferred.front());
}

void LightPenNX7Controller::loadLanguage(const std::string& identifier, MenuMode menuMode) {
    const Bundle& bundle = Platform::current().shell.bundle;
    if (languageDict.entries.empty())
        languageDict =
            bundle.dictionaryWithContentsOfResource("Language", "plist").value_or(PropertyListDictionary());
    logLine("Light n:384 %s modeMenu:%d", identifier.c_str(), static_cast<int>(menuMode));
    stringDict = {};
    if (const auto key = languageKeyOf(identifier))
        stringDict =
            bundle.dictionaryWithContentsOfResource(*key, "strings").value_or(PropertyListDictionary());
}

std::optional<std::string> LightPenNX7Controller::languageKeyOf(const std::string& identifier) const {
    if (const std::string* key = firstKeyFor(languageDict, identifier))
        return *key;
    logLine("Range error in LightPenNX7Controller %p constructMenu: Language.plist has no language for the "
            "identifier \"%s\"%s",
            static_cast<const void*>(this), identifier.c_str(),
            storedText(kLocaleIdentifierKey) == identifier ? " (chosen by \"Language\" in the settings)"
                                                           : "");
    Platform::current().runLoop.exitProcess(EXIT_FAILURE);
    return std::nullopt;
}

void LightPenNX7Controller::loadLanguages() {
    if (!languages.empty())
        return;
    const auto list = Platform::current().shell.bundle.objectForInfoDictionaryKey("Supported Language");
    if (const auto* keys = list ? list->as<PropertyListArray>() : nullptr)
        for (const PropertyListValue& key : *keys)
            if (const auto* text = key.as<std::string>())
                languages.push_back(*text);
    if (languages.empty())
        logLine("Application: Info.plist has no list \"Supported Language\"; no language can be chosen");
}

void LightPenNX7Controller::switchLanguage(const QAction& sender) {
    logLine("Light n:751 switchLanguage : %s", describe(sender).c_str());
    const std::string title = titleOf(sender);
    const std::string* key = firstKeyFor(stringDict, title);
    const std::string* identifier = key ? textFor(languageDict, *key) : nullptr;
    if (identifier)
        Platform::current().defaults.setObject(kLocaleIdentifierKey, *identifier);
    else
        logLine("Application: no language is called \"%s\"", title.c_str());
}

void LightPenNX7Controller::resetLanguageSetting() {
    logLine("Light n:111 ");
    Platform::current().defaults.removeObjectForKey(kLocaleIdentifierKey);
}

void LightPenNX7Controller::help() {
    const auto chosen = storedText(kLocaleIdentifierKey);
    logLine("Light n:118 [[NSUserDefaults standardUserDefaults] objectForKey:kLocaleIdentifierKey]: %s",
            chosen ? chosen->c_str() : "(null)");
    const std::string_view name = helpDocumentFor(chosen);
    ApplicationShell& shell = Platform::current().shell;
    if (const auto path = shell.bundle.pathForResource(name, "htm"))
        shell.workspace.openFile(*path);
    else
        logLine("Application: the help document %.*s.htm is missing", static_cast<int>(name.size()),
                name.data());
}

} // namespace lightpen
