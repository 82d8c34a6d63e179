// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QString>
#include <QTimer>

class QSystemTrayIcon;

namespace lightpen {

// The application's item in the desktop's panel: a picture, a tool tip and the menu that opens from it. It
// appears as soon as there is a panel and it has its picture. Main thread.
class StatusItem {
public:
    StatusItem();
    ~StatusItem();
    StatusItem(const StatusItem&) = delete;
    StatusItem& operator=(const StatusItem&) = delete;

    // An empty picture takes its place in the panel, too.
    void setImage(const QIcon& image);
    QIcon image() const { return image_.value_or(QIcon()); }
    // The menu in force; null detaches it and leaves the item without one. May be called at any time, also
    // from an action of the menu that is replaced and while that menu is open: the item keeps the old menu
    // until all nested loops have returned. The entries of an attached menu may change, but none be added.
    void setMenu(std::shared_ptr<QMenu> menu);
    const std::shared_ptr<QMenu>& menu() const { return menu_; }
    // An item above those of whatever menu is in force, until it is set without a text. May be called by its
    // own handler.
    void setFirstItem(const QString& text, std::function<void()> chosen = {});
    void setToolTip(const QString& toolTip);
    const QString& toolTip() const { return toolTip_; }
    // Whether there has been a panel to appear in.
    bool isInPanel() const { return icon_ != nullptr; }
    // The handler is called whenever the user opens the menu.
    void setMenuOpened(std::function<void()> opened) { opened_ = std::move(opened); }
    // The handler is called when the menu has closed, by a choice or without one.
    void setMenuClosed(std::function<void()> closed) { closed_ = std::move(closed); }

private:
    void appear();
    void openMenu();
    void showFirstItem();
    void letGoOfOldMenus();

    std::optional<QIcon> image_;
    QString toolTip_;
    std::shared_ptr<QMenu> menu_;
    std::vector<std::shared_ptr<QMenu>> old_;
    std::function<void()> opened_;
    std::function<void()> closed_;
    QTimer letGo_;
    // A panel may never notice that an icon has another menu. So the icon keeps this one for ever, which
    // takes over the actions of the menu in force.
    QMenu shown_;
    QAction first_; // in that menu while it has a text
    std::function<void()> firstChosen_;
    std::unique_ptr<QSystemTrayIcon> icon_; // null before there is a panel
};

} // namespace lightpen
