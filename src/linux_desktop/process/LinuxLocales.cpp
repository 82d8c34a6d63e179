// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxLocales.h"

#include <utility>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QRegularExpression>
#include <QStringList>

namespace lightpen {

namespace {

// The service that sets the system's locale. It comes when it is called and goes again by itself.
constexpr QLatin1String kService{"org.freedesktop.locale1"};
constexpr QLatin1String kPath{"/org/freedesktop/locale1"};
constexpr QLatin1String kProperties{"org.freedesktop.DBus.Properties"};
constexpr QLatin1String kLocale{"Locale"};
constexpr QLatin1String kAll{"LC_ALL"};

constexpr QLatin1String kFallback{"en"};

bool isTheCLocale(const QString& name) {
    const QString plain = name.section(QLatin1Char('.'), 0, 0);
    return plain == QLatin1String("C") || plain == QLatin1String("POSIX");
}

// The script where it is said, else the one of the place; most places write the simplified one.
QString chinese(const QStringList& parts) {
    static const QRegularExpression traditionalPlace(QStringLiteral("^(tw|hk|mo)$"));
    const bool traditional = parts.contains(QLatin1String("hant")) ||
                             (parts.indexOf(traditionalPlace) >= 0 && !parts.contains(QLatin1String("hans")));
    return traditional ? QStringLiteral("zh-Hant") : QStringLiteral("zh-Hans");
}

// The language of a locale's name, language_TERRITORY.codeset@modifier; empty when it is no such name.
QString languageOf(const QString& locale) {
    static const QRegularExpression form(QStringLiteral("\\A([a-z]{2,3}([_-][^.@]*)?)([.@].*)?\\z"),
                                         QRegularExpression::DotMatchesEverythingOption);
    if (isTheCLocale(locale))
        return kFallback;
    const auto parts = form.match(locale.toLower()).captured(1).replace(u'-', u'_').split(u'_');
    const QString& language = parts.front();
    return language == QLatin1String("zh") || language == QLatin1String("cmn") ? chinese(parts) : language;
}

} // namespace

LinuxLocales::LinuxLocales(NotificationCenter& notifications)
    : notifications_(notifications), known_(preferredLanguages()) {
    QCoreApplication::instance()->installEventFilter(this);
    bus_.connect(kService, kPath, kProperties, QStringLiteral("PropertiesChanged"), this,
                 SLOT(takeChange(QDBusMessage)));
}

std::vector<std::string> LinuxLocales::languagesIn(const QProcessEnvironment& variables) {
    QString locale;
    for (const char* strongestFirst : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (locale.isEmpty())
            locale = variables.value(QLatin1String(strongestFirst));
    QStringList languages;
    if (!locale.isEmpty() && !isTheCLocale(locale)) {
        for (const QString& name : variables.value(QStringLiteral("LANGUAGE")).split(u':'))
            languages << languageOf(name);
        languages << languageOf(locale);
    }
    languages.removeAll(QString());
    languages.removeDuplicates();
    if (languages.isEmpty())
        languages << kFallback;
    std::vector<std::string> result;
    for (const QString& language : languages)
        result.push_back(language.toStdString());
    return result;
}

std::vector<std::string> LinuxLocales::preferredLanguages() const {
    const auto own = QProcessEnvironment::systemEnvironment();
    auto variables = system_.value_or(own);
    variables.insert(kAll, own.value(kAll)); // the service's list never holds it
    return languagesIn(variables);
}

void LinuxLocales::takeChange(const QDBusMessage& message) {
    if (message.signature() != QLatin1String("sa{sv}as"))
        return;
    const auto changed = qdbus_cast<QVariantMap>(message.arguments().at(1));
    if (const auto locale = changed.find(kLocale); locale != changed.end())
        take(*locale);
    else if (message.arguments().at(2).toStringList().contains(kLocale))
        ask();
}

bool LinuxLocales::eventFilter(QObject* object, QEvent* event) {
    const bool language = event->type() == QEvent::LocaleChange || event->type() == QEvent::LanguageChange;
    if (language && object == QCoreApplication::instance())
        compare();
    return false;
}

void LinuxLocales::ask() {
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

// A list of assignments ("LANG=fr_FR.UTF-8").
void LinuxLocales::take(const QVariant& locale) {
    system_.emplace();
    for (const QString& assignment : qdbus_cast<QStringList>(locale))
        system_->insert(assignment.section(u'=', 0, 0), assignment.section(u'=', 1));
    compare();
}

void LinuxLocales::compare() {
    if (auto now = preferredLanguages(); now != std::exchange(known_, now))
        notifications_.post({std::string(kCurrentLocaleDidChange)});
}

} // namespace lightpen
