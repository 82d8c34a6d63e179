// SPDX-License-Identifier: MIT
#include "linux_desktop/files/ApplicationBundle.h"

#include <system_error>
#include <utility>

#include "linux_desktop/files/PropertyListReader.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr const char* kInformation = "Info.plist";
constexpr const char* kResources = "resources";
constexpr std::string_view kIdentifier = "CFBundleIdentifier";

std::optional<std::string> identifierIn(const PropertyListDictionary& information) {
    const PropertyListValue* value = information.find(kIdentifier);
    const auto* text = value ? value->as<std::string>() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

bool isFile(const std::filesystem::path& path) {
    std::error_code unknown;
    return std::filesystem::is_regular_file(path, unknown);
}

std::optional<PropertyListDictionary> readLogged(const std::filesystem::path& path) {
    PropertyListResult result = readPropertyList(path.string());
    if (!result.dictionary)
        logLine("Application: %s", result.error.c_str());
    return std::move(result.dictionary);
}

} // namespace

ApplicationBundle::ApplicationBundle(std::filesystem::path folder,
                                     std::function<std::vector<std::string>()> languages, std::string program)
    : folder_(std::move(folder)), languages_(std::move(languages)), program_(std::move(program)) {}

std::filesystem::path ApplicationBundle::folderOfTheProgram() {
    std::error_code unknown;
    return std::filesystem::read_symlink("/proc/self/exe", unknown).parent_path();
}

std::filesystem::path ApplicationBundle::resourcesOfTheProgram() {
    const auto folder = folderOfTheProgram();
    return folder.empty() ? folder : folder / kResources;
}

std::string ApplicationBundle::executablePath() const {
    return (folder_ / program_).string();
}

std::optional<std::string> ApplicationBundle::bundleIdentifier() const {
    return identifierIn(information());
}

std::optional<std::string> ApplicationBundle::bundleIdentifierAtPath(const std::string& path) const {
    const std::filesystem::path place = path;
    const auto file = (isFile(place) ? place.parent_path() : place) / kInformation;
    const PropertyListResult result = readPropertyList(file.string());
    return result.dictionary ? identifierIn(*result.dictionary) : std::nullopt;
}

const PropertyListDictionary& ApplicationBundle::information() const {
    if (!information_)
        information_ = readLogged(folder_ / kInformation).value_or(PropertyListDictionary{});
    return *information_;
}

std::optional<PropertyListValue> ApplicationBundle::objectForInfoDictionaryKey(std::string_view key) const {
    const PropertyListValue* value = information().find(key);
    return value ? std::optional(*value) : std::nullopt;
}

std::filesystem::path ApplicationBundle::resource(std::string_view name, std::string_view type) const {
    return folder_ / kResources / (std::string(name) + '.' + std::string(type));
}

std::optional<std::string> ApplicationBundle::pathForResource(std::string_view name,
                                                              std::string_view type) const {
    const auto path = resource(name, type);
    return isFile(path) ? std::optional(path.string()) : std::nullopt;
}

std::optional<PropertyListDictionary>
ApplicationBundle::dictionaryWithContentsOfResource(std::string_view name, std::string_view type) const {
    return readLogged(resource(name, type));
}

std::string ApplicationBundle::localizedStringForKey(std::string_view key) const {
    for (const std::string& language : languages_()) {
        const auto path = resource(language + ".lproj/Localizable", "strings");
        if (!isFile(path))
            continue;
        const auto table = readLogged(path);
        const PropertyListValue* value = table ? table->find(key) : nullptr;
        if (const auto* text = value ? value->as<std::string>() : nullptr)
            return *text;
    }
    return std::string(key);
}

} // namespace lightpen
