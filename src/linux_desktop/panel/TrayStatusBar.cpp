// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/TrayStatusBar.h"

#include <utility>

#include <QGuiApplication>
#include <QSocketNotifier>

#include "linux_desktop/panel/ItemIsMenu.h"
#include "linux_desktop/panel/XTray.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

std::unique_ptr<XTray> trayOfTheDisplay() {
    return QGuiApplication::platformName() == QLatin1String("xcb") ? XTray::connect() : nullptr;
}

} // namespace

// Looks out for trays of both kinds. What it calls destroys it, so it calls from the loop and not from
// within.
class TrayStatusBar::Search : public QObject {
public:
    Search(std::function<void()> found, std::chrono::milliseconds patience)
        : found_(std::move(found)), hosts_([this] { callLater(); }, patience), tray_(trayOfTheDisplay()) {
        if (!tray_)
            return;
        notifier_ = std::make_unique<QSocketNotifier>(tray_->descriptor(), QSocketNotifier::Read);
        connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { readTrayNews(); });
    }

    // Whoever comes after the question is noticed too.
    bool thereNow() {
        const bool there = (tray_ && tray_->present()) || hosts_.search();
        if (tray_)
            callLaterFor(*tray_); // a reply may have brought news along, for which nothing becomes readable
        return there;
    }

private:
    void readTrayNews() {
        callLaterFor(*tray_);
        if (!tray_->alive())
            notifier_->setEnabled(false);
    }
    void callLaterFor(XTray& tray) {
        if (tray.arrived())
            callLater();
    }
    void callLater() { QMetaObject::invokeMethod(this, found_, Qt::QueuedConnection); }

    const std::function<void()> found_;
    StatusNotifierHosts hosts_;
    std::unique_ptr<XTray> tray_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

TrayStatusBar::TrayStatusBar(std::chrono::milliseconds patience) : patience_(patience) {}
TrayStatusBar::~TrayStatusBar() = default;

void TrayStatusBar::whenAvailable(std::function<void()> handler) {
    if (!search_)
        search_ = std::make_unique<Search>([this] { found(); }, patience_);
    waiting_.push_back(std::move(handler));
    if (search_->thereNow())
        found();
    else
        logLine("Status bar: no panel shows status items yet; the item comes with the first one that does");
}

void TrayStatusBar::found() {
    search_.reset();
    // The handlers make an item, and show it in this turn of the loop.
    QMetaObject::invokeMethod(qApp, sayThatItemsAreMenus, Qt::QueuedConnection);
    for (const auto& handler : std::exchange(waiting_, {}))
        handler();
}

} // namespace lightpen
