// SPDX-License-Identifier: MIT
// Any bytes as the settings file, and as a setting: what is read has the type it must have, and what is
// written comes back and leaves the rest as it was.
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include <QString>

#include "kit/AnyBytes.h"
#include "kit/TemporaryDirectory.h"
#include "linux_desktop/files/XdgDefaults.h"
#include "platform/Log.h"

namespace {

using namespace lightpen;
using Values = std::map<std::string, DefaultsValue, std::less<>>;

struct DroppedLog final : LogSink {
    void logLine(std::string_view) override {}
    void standardOutput(std::string_view) override {}
};

const Values kRegistered{
    {"Flag", true}, {"Whole", std::int64_t{7}}, {"Fraction", 2.5}, {"Text", std::string("en")}};

XdgDefaults readAnew(const std::string& file) {
    XdgDefaults defaults(file);
    defaults.registerDefaults(kRegistered);
    return defaults;
}

void checkTypes(const XdgDefaults& defaults) {
    for (const auto& [key, registered] : kRegistered)
        require(defaults.objectForKey(key).value().index() == registered.index());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryDirectory folder;
    static DroppedLog log;
    setLogSink(&log);
    const std::string file = folder.file("settings.ini");
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    writeFile(file, bytes);
    XdgDefaults defaults = readAnew(file);
    checkTypes(defaults);
    // A text with that in its middle is not told from a value that begins so.
    if (bytes.find("@Variant(") != std::string::npos || bytes.find("@DateTime(") != std::string::npos)
        return 0;
    const std::string text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(size)).toStdString();
    require(defaults.setObject("Text", text));
    const XdgDefaults again = readAnew(file);
    checkTypes(again);
    require(again.objectForKey("Text") == DefaultsValue(text));
    for (const char* other : {"Flag", "Whole", "Fraction"})
        require(again.objectForKey(other) == defaults.objectForKey(other));
    return 0;
}
