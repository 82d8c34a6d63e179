// SPDX-License-Identifier: MIT
// The preview picture and the light test.
#include "device/EventGeneratorNX7.h"

namespace lightpen {

// The light test is not there yet: no unit is taken to see stray light.
int EventGeneratorNX7::StrayLightDetecting() {
    return 0;
}

// Pictures are not fetched yet: the reports stay in their queue, which loses its oldest ones.
void EventGeneratorNX7::imageReportReceived(IOReturn, IOHIDQueueInterface&) {}

} // namespace lightpen
