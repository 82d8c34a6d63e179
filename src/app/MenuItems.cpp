// SPDX-License-Identifier: MIT
#include "app/MenuItems.h"

#include <cmath>

#include <QAction>

namespace lightpen {

namespace {

// Beyond these a double has no integer of 64 bits.
constexpr double kIntegerLimit = 9.0e18;

} // namespace

std::string describe(const QAction& item) {
    return QString::asprintf("<QAction: %p>", static_cast<const void*>(&item)).toStdString();
}

QString itemText(const QString& title) {
    return QString(title).replace('&', "&&");
}

std::string titleOf(const QAction& item) {
    return item.text().replace("&&", "&").toStdString();
}

std::optional<std::int64_t> integerAt(const PropertyListArray& list, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= list.size())
        return std::nullopt;
    const PropertyListValue& value = list[static_cast<std::size_t>(index)];
    if (const auto* integer = value.as<std::int64_t>())
        return *integer;
    const auto* number = value.as<double>();
    if (!number || !(std::abs(*number) < kIntegerLimit))
        return std::nullopt;
    return static_cast<std::int64_t>(*number);
}

} // namespace lightpen
