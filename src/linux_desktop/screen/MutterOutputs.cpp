// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/MutterOutputs.h"

#include <optional>
#include <utility>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr QLatin1String kService{"org.gnome.Mutter.DisplayConfig"};
constexpr QLatin1String kPath{"/org/gnome/Mutter/DisplayConfig"};
constexpr std::chrono::milliseconds kLaterPatience{25'000};
// The reply's third value: what is shown where.
constexpr qsizetype kLogicalMonitors = 2;
constexpr QLatin1String kLogicalMonitorsSignature{"a(iiduba(ssss)a{sv})"};

// The connector of the first output that shows this part of the desktop.
QString firstConnector(const QDBusArgument& outputs) {
    QString first;
    outputs.beginArray();
    while (!outputs.atEnd()) {
        QString connector, vendor, product, serial;
        outputs.beginStructure();
        outputs >> connector >> vendor >> product >> serial;
        outputs.endStructure();
        if (first.isEmpty())
            first = connector;
    }
    outputs.endArray();
    return first;
}

// None when the reply has another form.
std::optional<std::string> primaryOf(const QDBusMessage& reply) {
    const QVariant value = reply.arguments().value(kLogicalMonitors);
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return std::nullopt;
    const auto monitors = value.value<QDBusArgument>();
    if (monitors.currentSignature() != kLogicalMonitorsSignature)
        return std::nullopt;
    std::string primary;
    monitors.beginArray();
    while (!monitors.atEnd()) {
        int x = 0, y = 0;
        double scale = 1;
        unsigned transform = 0;
        bool isPrimary = false;
        QVariantMap properties;
        monitors.beginStructure();
        monitors >> x >> y >> scale >> transform >> isPrimary;
        const QString connector = firstConnector(monitors);
        monitors >> properties;
        monitors.endStructure();
        if (isPrimary)
            primary = connector.toStdString();
    }
    monitors.endArray();
    return primary;
}

} // namespace

MutterOutputs::MutterOutputs(std::function<void()> changed, std::chrono::milliseconds patience)
    : changed_(std::move(changed)), names_(kService, bus_) {
    connect(&names_, &QDBusServiceWatcher::serviceRegistered, this, &MutterOutputs::ask);
    connect(&names_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { set({}); });
    // From whoever it comes: the library may miss who has the name now, and a question too many does no harm.
    // Without a bus this fails like everything else, and nobody ever says.
    bus_.connect(QString(), kPath, kService, QStringLiteral("MonitorsChanged"), this, SLOT(ask()));
    askFor(patience);
}

void MutterOutputs::settle() {
    if (answer_)
        answer_->waitForFinished(); // and takes it
}

void MutterOutputs::ask() {
    askFor(kLaterPatience);
}

void MutterOutputs::askFor(std::chrono::milliseconds patience) {
    auto message =
        QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("GetCurrentState"));
    message.setAutoStartService(false); // to ask must not bring a compositor up
    answer_ = new QDBusPendingCallWatcher(bus_.asyncCall(message, static_cast<int>(patience.count())), this);
    connect(answer_, &QDBusPendingCallWatcher::finished, this, &MutterOutputs::take);
}

void MutterOutputs::take(QDBusPendingCallWatcher* answer) {
    answer->deleteLater();
    if (answer != answer_)
        return; // things have changed since that question
    answer_ = nullptr;
    if (answer->isError()) {
        // Somebody of that name is there and has not answered, so the question is still open.
        if (answer->error().type() == QDBusError::NoReply)
            ask();
        else
            set({});
        return;
    }
    const auto primary = primaryOf(answer->reply());
    if (!primary && !std::exchange(misunderstood_, true))
        logLine("Screen: %s tells its state as \"%s\", which this program does not understand",
                kService.data(), answer->reply().signature().toUtf8().constData());
    set(primary.value_or(std::string()));
}

void MutterOutputs::set(std::string name) {
    if (name == name_)
        return;
    name_ = std::move(name);
    changed_();
}

} // namespace lightpen
