// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

namespace lightpen {

// RealtimeKit as it looks on the bus. It answers while its thread's event loop runs.
class FakeRealtimeKit final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.RealtimeKit1")
    Q_PROPERTY(int MaxRealtimePriority MEMBER highestPriority)
    Q_PROPERTY(qlonglong RTTimeUSecMax MEMBER longestRun)

public:
    explicit FakeRealtimeKit(const std::string& address);
    ~FakeRealtimeKit() override;

    int highestPriority = 20;
    qlonglong longestRun = 200'000;
    bool refuses = false;
    // Thread and priority of each request so far.
    std::vector<std::pair<qulonglong, unsigned>> requests;

public Q_SLOTS:
    void MakeThreadRealtime(qulonglong thread, uint priority);

private:
    QDBusConnection bus_;
};

} // namespace lightpen
