// SPDX-License-Identifier: MIT
#include "device/Exchange.h"

namespace lightpen {

std::optional<IOHIDEventStruct> ReplyQueue::next() const {
    const RunLoop& loop = Platform::current().runLoop;
    IOHIDEventStruct event;
    for (int look = 0; queue; ++look) {
        if (looks == kUntilItComes ? loop.terminating() : look == looks)
            break;
        const IOReturn result = queue->getNextEvent(event, 0, 0);
        if (result == kIOReturnSuccess)
            return event;
        if (result != kIOReturnUnderrun)
            logFailure(static_cast<unsigned>(result));
        if (looks == kUntilItComes)
            Platform::current().clock.sleep(kTurnPause);
    }
    return std::nullopt;
}

} // namespace lightpen
