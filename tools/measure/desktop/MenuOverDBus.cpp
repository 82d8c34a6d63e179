// SPDX-License-Identifier: MIT
#include "measure/desktop/MenuOverDBus.h"

#include <algorithm>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QUuid>
#include <QVariantMap>

#include "measure/desktop/Patience.h"

namespace lightpen {

namespace {

const QString kItemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString kMenuInterface = QStringLiteral("com.canonical.dbusmenu");
constexpr int kRoot = 0;

// An underscore marks the letter after it; two of them are one.
std::string withoutMnemonic(const std::string& label) {
    std::string text;
    for (std::size_t at = 0; at < label.size(); ++at) {
        if (label[at] == '_' && ++at == label.size())
            break;
        text += label[at];
    }
    return text;
}

void takeProperties(const QVariantMap& properties, MenuEntry& entry) {
    entry.type =
        properties.value(QStringLiteral("type"), QStringLiteral("standard")).toString().toStdString();
    entry.label = withoutMnemonic(properties.value(QStringLiteral("label")).toString().toStdString());
    entry.enabled = properties.value(QStringLiteral("enabled"), true).toBool();
    entry.visible = properties.value(QStringLiteral("visible"), true).toBool();
    if (!properties.value(QStringLiteral("toggle-type")).toString().isEmpty())
        entry.checked = properties.value(QStringLiteral("toggle-state")).toInt() == 1;
}

// (ia{sv}av), where each of the variants is one of these again.
MenuEntry entryFrom(const QDBusArgument& argument) {
    MenuEntry entry;
    QVariantMap properties;
    argument.beginStructure();
    argument >> entry.id >> properties;
    takeProperties(properties, entry);
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        entry.children.push_back(entryFrom(child.variant().value<QDBusArgument>()));
    }
    argument.endArray();
    argument.endStructure();
    return entry;
}

} // namespace

const MenuEntry* MenuEntry::child(const std::string& wanted) const {
    const auto found = std::find_if(children.begin(), children.end(), [&](const MenuEntry& entry) {
        return !entry.isSeparator() && entry.label == wanted;
    });
    return found == children.end() ? nullptr : &*found;
}

std::vector<std::string> MenuEntry::labels() const {
    std::vector<std::string> all;
    for (const MenuEntry& entry : children)
        all.push_back(entry.isSeparator() ? "-" : entry.label);
    return all;
}

MenuOverDBus::MenuOverDBus(const std::string& address, const std::string& service, const std::string& item)
    : connectionName_(QUuid::createUuid().toString()),
      bus_(QDBusConnection::connectToBus(QString::fromStdString(address), connectionName_)),
      service_(QString::fromStdString(service)), item_(QString::fromStdString(item)) {}

MenuOverDBus::~MenuOverDBus() {
    QDBusConnection::disconnectFromBus(connectionName_);
}

std::optional<MenuEntry> MenuOverDBus::layout() {
    constexpr int kEverythingBelow = -1;
    const auto reply = callMenu(QStringLiteral("GetLayout"), {kRoot, kEverythingBelow, QStringList()});
    if (!reply || reply->arguments().size() < 2)
        return std::nullopt;
    return entryFrom(reply->arguments().at(1).value<QDBusArgument>());
}

bool MenuOverDBus::open() {
    return callMenu(QStringLiteral("AboutToShow"), {kRoot}) && sendEvent(kRoot, QStringLiteral("opened"));
}

bool MenuOverDBus::close() {
    return sendEvent(kRoot, QStringLiteral("closed"));
}

bool MenuOverDBus::click(int id) {
    return sendEvent(id, QStringLiteral("clicked"));
}

bool MenuOverDBus::click(const std::vector<std::string>& labels) {
    const auto root = layout();
    const MenuEntry* entry = root ? &*root : nullptr;
    for (const std::string& label : labels)
        entry = entry ? entry->child(label) : nullptr;
    return entry && entry != &*root && entry->enabled && click(entry->id);
}

QVariant MenuOverDBus::itemProperty(const std::string& name) {
    const auto reply = call(item_, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                            {kItemInterface, QString::fromStdString(name)});
    return reply ? reply->arguments().value(0).value<QDBusVariant>().variant() : QVariant();
}

bool MenuOverDBus::activateItem(int x, int y) {
    return call(item_, kItemInterface, QStringLiteral("Activate"), {x, y}).has_value();
}

bool MenuOverDBus::giveActivationToken(const std::string& token) {
    return call(item_, kItemInterface, QStringLiteral("ProvideXdgActivationToken"),
                {QString::fromStdString(token)})
        .has_value();
}

bool MenuOverDBus::sendEvent(int id, const QString& event) {
    constexpr std::uint32_t kNow = 0;
    return callMenu(QStringLiteral("Event"), {id, event, QVariant::fromValue(QDBusVariant(0)), kNow})
        .has_value();
}

std::optional<QDBusMessage> MenuOverDBus::callMenu(const QString& method, const QVariantList& arguments) {
    const QString path = itemProperty("Menu").value<QDBusObjectPath>().path();
    return path.isEmpty() ? std::nullopt : call(path, kMenuInterface, method, arguments);
}

std::optional<QDBusMessage> MenuOverDBus::call(const QString& path, const QString& interface,
                                               const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service_, path, interface, method);
    message.setArguments(arguments);
    const QDBusPendingCall pending = bus_.asyncCall(message);
    const bool answered = comesTrue([&] { return pending.isFinished(); });
    return answered && !pending.isError() ? std::optional(pending.reply()) : std::nullopt;
}

} // namespace lightpen
