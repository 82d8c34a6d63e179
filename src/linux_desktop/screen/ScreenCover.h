// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <QTimer>

#include "linux_desktop/screen/XLockers.h"
#include "platform/Notifications.h"

namespace lightpen {

class UserSession;

// Whether the screen is covered, by what the user's session tells and, under X11, by what is on the screen.
// Tells when it changes (kScreenWasCovered, kScreenWasUncovered). Made after the application object, on its
// thread.
class ScreenCover {
public:
    // Both outlive this object. A screen that is covered already is told of when the loop runs.
    ScreenCover(const UserSession& session, NotificationCenter& notifications);

    // As it is now, whether it was told or not.
    bool isCovered();
    // Tells what has changed since it last told; whoever changes the session calls it.
    void update();

private:
    const UserSession& session_;
    NotificationCenter& notifications_;
    bool told_ = false;
    QTimer soon_;
    std::unique_ptr<XLockers> lockers_; // none elsewhere than under X11
};

} // namespace lightpen
