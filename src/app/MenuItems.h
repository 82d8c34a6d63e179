// SPDX-License-Identifier: MIT
// Small questions about menu items. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <QString>

#include "platform/PropertyList.h"

class QAction;

namespace lightpen {

// What a log line calls the item: its class and its address.
std::string describe(const QAction& item);

// The item text that shows this title. They differ, since Qt takes a single "&" for the mark of a short cut.
QString itemText(const QString& title);

// The title of an item whose text itemText() made.
std::string titleOf(const QAction& item);

// The number at this index, without its fraction; empty when there is no number at it.
std::optional<std::int64_t> integerAt(const PropertyListArray& list, int index);

} // namespace lightpen
