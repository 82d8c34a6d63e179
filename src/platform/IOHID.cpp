// SPDX-License-Identifier: MIT
#include "platform/IOHID.h"

#include <algorithm>

namespace lightpen {

IOHIDEventStruct inputReportEvent(IOHIDElementCookie cookie, std::span<const std::uint8_t> report,
                                  std::size_t declaredLength, std::uint64_t timestamp) {
    IOHIDEventStruct event;
    event.elementCookie = cookie;
    event.timestamp = timestamp;
    event.longValueSize = static_cast<std::uint32_t>(declaredLength);
    event.longValue.resize(std::max(declaredLength, kReadableReportBytes));
    std::copy_n(report.begin(), std::min(report.size(), declaredLength), event.longValue.begin());
    return event;
}

} // namespace lightpen
