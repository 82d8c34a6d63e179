// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include <QIcon>
#include <QMenu>
#include <QString>

namespace lightpen {

// The application's item in the desktop's panel: a picture, a tool tip and the menu that opens from it. It is
// shown as soon as there is a panel, with what has been set by then. Main thread.
class StatusItem {
public:
    StatusItem();
    ~StatusItem();
    StatusItem(const StatusItem&) = delete;
    StatusItem& operator=(const StatusItem&) = delete;

    // What the item shows, at once or as soon as there is a panel.
    void setImage(const QIcon& image);
    QIcon image() const;
    // The menu in force; null detaches it and leaves the item without one. May be called at any time, also
    // from an action of the menu that is replaced and while that is open: the item keeps it until nobody is
    // inside it any more. What its entries show may be changed while it is attached, but none be added.
    void setMenu(std::shared_ptr<QMenu> menu);
    std::shared_ptr<QMenu> menu() const;
    void setToolTip(const QString& toolTip);
    // Called whenever the user opens the menu; none for nothing.
    void setMenuOpened(std::function<void()> opened);

private:
    class Tray;
    const std::shared_ptr<Tray> tray_;
};

} // namespace lightpen
