// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

namespace lightpen {

// Another program on the bus that hears every signal; the bus's own ones are left out. It hears while its
// thread's event loop runs.
class SignalRecorder final : public QObject {
    Q_OBJECT

public:
    SignalRecorder(const std::string& address, const std::string& interface);
    ~SignalRecorder() override;

    // The signals so far, oldest first.
    const std::vector<QDBusMessage>& messages() const { return messages_; }
    void forget() { messages_.clear(); }

private Q_SLOTS:
    void take(const QDBusMessage& message) { messages_.push_back(message); }

private:
    QDBusConnection bus_;
    std::vector<QDBusMessage> messages_;
};

} // namespace lightpen
