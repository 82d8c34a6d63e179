// SPDX-License-Identifier: MIT
#include "app/PreviewWindow.h"

#include <algorithm>
#include <cmath>

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMargins>
#include <QScreen>

#include "app/PreviewPlace.h"
#include "platform/Platform.h"
#include "ui_PreviewWindow.h"

namespace lightpen {

namespace {

// What a window manager's frame may take. It says so only when the window is on the screen.
constexpr QMargins kFrame(6, 36, 6, 6);
// A picture's pixel in points at most, at first; the user may make the window larger.
constexpr int kLargestFactor = 6;
constexpr int kCharactersInLine = 60;

QScreen* mainScreen() {
    const auto screens = Platform::current().desktop.screens();
    if (!screens.empty())
        for (QScreen* screen : QGuiApplication::screens())
            if (screen->name().toStdString() == screens.front().name)
                return screen;
    return QGuiApplication::primaryScreen();
}

ScreenRect rectFrom(const QRect& rect) {
    return {{double(rect.x()), double(rect.y())}, {double(rect.width()), double(rect.height())}};
}

QRect rectFrom(const ScreenRect& rect) {
    return {int(rect.origin.x), int(rect.origin.y), int(rect.size.width), int(rect.size.height)};
}

bool isEnter(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

} // namespace

PreviewWindow::PreviewWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::WindowStaysOnTopHint), ui_(std::make_unique<Ui::PreviewWindow>()) {
    ui_->setupUi(this);
    connect(ui_->previewExitButton, &QPushButton::clicked, this, [this] {
        if (onExit)
            onExit();
    });
    connect(ui_->previewDetectAgainButton, &QPushButton::clicked, this, [this] {
        if (onDetectAgain)
            onDetectAgain();
    });
}

PreviewWindow::~PreviewWindow() = default;

PreviewImageView* PreviewWindow::imageView() const {
    return ui_->imageView;
}

QLabel* PreviewWindow::previewMessage() const {
    return ui_->previewMessage;
}

QPushButton* PreviewWindow::previewExitButton() const {
    return ui_->previewExitButton;
}

QPushButton* PreviewWindow::previewDetectAgainButton() const {
    return ui_->previewDetectAgainButton;
}

void PreviewWindow::makeKeyAndOrderFront() {
    if (!isVisible())
        placeBesidePanel();
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    ui_->previewDetectAgainButton->setFocus(Qt::OtherFocusReason);
}

QSize PreviewWindow::sizeFor(int pictureFactor) const {
    const QSize picture = PreviewImageView::sizeFor(pictureFactor, devicePixelRatioF());
    const int lines = fontMetrics().averageCharWidth() * kCharactersInLine;
    const int words = ui_->previewMessage->heightForWidth(lines) + ui_->words->spacing() +
                      ui_->buttons->sizeHint().height();
    const QSize inside(picture.width() + ui_->columns->spacing() + lines, std::max(picture.height(), words));
    return inside.grownBy(ui_->columns->contentsMargins());
}

// With the largest picture for which there is room.
void PreviewWindow::placeBesidePanel() {
    QScreen* screen = mainScreen();
    if (!screen)
        return;
    setScreen(screen);
    int factor = int(std::floor(kLargestFactor * devicePixelRatioF()));
    ScreenRect place;
    QSize wanted;
    do {
        wanted = sizeFor(factor).grownBy(kFrame);
        place = previewPlace(rectFrom(screen->geometry()), {double(wanted.width()), double(wanted.height())},
                             rectFrom(screen->availableGeometry()));
    } while (rectFrom(place).size() != wanted && --factor > 0);
    setGeometry(rectFrom(place).marginsRemoved(kFrame));
}

// The picture has as much room as it fills, the words the rest, and the window is never lower than they need.
void PreviewWindow::share() {
    const QRect inside = ui_->columns->contentsRect();
    const int others = ui_->columns->spacing() + ui_->words->minimumSize().width();
    const QSize room(std::max(0, inside.width() - others), inside.height());
    ui_->imageView->setMaximumWidth(ui_->imageView->widthThatFills(room));
    ui_->columns->activate();
    const int needed = ui_->previewMessage->heightForWidth(ui_->previewMessage->width());
    ui_->previewMessage->setMinimumHeight(std::max(0, needed)); // none for no text
}

bool PreviewWindow::event(QEvent* event) {
    const bool handled = QWidget::event(event);
    if (event->type() == QEvent::LayoutRequest)
        share();
    return handled;
}

void PreviewWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    share();
}

void PreviewWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel))
        ui_->previewExitButton->click();
    else if (isEnter(*event))
        ui_->previewDetectAgainButton->click();
    else
        QWidget::keyPressEvent(event);
}

// Accepted, or no session could end while the window is open.
void PreviewWindow::closeEvent(QCloseEvent* event) {
    ui_->previewExitButton->click();
    // With the light still on it has already been shown anew by now, and an accepted event would hide it.
    event->setAccepted(!isVisible());
}

} // namespace lightpen
