// SPDX-License-Identifier: MIT
#include "app/StatusItem.h"

#include <QSystemTrayIcon>

#include "platform/Platform.h"

namespace lightpen {

// What the item shows, and the desktop's icon once there is a panel for it.
class StatusItem::Tray {
public:
    void show() {
        icon = std::make_unique<QSystemTrayIcon>(image);
        icon->setToolTip(toolTip);
        attach();
        icon->show();
    }
    void attach() const {
        if (icon)
            icon->setContextMenu(menu.get());
    }

    QIcon image;
    QString toolTip;
    std::shared_ptr<QMenu> menu;
    std::function<void()> opened;
    std::unique_ptr<QSystemTrayIcon> icon;
};

StatusItem::StatusItem() : tray_(std::make_shared<Tray>()) {
    Platform::current().shell.statusBar.whenAvailable([tray = std::weak_ptr(tray_)] {
        if (const auto there = tray.lock())
            there->show();
    });
}

StatusItem::~StatusItem() = default;

void StatusItem::setImage(const QIcon& image) {
    tray_->image = image;
    if (tray_->icon)
        tray_->icon->setIcon(image);
}

QIcon StatusItem::image() const {
    return tray_->image;
}

void StatusItem::setMenu(std::shared_ptr<QMenu> menu) {
    tray_->menu = std::move(menu);
    tray_->attach();
}

std::shared_ptr<QMenu> StatusItem::menu() const {
    return tray_->menu;
}

void StatusItem::setToolTip(const QString& toolTip) {
    tray_->toolTip = toolTip;
    if (tray_->icon)
        tray_->icon->setToolTip(toolTip);
}

void StatusItem::setMenuOpened(std::function<void()> opened) {
    tray_->opened = std::move(opened);
}

} // namespace lightpen
