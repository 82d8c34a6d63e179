// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/ScreenCover.h"

#include <utility>

#include <QGuiApplication>

#include "linux_desktop/process/UserSession.h"
#include "platform/Log.h"
#include "platform/SystemUI.h"

namespace lightpen {

ScreenCover::ScreenCover(const UserSession& session, NotificationCenter& notifications)
    : session_(session), notifications_(notifications) {
    soon_.setSingleShot(true);
    QObject::connect(&soon_, &QTimer::timeout, &soon_, [this] { update(); });
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        lockers_ = XLockers::connect([this] { update(); });
    isCovered();
}

// Whoever asks may be in the middle of showing something, so he is not told on the way.
bool ScreenCover::isCovered() {
    const bool covered = session_.isCovered() || (lockers_ && lockers_->cover());
    if (covered != told_)
        soon_.start();
    return covered;
}

void ScreenCover::update() {
    const bool covered = isCovered();
    soon_.stop();
    if (std::exchange(told_, covered) == covered)
        return;
    logLine("Session: the screen is %s", covered ? "covered" : "the user's again");
    notifications_.post({std::string(covered ? kScreenWasCovered : kScreenWasUncovered)});
}

} // namespace lightpen
