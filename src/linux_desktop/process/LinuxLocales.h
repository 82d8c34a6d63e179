// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QProcessEnvironment>

#include "platform/Locales.h"
#include "platform/Notifications.h"

namespace lightpen {

// The languages of the user's locale. They come from the environment at first. When somebody sets the
// system's locale while the program runs, they come from that one from then on; LC_ALL in the environment
// still goes before it. Main thread.
class LinuxLocales final : public QObject, public Locales {
    Q_OBJECT

public:
    // Needs the application object. The centre outlives this. A change is noticed when the system bus or Qt
    // tells of it.
    explicit LinuxLocales(NotificationCenter& notifications);

    // The languages that the variables ask for, the preferred one first, each once: "es" for es_MX.UTF-8,
    // Chinese by its script ("zh-Hant" for zh_TW and zh_Hant). LC_ALL, LC_MESSAGES and LANG name the locale,
    // the first that is set; LANGUAGE is a list with colons, which counts for all but the C locale. Names
    // that are none are passed over; "en" for the C locale and where nothing is left. Any thread.
    static std::vector<std::string> languagesIn(const QProcessEnvironment& variables);

    std::vector<std::string> preferredLanguages() const override;

private Q_SLOTS:
    // The bus library calls slots by their names only.
    void takeChange(const QDBusMessage& message);

private:
    bool eventFilter(QObject* object, QEvent* event) override;
    void ask();
    void take(const QVariant& locale);
    void compare();

    NotificationCenter& notifications_;
    QDBusConnection bus_ = QDBusConnection::systemBus();
    std::optional<QProcessEnvironment> system_; // once it has changed
    std::vector<std::string> known_;
};

} // namespace lightpen
