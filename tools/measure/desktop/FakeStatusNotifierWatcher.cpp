// SPDX-License-Identifier: MIT
#include "measure/desktop/FakeStatusNotifierWatcher.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QStringList>
#include <QUuid>

namespace lightpen {

namespace {

constexpr QLatin1String kService{"org.kde.StatusNotifierWatcher"};

} // namespace

// What it is on the bus: its public slots, signals and properties are all there, and in its introspection.
class FakeStatusNotifierWatcher::Watcher final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ names)
    Q_PROPERTY(int ProtocolVersion READ version CONSTANT)

public:
    Watcher(const std::string& address, bool host)
        : connectionName_(QUuid::createUuid().toString()),
          bus_(QDBusConnection::connectToBus(QString::fromStdString(address), connectionName_)), host_(host),
          owners_(QString(), bus_, QDBusServiceWatcher::WatchForUnregistration) {
        owners_.setParent(this);
        connect(&owners_, &QDBusServiceWatcher::serviceUnregistered, this, &Watcher::forget);
        if (!bus_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                 QDBusConnection::ExportAllContents))
            throw std::runtime_error("cannot serve on the bus");
    }
    ~Watcher() override { QDBusConnection::disconnectFromBus(connectionName_); }

    bool appear() {
        keepOnly({});
        return bus_.registerService(kService);
    }
    void disappear() {
        bus_.unregisterService(kService);
        keepOnly({});
    }
    std::vector<Item> items() const {
        const std::lock_guard hold(mutex_);
        return items_;
    }
    bool belongsTo(const Item& item, std::uint32_t processId) const {
        const auto owner = bus_.interface()->servicePid(QString::fromStdString(item.service));
        return owner.isValid() && owner.value() == processId;
    }
    bool hostRegistered() const { return host_; }
    QStringList names() const {
        QStringList result;
        for (const Item& item : items())
            result += QString::fromStdString(item.service + item.path);
        return result;
    }
    int version() const { return 0; }

public Q_SLOTS:
    // Some programs name their service, others only the object of theirs.
    void RegisterStatusNotifierItem(const QString& what) {
        const bool isPath = what.startsWith(QLatin1Char('/'));
        const QString service = isPath ? message().service() : what;
        // Whoever sees the item may end its program at once: the bus watches for that by the time it answers.
        owners_.addWatchedService(service);
        if (!bus_.interface()->isServiceRegistered(service))
            return;
        auto all = items();
        all.push_back({service.toStdString(), isPath ? what.toStdString() : "/StatusNotifierItem"});
        keepOnly(std::move(all));
        Q_EMIT StatusNotifierItemRegistered(service);
    }
    void RegisterStatusNotifierHost(const QString&) {
        host_ = true;
        Q_EMIT StatusNotifierHostRegistered();
    }

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString&);
    void StatusNotifierItemUnregistered(const QString&);
    void StatusNotifierHostRegistered();

private:
    void keepOnly(std::vector<Item> items) {
        const std::lock_guard hold(mutex_);
        items_ = std::move(items);
    }
    void forget(const QString& service) {
        auto left = items();
        std::erase_if(left, [&](const Item& item) { return item.service == service.toStdString(); });
        keepOnly(std::move(left));
        Q_EMIT StatusNotifierItemUnregistered(service);
    }

    const QString connectionName_;
    QDBusConnection bus_;
    bool host_;
    QDBusServiceWatcher owners_;
    mutable std::mutex mutex_;
    std::vector<Item> items_;
};

FakeStatusNotifierWatcher::FakeStatusNotifierWatcher(const std::string& address, bool host)
    : watcher_(std::make_unique<Watcher>(address, host)) {
    watcher_->moveToThread(&thread_);
    thread_.start();
}

FakeStatusNotifierWatcher::~FakeStatusNotifierWatcher() {
    watcher_.release()->deleteLater(); // on its own thread, which does so as its last act
    thread_.quit();
    thread_.wait();
}

void FakeStatusNotifierWatcher::appear() {
    bool taken = false;
    QMetaObject::invokeMethod(
        watcher_.get(), [&] { taken = watcher_->appear(); }, Qt::BlockingQueuedConnection);
    if (!taken)
        throw std::runtime_error("cannot have the name on the bus");
}

void FakeStatusNotifierWatcher::disappear() {
    QMetaObject::invokeMethod(
        watcher_.get(), [this] { watcher_->disappear(); }, Qt::BlockingQueuedConnection);
}

void FakeStatusNotifierWatcher::registerHost() {
    QMetaObject::invokeMethod(
        watcher_.get(), [this] { watcher_->RegisterStatusNotifierHost({}); }, Qt::BlockingQueuedConnection);
}

void FakeStatusNotifierWatcher::stall() {
    goingOn_ = {};
    std::shared_future<void> goingOn = goingOn_.get_future();
    QMetaObject::invokeMethod(
        watcher_.get(), [goingOn] { goingOn.wait(); }, Qt::QueuedConnection);
}

std::vector<FakeStatusNotifierWatcher::Item> FakeStatusNotifierWatcher::items() const {
    return watcher_->items();
}

std::optional<FakeStatusNotifierWatcher::Item>
FakeStatusNotifierWatcher::itemOf(std::uint32_t processId) const {
    for (const Item& item : items())
        if (watcher_->belongsTo(item, processId))
            return item;
    return std::nullopt;
}

} // namespace lightpen

#include "FakeStatusNotifierWatcher.moc"
