// SPDX-License-Identifier: MIT
#include "device/FloatPanelSupport.h"

#include <QApplication>
#include <QScreen>
#include <QWidget>

#include "platform/Platform.h"

namespace lightpen {

namespace {

// The main screen may be another one than Qt's primary screen: the user can choose.
QScreen* mainScreen() {
    const auto screens = Platform::current().desktop.screens();
    if (!screens.empty())
        for (QScreen* screen : QGuiApplication::screens())
            if (screen->name().toStdString() == screens.front().name)
                return screen;
    return QGuiApplication::primaryScreen();
}

} // namespace

bool canShowWindows() {
    return dynamic_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
}

// y is turned over here: windows count it from the screen's upper edge.
void placeOnMainScreen(QWidget& window, const WindowRect& rect) {
    QScreen* screen = mainScreen();
    const auto frame = Platform::current().desktop.mainScreenFrame();
    const double height = frame ? frame->size.height : 0;
    const QPoint corner = screen ? screen->geometry().topLeft() : QPoint();
    if (screen)
        window.setScreen(screen);
    window.setGeometry(corner.x() + qRound(rect.origin.x),
                       corner.y() + qRound(height - rect.origin.y - rect.size.height),
                       qRound(rect.size.width), qRound(rect.size.height));
}

} // namespace lightpen
