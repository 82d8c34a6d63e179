// SPDX-License-Identifier: MIT
#include "app/home/ScreenNames.h"

#include <algorithm>

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>

#include "app/home/CalibrationWillBegin.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr const char* kHide = "hideScreenNames";
constexpr int kNameShare = 12; // of the screen's height: the letters of its name

// No client places its windows under Wayland, but each may fill a screen.
std::unique_ptr<QWidget> nameOn(QScreen& screen) {
    auto label = std::make_unique<QLabel>(screen.name());
    label->setObjectName("ScreenName");
    label->setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput);
    label->setAttribute(Qt::WA_ShowWithoutActivating);
    label->setAlignment(Qt::AlignCenter);
    label->setTextFormat(Qt::PlainText);
    label->setAutoFillBackground(true);
    QFont large = label->font();
    large.setPixelSize(std::max(1, screen.size().height() / kNameShare));
    label->setFont(large);
    label->setScreen(&screen);
    label->setGeometry(screen.geometry());
    label->showFullScreen();
    return label;
}

} // namespace

ScreenNames::ScreenNames() {
    NotificationCenter& notifications = Platform::current().notifications;
    for (const std::string_view end : {kScreenWasCovered, kScreensDidChange, kCalibrationWillBegin})
        notifications.addObserver(this, end, nullptr, [this](const Notification&) { hide(); });
}

ScreenNames::~ScreenNames() {
    hide();
    Platform::current().notifications.removeObserver(this);
}

void ScreenNames::show() {
    hide();
    Platform& platform = Platform::current();
    if (platform.systemUI.isScreenCovered())
        return;
    for (QScreen* screen : QGuiApplication::screens())
        if (!screen->geometry().isEmpty())
            windows_.push_back(nameOn(*screen));
    platform.runLoop.performAfterDelay({this, kHide, {}, [this] { hide(); }}, kTime);
}

void ScreenNames::hide() {
    Platform::current().runLoop.cancelPreviousPerformRequests(this, kHide, {});
    windows_.clear();
}

} // namespace lightpen
