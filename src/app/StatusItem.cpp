// SPDX-License-Identifier: MIT
#include "app/StatusItem.h"

#include <utility>
#include <vector>

#include <QCursor>
#include <QGuiApplication>
#include <QSystemTrayIcon>
#include <QThread>
#include <QTimer>

#include "platform/Platform.h"

namespace lightpen {

namespace {

// How soon the item looks again whether it can let go of a menu that somebody is still inside of.
constexpr std::chrono::milliseconds kLookAgain(50);

bool isInsideNestedLoop() {
    return QThread::currentThread()->loopLevel() > 1;
}

} // namespace

// The desktop's icon and its menu. A panel may never notice that an icon has another menu: the icon keeps one
// for ever, which takes over the actions of the menu in force.
class StatusItem::Tray {
public:
    Tray() {
        QObject::connect(&shown_, &QMenu::aboutToShow, [this] {
            if (opened)
                opened();
        });
        letGo_.setSingleShot(true);
        QObject::connect(&letGo_, &QTimer::timeout, [this] { letGoOfOldMenus(); });
    }

    // From now on the desktop has an icon of ours.
    void appear() {
        icon_ = std::make_unique<QSystemTrayIcon>(image_);
        icon_->setToolTip(toolTip_);
        icon_->setContextMenu(&shown_);
        QObject::connect(icon_.get(), &QSystemTrayIcon::activated,
                         [this](QSystemTrayIcon::ActivationReason reason) {
                             // A second click that comes soon is one too.
                             if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
                                 openMenu();
                         });
        if (!image_.isNull()) // else with the first picture
            icon_->show();
    }

    void setImage(const QIcon& image) {
        image_ = image;
        if (!icon_)
            return;
        icon_->setIcon(image);
        icon_->show();
    }
    const QIcon& image() const { return image_; }

    void setToolTip(const QString& toolTip) {
        toolTip_ = toolTip;
        if (icon_)
            icon_->setToolTip(toolTip);
    }

    void setMenu(std::shared_ptr<QMenu> menu) {
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
        if (!old_.empty())
            letGo_.start(0);
    }
    const std::shared_ptr<QMenu>& menu() const { return menu_; }

    std::function<void()> opened;

private:
    // For panels that open menus with the other button only. Elsewhere than under X11 no client may open a
    // menu at the pointer.
    void openMenu() {
        if (!shown_.isEmpty() && QGuiApplication::platformName() == QLatin1String("xcb"))
            shown_.popup(QCursor::pos());
    }

    // One of them may be the one whose action is at work further up the stack, waiting in a nested loop.
    void letGoOfOldMenus() {
        if (isInsideNestedLoop())
            letGo_.start(kLookAgain);
        else
            std::exchange(old_, {}).clear();
    }

    QIcon image_;
    QString toolTip_;
    std::shared_ptr<QMenu> menu_;
    std::vector<std::shared_ptr<QMenu>> old_;
    QTimer letGo_;
    QMenu shown_;
    std::unique_ptr<QSystemTrayIcon> icon_;
};

StatusItem::StatusItem() : tray_(std::make_shared<Tray>()) {
    Platform::current().shell.statusBar.whenAvailable([tray = std::weak_ptr(tray_)] {
        if (const auto there = tray.lock())
            there->appear();
    });
}

StatusItem::~StatusItem() = default;

void StatusItem::setImage(const QIcon& image) {
    tray_->setImage(image);
}

QIcon StatusItem::image() const {
    return tray_->image();
}

void StatusItem::setMenu(std::shared_ptr<QMenu> menu) {
    tray_->setMenu(std::move(menu));
}

std::shared_ptr<QMenu> StatusItem::menu() const {
    return tray_->menu();
}

void StatusItem::setToolTip(const QString& toolTip) {
    tray_->setToolTip(toolTip);
}

void StatusItem::setMenuOpened(std::function<void()> opened) {
    tray_->opened = std::move(opened);
}

} // namespace lightpen
