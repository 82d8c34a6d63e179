// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>

namespace lightpen {

// An entry of a menu as a panel sees it.
struct MenuEntry {
    int id = 0;
    std::string type;  // "separator", or "standard"
    std::string label; // without the mark of a mnemonic
    bool enabled = true;
    bool visible = true;
    std::optional<bool> checked; // none for an entry that has no check mark
    std::vector<MenuEntry> children;

    bool isSeparator() const { return type == "separator"; }
    // The entry with this label right below this one; null when there is none.
    const MenuEntry* child(const std::string& wanted) const;
    // The labels right below this one, "-" for a separator.
    std::vector<std::string> labels() const;
};

// A status item's menu as a panel has it over the bus (com.canonical.dbusmenu). The calls wait for their
// answer; where the process has an application object its events are handled meanwhile, so that the item may
// be the process's own.
class MenuOverDBus {
public:
    // The bus, the name of the item's program on it, and the item there.
    MenuOverDBus(const std::string& address, const std::string& service,
                 const std::string& item = "/StatusNotifierItem");
    ~MenuOverDBus();
    MenuOverDBus(const MenuOverDBus&) = delete;
    MenuOverDBus& operator=(const MenuOverDBus&) = delete;

    // The menu's root with everything below it; none when there is no menu. Ids last until the menu changes.
    std::optional<MenuEntry> layout();
    // Tells the program that the user opens the menu, or has closed it; false when it does not answer.
    bool open();
    bool close();
    // Clicks the entry; false when the program does not answer.
    bool click(int id);
    // Clicks the entry to which these labels lead from the root; false when there is none, or it is disabled.
    bool click(const std::vector<std::string>& labels);
    // A property of the item, such as "IconPixmap"; invalid when it does not answer.
    QVariant itemProperty(const std::string& name);
    // Has the item do what a click on it does, at this place of the screen; false when it does not answer.
    bool activateItem(int x, int y);
    // Hands the item what a window needs that is to come to the front by this click; false as above.
    bool giveActivationToken(const std::string& token);

private:
    std::optional<QDBusMessage> call(const QString& path, const QString& interface, const QString& method,
                                     const QVariantList& arguments);
    // A call of the menu itself.
    std::optional<QDBusMessage> callMenu(const QString& method, const QVariantList& arguments);
    bool sendEvent(int id, const QString& event);

    const QString connectionName_;
    QDBusConnection bus_;
    const QString service_;
    const QString item_;
};

} // namespace lightpen
