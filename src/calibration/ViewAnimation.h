// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "platform/Geometry.h"
#include "platform/Time.h"

namespace lightpen {

// Moves a view from one place to another, evenly in time, on the main loop. It keeps itself alive while it
// runs. Main thread.
class ViewAnimation final : public std::enable_shared_from_this<ViewAnimation> {
public:
    // How to move the view, and from where to where.
    struct Description {
        std::function<void(WindowPoint)> setFrameOrigin;
        WindowPoint start;
        WindowPoint end;
    };
    using EndHandler = std::function<void(const ViewAnimation&)>;

    // The handler is called once, when the view has reached its end; never after stop().
    ViewAnimation(Description description, Microseconds duration, EndHandler animationDidEnd);

    // Begins now. Does nothing while it runs.
    void startAnimation();
    // Leaves the view where it is.
    void stopAnimation();

private:
    void progress();
    void scheduleProgress(Microseconds elapsed);

    const Description description_;
    const Microseconds duration_;
    const EndHandler animationDidEnd_;
    Microseconds start_{};
    bool animating_ = false;
};

} // namespace lightpen
