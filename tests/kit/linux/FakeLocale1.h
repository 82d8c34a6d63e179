// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

namespace lightpen {

// The service that keeps the system's locale, as it looks on the bus. It speaks while its thread's event loop
// runs.
class FakeLocale1 final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.locale1")
    Q_PROPERTY(QStringList Locale MEMBER locale)

public:
    explicit FakeLocale1(const std::string& address);
    ~FakeLocale1() override;

    // Sets the locale ("LANG=fr_FR.UTF-8") and tells everyone.
    void set(const QStringList& assignments);
    // The same, but tells only that it is another one now.
    void setWithoutSaying(const QStringList& assignments);
    // Something else of the system changes.
    void setKeyboard(const QString& layout);
    // Tells nonsense.
    void babble();

    QStringList locale;

private:
    void tell(const QVariantList& arguments);

    QDBusConnection bus_;
};

} // namespace lightpen
