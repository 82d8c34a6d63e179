// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/QtDesktop.h"

#include <string>
#include <variant>

#include <QGuiApplication>
#include <QScreen>

#include "linux_desktop/screen/XConnection.h"

namespace lightpen {

namespace {

// The size of the whole X desktop, which can be larger than what its screens show; empty elsewhere.
QSize xDesktopSize() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return {};
    const auto request = xcb_get_geometry(x11->connection(), rootOf(x11->connection()));
    const auto reply = owned(xcb_get_geometry_reply(x11->connection(), request, nullptr));
    return reply ? QSize(reply->width, reply->height) : QSize();
}

// Wayland's desktop is laid out in points; the others' in pixels.
bool layoutIsInPoints() {
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

double pixelsPerPoint(const QScreen& screen) {
    return layoutIsInPoints() ? 1.0 : screen.devicePixelRatio();
}

// Qt scales a screen's size to points but leaves its origin where the window system has put it.
QRect pixelRect(const QScreen& screen) {
    const QRect points = screen.geometry();
    return {points.topLeft(), (QSizeF(points.size()) * pixelsPerPoint(screen)).toSize()};
}

PixelRect wholeDesktop() {
    if (const QSize size = xDesktopSize(); !size.isEmpty())
        return {0, 0, size.width(), size.height()};
    QRect whole;
    for (const QScreen* screen : QGuiApplication::screens())
        whole |= pixelRect(*screen);
    return {whole.x(), whole.y(), whole.width(), whole.height()};
}

} // namespace

QtDesktop::QtDesktop(const UserDefaults& defaults, SharedGeometry& geometry)
    : defaults_(defaults), geometry_(geometry) {
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
        watch(*screen);
        update();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this] { update(); });
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, [this] { update(); });
    for (QScreen* screen : QGuiApplication::screens())
        watch(*screen);
    update();
}

void QtDesktop::watch(QScreen& screen) {
    const auto again = [this] { update(); };
    connect(&screen, &QScreen::geometryChanged, this, again);
    connect(&screen, &QScreen::virtualGeometryChanged, this, again);
    connect(&screen, &QScreen::logicalDotsPerInchChanged, this, again);
}

std::vector<Screen> QtDesktop::screens() const {
    std::vector<Screen> all;
    const QScreen* main = mainScreen();
    if (!main)
        return all;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect points = screen->geometry();
        const QPointF corner = QPointF(points.topLeft() - main->geometry().topLeft()) / pixelsPerPoint(*main);
        all.insert(screen == main ? all.begin() : all.end(),
                   {screen->name().toStdString(),
                    {{corner.x(), corner.y()}, {double(points.width()), double(points.height())}}});
    }
    return all;
}

QScreen* QtDesktop::mainScreen() const {
    const auto value = defaults_.objectForKey(kMainScreenKey);
    if (const auto* name = value ? std::get_if<std::string>(&*value) : nullptr)
        for (QScreen* screen : QGuiApplication::screens())
            if (screen->name().toStdString() == *name)
                return screen;
    return QGuiApplication::primaryScreen();
}

void QtDesktop::update() {
    const QScreen* screen = mainScreen();
    if (!screen) {
        frame_.store(std::nullopt);
        geometry_.store(PointerGeometry());
        return;
    }
    const QRect points = screen->geometry();
    frame_.store(ScreenRect{{0, 0}, {double(points.width()), double(points.height())}});
    geometry_.store(PointerGeometry({points.x(), points.y()}, pixelsPerPoint(*screen), wholeDesktop()));
}

} // namespace lightpen
