// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxLocales.h"

#include <optional>
#include <utility>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QStringList>

#include "linux_desktop/process/PreferredLanguages.h"

namespace lightpen {

namespace {

// The service that sets the system's locale. It comes when it is called and goes again by itself.
constexpr QLatin1String kService{"org.freedesktop.locale1"};
constexpr QLatin1String kPath{"/org/freedesktop/locale1"};
constexpr QLatin1String kProperties{"org.freedesktop.DBus.Properties"};
constexpr QLatin1String kLocale{"Locale"};

// The service's list of assignments ("LANG=fr_FR.UTF-8"), which never holds LC_ALL.
LocaleVariables variablesIn(const QStringList& assignments) {
    LocaleVariables variables;
    for (const QString& assignment : assignments) {
        const auto name = assignment.section(QLatin1Char('='), 0, 0);
        const auto value = assignment.section(QLatin1Char('='), 1).toStdString();
        if (name == QLatin1String("LANG"))
            variables.lang = value;
        else if (name == QLatin1String("LC_MESSAGES"))
            variables.messages = value;
        else if (name == QLatin1String("LANGUAGE"))
            variables.language = value;
    }
    return variables;
}

} // namespace

// Hears of changes from the system and from Qt. The bus library calls slots by their names only.
class LinuxLocales::Watch : public QObject {
    Q_OBJECT

public:
    explicit Watch(NotificationCenter& notifications) : notifications_(notifications) {
        QCoreApplication::instance()->installEventFilter(this);
        bus_.connect(kService, kPath, kProperties, QStringLiteral("PropertiesChanged"), this,
                     SLOT(takeChange(QDBusMessage)));
    }

    std::vector<std::string> languages() const {
        const LocaleVariables own = localeVariablesOfTheEnvironment();
        LocaleVariables variables = system_.value_or(own);
        variables.all = own.all;
        return lightpen::preferredLanguages(variables);
    }

private Q_SLOTS:
    void takeChange(const QDBusMessage& message) {
        if (message.signature() != QLatin1String("sa{sv}as"))
            return;
        const auto changed = qdbus_cast<QVariantMap>(message.arguments().at(1));
        if (const auto locale = changed.find(kLocale); locale != changed.end())
            take(*locale);
        else if (message.arguments().at(2).toStringList().contains(kLocale))
            ask();
    }

private:
    bool eventFilter(QObject* object, QEvent* event) override {
        const bool language =
            event->type() == QEvent::LocaleChange || event->type() == QEvent::LanguageChange;
        if (language && object == QCoreApplication::instance())
            compare();
        return false;
    }

    void ask() {
        auto message = QDBusMessage::createMethodCall(kService, kPath, kProperties, QStringLiteral("Get"));
        message.setArguments({QString(kService), QString(kLocale)});
        auto* answer = new QDBusPendingCallWatcher(bus_.asyncCall(message), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
            answer->deleteLater();
            const QDBusPendingReply<QDBusVariant> reply = *answer;
            if (reply.isValid())
                take(reply.value().variant());
        });
    }

    void take(const QVariant& locale) {
        system_ = variablesIn(qdbus_cast<QStringList>(locale));
        compare();
    }

    void compare() {
        if (auto now = languages(); now != std::exchange(known_, now))
            notifications_.post({std::string(kCurrentLocaleDidChange)});
    }

    NotificationCenter& notifications_;
    QDBusConnection bus_ = QDBusConnection::systemBus();
    std::optional<LocaleVariables> system_; // once it has changed
    std::vector<std::string> known_ = languages();
};

LinuxLocales::LinuxLocales(NotificationCenter& notifications)
    : watch_(std::make_unique<Watch>(notifications)) {}

LinuxLocales::~LinuxLocales() = default;

std::vector<std::string> LinuxLocales::preferredLanguages() const {
    return watch_->languages();
}

} // namespace lightpen

#include "LinuxLocales.moc"
