// SPDX-License-Identifier: MIT
// Any bytes as a desktop entry and as a value of one: what is accepted comes back as it was.
#include <cstdint>
#include <string_view>

#include "kit/AnyBytes.h"
#include "linux_desktop/files/DesktopEntry.h"

namespace {

using lightpen::require;

void checkEntry(lightpen::DesktopEntry entry, std::string_view value) {
    const auto before = entry.value("Exec");
    if (!entry.set("Exec", value)) {
        require(entry.value("Exec") == before);
        return;
    }
    require(entry.value("Exec") == value);
    const auto reread = lightpen::DesktopEntry::parse(entry.text());
    require(reread && reread->value("Exec") == value && reread->text() == entry.text());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto entry = lightpen::DesktopEntry::parse(text)) {
        const auto reread = lightpen::DesktopEntry::parse(entry->text());
        require(reread && reread->text() == entry->text() && reread->value("Exec") == entry->value("Exec"));
        checkEntry(*entry, "a value");
    }
    checkEntry({}, text);
    return 0;
}
