// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <string>

#include <QAbstractNativeEventFilter>
#include <QTimer>

namespace lightpen {

// How an X server has turned what its monitors show. Qt follows the rotation of the server's first output
// alone; of a half turn of another one, which changes no size, it tells nothing. Elsewhere than under X11
// nothing is turned. Main thread.
class MonitorRotations final : public QAbstractNativeEventFilter {
public:
    // Made after the application object, and knows nothing before the first look. The function is called from
    // the loop when the server's outputs have changed, once Qt has taken that.
    explicit MonitorRotations(std::function<void()> changed);
    ~MonitorRotations() override;
    MonitorRotations(const MonitorRotations&) = delete;
    MonitorRotations& operator=(const MonitorRotations&) = delete;

    // Asks the server how its monitors are turned now.
    void look();
    // How far the monitor of this name was turned at the last look: 0 to 3 quarters, counter-clockwise. 0 for
    // one that nobody knows.
    int quarterTurnsOf(const std::string& monitor) const;

private:
    bool nativeEventFilter(const QByteArray& type, void* event, qintptr*) override;

    int firstEvent_ = -1; // of the server's extension; -1 without it
    std::map<std::string, int> quarterTurns_;
    QTimer soon_;
};

} // namespace lightpen
