// SPDX-License-Identifier: MIT
#include "app/StatusItem.h"

#include <chrono>
#include <utility>

#include <QCursor>
#include <QGuiApplication>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QThread>

#include "platform/Platform.h"

namespace lightpen {

namespace {

// The pause between two looks whether an old menu can go.
constexpr std::chrono::milliseconds kLookAgain(50);

bool isInsideNestedLoop() {
    return QThread::currentThread()->loopLevel() > 1;
}

} // namespace

StatusItem::StatusItem() {
    QObject::connect(&shown_, &QMenu::aboutToShow, [this] {
        if (opened_)
            opened_();
    });
    QObject::connect(&shown_, &QMenu::aboutToHide, [this] {
        if (closed_)
            closed_();
    });
    QObject::connect(&first_, &QAction::triggered, [this] {
        if (const auto chosen = firstChosen_)
            chosen();
    });
    letGo_.setSingleShot(true);
    QObject::connect(&letGo_, &QTimer::timeout, [this] { letGoOfOldMenus(); });
    // The panel may come after this item's end; the menu's guard tells.
    Platform::current().shell.statusBar.whenAvailable([this, alive = QPointer(&shown_)] {
        if (alive)
            appear();
    });
}

StatusItem::~StatusItem() = default;

void StatusItem::appear() {
    icon_ = std::make_unique<QSystemTrayIcon>(image());
    icon_->setToolTip(toolTip_);
    icon_->setContextMenu(&shown_);
    QObject::connect(icon_.get(), &QSystemTrayIcon::activated,
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         // A second click that comes soon is one too.
                         if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
                             openMenu();
                     });
    if (image_)
        icon_->show();
}

void StatusItem::setImage(const QIcon& image) {
    image_ = image;
    if (!icon_)
        return;
    icon_->setIcon(image);
    icon_->show();
}

void StatusItem::setToolTip(const QString& toolTip) {
    toolTip_ = toolTip;
    if (icon_)
        icon_->setToolTip(toolTip);
}

void StatusItem::setMenu(std::shared_ptr<QMenu> menu) {
    if (menu == menu_)
        return;
    shown_.hide(); // what it says is no longer so
    for (QAction* action : shown_.actions())
        shown_.removeAction(action);
    if (menu_)
        old_.push_back(std::move(menu_));
    menu_ = std::move(menu);
    if (menu_)
        shown_.addActions(menu_->actions());
    showFirstItem();
    if (!old_.empty())
        letGo_.start(0);
}

void StatusItem::setFirstItem(const QString& text, std::function<void()> chosen) {
    first_.setText(text);
    firstChosen_ = std::move(chosen);
    showFirstItem();
}

void StatusItem::showFirstItem() {
    shown_.removeAction(&first_);
    if (!first_.text().isEmpty())
        shown_.insertAction(shown_.actions().value(0), &first_);
}

// For panels that open menus with the other button only. Elsewhere than under X11 no client may open a menu
// at the pointer.
void StatusItem::openMenu() {
    if (!shown_.isEmpty() && QGuiApplication::platformName() == QLatin1String("xcb"))
        shown_.popup(QCursor::pos());
}

// An action of an old menu may still be at work further up the stack, waiting in a nested loop.
void StatusItem::letGoOfOldMenus() {
    if (isInsideNestedLoop())
        letGo_.start(kLookAgain);
    else
        std::exchange(old_, {}).clear();
}

} // namespace lightpen
