// SPDX-License-Identifier: MIT
#include "kit/linux/FakeDisplayConfig.h"

#include <stdexcept>
#include <utility>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QUuid>
#include <QVariantMap>

namespace lightpen {

namespace {

constexpr QLatin1String kName{"org.gnome.Mutter.DisplayConfig"};
constexpr QLatin1String kPath{"/org/gnome/Mutter/DisplayConfig"};
constexpr int kWidth = 1280;

// What is in a reply, by its letters on the bus.

struct Output { // (ssss)
    QString connector, vendor, product, serial;
};

struct Mode { // (siiddada{sv})
    QString id;
    int width = kWidth, height = 720;
    double rate = 60, preferredScale = 1;
    QList<double> scales{1, 2};
    QVariantMap properties;
};

struct Monitor { // ((ssss)a(siiddada{sv})a{sv})
    Output output;
    QList<Mode> modes;
    QVariantMap properties;
};

struct LogicalMonitor { // (iiduba(ssss)a{sv})
    int x = 0, y = 0;
    double scale = 1;
    unsigned transform = 0;
    bool primary = false;
    QList<Output> outputs;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& to, const Output& output) {
    to.beginStructure();
    to << output.connector << output.vendor << output.product << output.serial;
    to.endStructure();
    return to;
}

QDBusArgument& operator<<(QDBusArgument& to, const Mode& mode) {
    to.beginStructure();
    to << mode.id << mode.width << mode.height << mode.rate << mode.preferredScale << mode.scales
       << mode.properties;
    to.endStructure();
    return to;
}

QDBusArgument& operator<<(QDBusArgument& to, const Monitor& monitor) {
    to.beginStructure();
    to << monitor.output << monitor.modes << monitor.properties;
    to.endStructure();
    return to;
}

QDBusArgument& operator<<(QDBusArgument& to, const LogicalMonitor& monitor) {
    to.beginStructure();
    to << monitor.x << monitor.y << monitor.scale << monitor.transform << monitor.primary << monitor.outputs
       << monitor.properties;
    to.endStructure();
    return to;
}

// It only speaks.
template <class Value>
const QDBusArgument& operator>>(const QDBusArgument& from, Value&) {
    return from;
}

template <class... Values>
void registerAll() {
    (qDBusRegisterMetaType<Values>(), ...);
}

} // namespace

} // namespace lightpen

Q_DECLARE_METATYPE(lightpen::Output)
Q_DECLARE_METATYPE(lightpen::Mode)
Q_DECLARE_METATYPE(lightpen::Monitor)
Q_DECLARE_METATYPE(lightpen::LogicalMonitor)

namespace lightpen {

// What it is on the bus.
class FakeDisplayConfig::Service final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Mutter.DisplayConfig")

public:
    explicit Service(const std::string& address)
        : connectionName_(QUuid::createUuid().toString()),
          bus(QDBusConnection::connectToBus(QString::fromStdString(address), connectionName_)) {
        registerAll<Output, QList<Output>, Mode, QList<Mode>, Monitor, QList<Monitor>, LogicalMonitor,
                    QList<LogicalMonitor>>();
        if (!bus.registerObject(kPath, this, QDBusConnection::ExportAllContents))
            throw std::runtime_error("cannot serve on the bus");
    }
    ~Service() override { QDBusConnection::disconnectFromBus(connectionName_); }

private:
    const QString connectionName_; // before the bus, which has it

public:
    QDBusConnection bus;
    QList<Monitor> monitors;
    QList<LogicalMonitor> logicalMonitors;
    Answer answer = Answer::state;
    int questions = 0;

public Q_SLOTS:
    void GetCurrentState() {
        ++questions;
        setDelayedReply(true);
        const QVariantList screens{1U, QVariant::fromValue(monitors)};
        if (answer == Answer::refusal)
            bus.send(message().createErrorReply(QDBusError::AccessDenied, QStringLiteral("not you")));
        else if (answer == Answer::state)
            bus.send(message().createReply(
                screens + QVariantList{QVariant::fromValue(logicalMonitors), QVariantMap()}));
        else if (answer == Answer::anotherForm)
            bus.send(message().createReply(screens + QVariantList{QVariant::fromValue(monitors), 1}));
        else if (answer == Answer::noScreens)
            bus.send(message().createReply());
    }

Q_SIGNALS:
    void MonitorsChanged();
};

FakeDisplayConfig::FakeDisplayConfig(const std::string& address)
    : service_(std::make_unique<Service>(address)) {
    service_->moveToThread(&thread_);
    thread_.start();
}

FakeDisplayConfig::~FakeDisplayConfig() {
    service_.release()->deleteLater(); // on its own thread, which does so as its last act
    thread_.quit();
    thread_.wait();
}

void FakeDisplayConfig::perform(const std::function<void(Service&)>& operation) const {
    QMetaObject::invokeMethod(
        service_.get(), [&] { operation(*service_); }, Qt::BlockingQueuedConnection);
}

void FakeDisplayConfig::appear() {
    bool taken = false;
    perform([&](Service& service) { taken = service.bus.registerService(kName); });
    if (!taken)
        throw std::runtime_error("cannot have the name on the bus");
}

void FakeDisplayConfig::disappear() {
    perform([](Service& service) { service.bus.unregisterService(kName); });
}

void FakeDisplayConfig::setScreens(std::vector<std::string> connectors, std::string primary,
                                   bool lastTwoMirrored) {
    perform([&](Service& service) {
        service.monitors.clear();
        service.logicalMonitors.clear();
        for (const std::string& connector : connectors) {
            const Output output{QString::fromStdString(connector), "maker", "kind", "1"};
            service.monitors.append({output, {Mode{"1280x720", {}, {}, {}, {}, {}, {}}}, {}});
            if (lastTwoMirrored && connector == connectors.back()) {
                service.logicalMonitors.back().outputs.append(output);
                continue;
            }
            const int x = kWidth * static_cast<int>(service.logicalMonitors.size());
            service.logicalMonitors.append({x, 0, 1, 0, connector == primary, {output}, {{"x", x}}});
        }
    });
}

void FakeDisplayConfig::setAnswer(Answer answer) {
    perform([&](Service& service) { service.answer = answer; });
}

void FakeDisplayConfig::tell() {
    perform([](Service& service) { Q_EMIT service.MonitorsChanged(); });
}

int FakeDisplayConfig::questions() const {
    int questions = 0;
    perform([&](Service& service) { questions = service.questions; });
    return questions;
}

} // namespace lightpen

#include "FakeDisplayConfig.moc"
