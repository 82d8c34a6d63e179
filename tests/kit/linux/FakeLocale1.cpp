// SPDX-License-Identifier: MIT
#include "kit/linux/FakeLocale1.h"

#include <stdexcept>

#include <QDBusMessage>

namespace lightpen {

namespace {

constexpr QLatin1String kName{"org.freedesktop.locale1"};
constexpr QLatin1String kPath{"/org/freedesktop/locale1"};

} // namespace

FakeLocale1::FakeLocale1(const std::string& address)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), QStringLiteral("locale1"))) {
    if (!bus_.registerObject(kPath, this, QDBusConnection::ExportAllProperties) ||
        !bus_.registerService(kName))
        throw std::runtime_error("cannot serve on the bus");
}

FakeLocale1::~FakeLocale1() {
    QDBusConnection::disconnectFromBus(QStringLiteral("locale1"));
}

void FakeLocale1::tell(const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(kPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                             QStringLiteral("PropertiesChanged"));
    signal.setArguments(arguments);
    bus_.send(signal);
}

void FakeLocale1::set(const QStringList& assignments) {
    locale = assignments;
    tell({QString(kName), QVariantMap{{QStringLiteral("Locale"), assignments}}, QStringList()});
}

void FakeLocale1::setWithoutSaying(const QStringList& assignments) {
    locale = assignments;
    tell({QString(kName), QVariantMap(), QStringList{QStringLiteral("Locale")}});
}

void FakeLocale1::setKeyboard(const QString& layout) {
    tell({QString(kName), QVariantMap{{QStringLiteral("X11Layout"), layout}},
          QStringList{QStringLiteral("VConsoleKeymap")}});
}

void FakeLocale1::babble() {
    tell({1, QStringLiteral("Locale")});
}

} // namespace lightpen
