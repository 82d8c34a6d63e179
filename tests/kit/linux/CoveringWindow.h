// SPDX-License-Identifier: MIT
#pragma once

#include <QGuiApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>

#include "measure/desktop/Patience.h"

namespace lightpen {

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
