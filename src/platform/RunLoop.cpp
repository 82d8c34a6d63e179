// SPDX-License-Identifier: MIT
#include "platform/RunLoop.h"

namespace lightpen {

void RunLoopSource::signal() {
    RunLoop* loop = loop_.load(std::memory_order_acquire);
    if (!loop)
        return;
    // A source that is dropped meanwhile is not performed any more.
    loop->performOnMainThread({this, "RunLoopSource", {}, [weak = weak_from_this()] {
                                   if (const auto source = weak.lock())
                                       source->perform_();
                               }});
}

} // namespace lightpen
