// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Bundle.h"

namespace lightpen {

// The application's folder on disk: "Info.plist" in it, everything else in its folder "resources". It can be
// put anywhere. Main thread.
class ApplicationBundle final : public Bundle {
public:
    // The languages, the preferred one first, decide where localizedStringForKey() looks. The program is the
    // name of the application's file in the folder.
    ApplicationBundle(std::filesystem::path folder, std::function<std::vector<std::string>()> languages,
                      std::string program = "LightPenNX7");
    // Where the running program's own file is; empty when the system does not say.
    static std::filesystem::path folderOfTheProgram();
    // The folder "resources" in it. Both: any thread.
    static std::filesystem::path resourcesOfTheProgram();

    std::string executablePath() const override;
    std::optional<std::string> bundleIdentifier() const override;
    std::optional<std::string> bundleIdentifierAtPath(const std::string& path) const override;
    std::optional<PropertyListValue> objectForInfoDictionaryKey(std::string_view key) const override;
    std::optional<std::string> pathForResource(std::string_view name, std::string_view type) const override;
    std::optional<PropertyListDictionary>
    dictionaryWithContentsOfResource(std::string_view name, std::string_view type) const override;
    std::string localizedStringForKey(std::string_view key) const override;

private:
    std::filesystem::path resource(std::string_view name, std::string_view type) const;
    const PropertyListDictionary& information() const;

    const std::filesystem::path folder_;
    const std::function<std::vector<std::string>()> languages_;
    const std::string program_;
    mutable std::optional<PropertyListDictionary> information_; // read once, also when there is none
};

} // namespace lightpen
