// SPDX-License-Identifier: MIT
#include "measure/canvas/CanvasWindow.h"

#include <chrono>
#include <utility>

#include <QContextMenuEvent>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>

#include "device/FloatPanel.h"
#include "linux_desktop/process/SystemClock.h"
#include "measure/canvas/BoardPainter.h"

namespace lightpen {

namespace {

using Kind = CanvasEvent::Kind;

// The menu opens once the click that asked for it is over, and closes by itself before the hand goes on.
constexpr std::chrono::milliseconds kMenuOpens{30};
constexpr std::chrono::milliseconds kMenuStays{700};

} // namespace

CanvasWindow::CanvasWindow(Report report) : report_(std::move(report)) {
    setWindowTitle(QStringLiteral("LightPenNX7 demo"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(Qt::CrossCursor);
    menu_.addAction(QStringLiteral("Opened by a right click"));
    menu_.addSeparator();
    menu_.addAction(QStringLiteral("The pen was held still for two seconds"));
}

void CanvasWindow::coverScreen(const std::string& name) {
    QScreen* const named = screenNamed(name);
    QScreen* const screen = named ? named : QGuiApplication::primaryScreen();
    setScreen(screen);
    setGeometry(screen->geometry());
    showFullScreen();
    raise();
    activateWindow();
}

void CanvasWindow::tell(Kind kind, QPointF position, const QString& text) {
    report_({kind, SystemClock().now(), {position.x(), position.y()}, text.toStdString()});
}

bool CanvasWindow::listenFor(const QString& notification) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.connect({}, {}, {}, notification, this, SLOT(hear(QDBusMessage)));
}

void CanvasWindow::hear(const QDBusMessage& notification) {
    tell(Kind::notification, {}, notification.member());
    ++board_.notifications[notification.member()];
    update();
}

void CanvasWindow::markHand(QPointF point) {
    board_.hand.push_back(point);
    update();
}

void CanvasWindow::savePicture(const QString& file) {
    const bool saved = grab().save(file, "PNG");
    tell(saved ? Kind::saved : Kind::failed, {}, saved ? file : QStringLiteral("cannot write ") + file);
}

void CanvasWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBoard(painter, size(), board_);
    if (!std::exchange(shown_, true))
        tell(Kind::ready, QPointF(width(), height()));
}

void CanvasWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton) {
        tell(Kind::rightPress, event->position());
    } else if (event->button() == Qt::LeftButton) {
        tell(Kind::press, event->position());
        ++board_.presses;
        board_.strokes.push_back({event->position()});
        drawing_ = true;
        update();
    }
}

void CanvasWindow::mouseMoveEvent(QMouseEvent* event) {
    if (!drawing_)
        return;
    tell(Kind::move, event->position());
    board_.strokes.back().push_back(event->position());
    update();
}

void CanvasWindow::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton) {
        tell(Kind::rightRelease, event->position());
    } else if (event->button() == Qt::LeftButton) {
        tell(Kind::release, event->position());
        ++board_.releases;
        drawing_ = false;
        update();
    }
}

void CanvasWindow::contextMenuEvent(QContextMenuEvent* event) {
    tell(Kind::contextMenu, event->pos());
    board_.rightClicks.emplace_back(event->pos());
    update();
    const QPoint place = event->globalPos();
    QTimer::singleShot(kMenuOpens, this, [this, place] { menu_.popup(place); });
    QTimer::singleShot(kMenuOpens + kMenuStays, this, [this] { menu_.close(); });
}

} // namespace lightpen
