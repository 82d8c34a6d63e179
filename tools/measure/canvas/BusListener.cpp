// SPDX-License-Identifier: MIT
#include "measure/canvas/BusListener.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

namespace lightpen {

// The only kind of receiver that the bus library knows is an object with slots.
class BusListener::Receiver : public QObject {
    Q_OBJECT

public:
    explicit Receiver(Handler handler) : handler_(std::move(handler)) {}

public Q_SLOTS:
    void receive(const QDBusMessage& message) { handler_(message.member().toStdString()); }

private:
    const Handler handler_;
};

BusListener::BusListener(Handler handler) : receiver_(std::make_unique<Receiver>(std::move(handler))) {}

BusListener::~BusListener() = default;

bool BusListener::listenFor(std::string_view name) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() &&
           bus.connect({}, {}, {}, QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())),
                       receiver_.get(), SLOT(receive(QDBusMessage)));
}

} // namespace lightpen

#include "BusListener.moc"
