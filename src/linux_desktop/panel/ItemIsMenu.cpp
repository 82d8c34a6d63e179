// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/ItemIsMenu.h"

#include <algorithm>
#include <string_view>

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QMetaMethod>
#include <QMetaProperty>

namespace lightpen {

namespace {

constexpr std::string_view kInterface{"org.kde.StatusNotifierItem"};
// Qt counts the items that a process has had; this one has one.
constexpr int kItems = 16;
constexpr const char* kProperty = "ItemIsMenu";

bool isSignal(const QMetaObject& description, int method) {
    return description.method(method).methodType() == QMetaMethod::Signal;
}

// Takes the place of Qt's own side of the item on the bus. All that it is asked it asks that one, but for the
// one property; what that one signals it signals too.
class MenuItem final : public QDBusAbstractAdaptor {
public:
    MenuItem(QObject& item, QDBusAbstractAdaptor& qts)
        : QDBusAbstractAdaptor(&item), qts_(qts), description_(*qts.metaObject()),
          property_(description_.indexOfProperty(kProperty)) {
        description_.d.static_metacall = nullptr; // so that everything comes through qt_metacall
        for (int method = description_.methodOffset(); method < description_.methodCount(); ++method)
            if (isSignal(description_, method))
                QMetaObject::connect(&qts, method, this, method);
    }

    const QMetaObject* metaObject() const override { return &description_; }

    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override {
        if (call == QMetaObject::ReadProperty && id == property_) {
            *static_cast<bool*>(arguments[0]) = true;
            return -1;
        }
        if (call == QMetaObject::InvokeMetaMethod && isSignal(description_, id)) {
            QMetaObject::activate(this, &description_, id - description_.methodOffset(), arguments);
            return -1;
        }
        return qts_.qt_metacall(call, id, arguments);
    }

private:
    QDBusAbstractAdaptor& qts_; // a child of the item, as this is
    QMetaObject description_;
    const int property_;
};

// Qt's side of the item; null where it is not as expected, or where a MenuItem stands for it already.
QDBusAbstractAdaptor* sideOnTheBus(const QObject& item) {
    QDBusAbstractAdaptor* found = nullptr;
    for (QObject* child : item.children()) {
        if (dynamic_cast<MenuItem*>(child))
            return nullptr;
        auto* side = dynamic_cast<QDBusAbstractAdaptor*>(child);
        if (!side)
            continue;
        const QMetaObject& description = *side->metaObject();
        const int interface = description.indexOfClassInfo("D-Bus Interface");
        const int property = description.indexOfProperty(kProperty);
        if (interface >= 0 && description.classInfo(interface).value() == kInterface && property >= 0 &&
            description.property(property).metaType() == QMetaType::fromType<bool>())
            found = side;
    }
    return found;
}

// Qt has a connection for each item, called like the item's name on the bus.
QObject* itemOfNumber(int number) {
    const QString name = QStringLiteral("org.kde.StatusNotifierItem-%1-%2")
                             .arg(QCoreApplication::applicationPid())
                             .arg(number);
    return QDBusConnection(name).objectRegisteredAt(QStringLiteral("/StatusNotifierItem"));
}

} // namespace

void sayThatItemsAreMenus() {
    for (int number = 1; number <= kItems; ++number) {
        QObject* item = itemOfNumber(number);
        QDBusAbstractAdaptor* side = item ? sideOnTheBus(*item) : nullptr;
        if (!side)
            continue;
        new MenuItem(*item, *side); // the item's
        // The library takes it up in a posted request. That must be done before a panel asks.
        for (QObject* child : item->children())
            QCoreApplication::sendPostedEvents(child, QEvent::MetaCall);
    }
}

} // namespace lightpen
