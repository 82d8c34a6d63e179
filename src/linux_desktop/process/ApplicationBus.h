// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include "platform/ApplicationRequests.h"

class QDBusPendingCallWatcher;

namespace lightpen {

// The requests that come over the session bus: the interface org.freedesktop.Application, under the name
// org.lightpen.PROGRAM and at the path that belongs to it. Where there is no session bus, or another program
// has the name, one log line says so, and nothing comes.
class ApplicationBus final : public QObject, public ApplicationRequests {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    // Takes the name, and does not wait for it; gives it back at its end.
    explicit ApplicationBus(std::string program);
    ~ApplicationBus() override;
    ApplicationBus(const ApplicationBus&) = delete;
    ApplicationBus& operator=(const ApplicationBus&) = delete;

    void setHandler(Handler handler) override;

    // The name on the bus of the program that is called so, and its object's path.
    static QString nameOf(const std::string& program);
    static QString pathOf(const std::string& program);

public Q_SLOTS:
    // The bus calls these. The platform data may hold the right to take the keyboard ("activation-token"),
    // which goes to the next window that asks for it, unless the request is refused.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    // There are no documents, so that this shows the window too.
    Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList& parameter,
                                     const QVariantMap& platformData);

private:
    void takeName();
    struct Request {
        std::string action;
        QVariantMap platformData;
    };
    void take(Request request);
    void perform(const Request& request) const;

    const std::string program_;
    Handler handler_;
    std::vector<Request> early_; // what came before there was a handler
};

// Asks the program of this name that runs already for the action, with the right to take the keyboard that
// this process was started with. Waits some seconds at most. Empty when that program was told, and where
// there is no session bus to tell it on; otherwise why it could not be. Needs an application object, of any
// kind.
std::string askRunningApplication(const std::string& program, const std::string& action);

// What a program does that was started while the one of this name runs: it asks that one for the action, or,
// where there is none, for its window. A log line when that one cannot be asked. Makes the application
// object.
void leaveToRunningApplication(int argc, char** argv, const std::string& program, const std::string& action);

} // namespace lightpen
