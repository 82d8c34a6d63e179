// SPDX-License-Identifier: MIT
#pragma once

#include <QGuiApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>

#include "kit/Eventually.h"

namespace lightpen {

// Runs Qt's loop until the condition holds; false when it has not within ten seconds.
template <class Condition>
bool waitFor(Condition condition) {
    return eventually(condition, [] { QCoreApplication::processEvents(QEventLoop::AllEvents, 5); });
}

// A black window of this program.
class BlackWindow : public QRasterWindow {
    void paintEvent(QPaintEvent* event) override { QPainter(this).fillRect(event->rect(), Qt::black); }
};

// One over its whole screen.
class CoveringWindow final : public BlackWindow {
public:
    CoveringWindow() {
        setFlags(Qt::FramelessWindowHint);
        setGeometry(QGuiApplication::primaryScreen()->geometry());
    }
    void cover() {
        showFullScreen();
        requestActivate();
    }
};

} // namespace lightpen
