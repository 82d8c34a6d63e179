// SPDX-License-Identifier: MIT
#include "app/PreviewWindow.h"

#include <algorithm>
#include <cmath>

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMargins>

#include "app/PreviewPlace.h"
#include "device/FloatPanel.h"
#include "ui_PreviewWindow.h"

namespace lightpen {

namespace {

// What a window manager's frame may take. It says so only when the window is on the screen.
constexpr QMargins kFrame(6, 36, 6, 6);
// A picture's pixel in points at most, at first; the user may make the window larger.
constexpr int kLargestFactor = 6;
constexpr int kCharactersInLine = 60;

} // namespace

PreviewWindow::PreviewWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::WindowStaysOnTopHint), ui_(std::make_unique<Ui::PreviewWindow>()) {
    ui_->setupUi(this);
    connect(ui_->previewExitButton, &QPushButton::clicked, this, [this] { onExit(); });
    connect(ui_->previewDetectAgainButton, &QPushButton::clicked, this, [this] { onDetectAgain(); });
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

void PreviewWindow::screensDidChange() {
    const QScreen* screen = mainScreen();
    if (isVisible() && screen && !screen->geometry().contains(frameGeometry()) && !isWhereTheUserPutIt())
        placeBesidePanel();
}

// Qt moves the windows of a screen that leaves only after it has told of that.
bool PreviewWindow::isWhereTheUserPutIt() const {
    return screen() != placedOn_ && QGuiApplication::screens().contains(screen());
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
    placedOn_ = screen;
    int factor = int(std::floor(kLargestFactor * devicePixelRatioF()));
    QRect place;
    QSize wanted;
    do {
        wanted = sizeFor(factor).grownBy(kFrame);
        place = previewPlace(screen->geometry(), wanted, screen->availableGeometry());
    } while (place.size() != wanted && --factor > 0);
    setGeometry(place.marginsRemoved(kFrame));
}

// The picture has as much room as it fills, the words the rest, and the window is never lower than they need.
void PreviewWindow::share() {
    const QRect inside = ui_->columns->contentsRect();
    const int others = ui_->columns->spacing() + ui_->words->minimumSize().width();
    const QSize room(std::max(0, inside.width() - others), inside.height());
    ui_->imageView->setMaximumWidth(ui_->imageView->widthThatFills(room));
    ui_->columns->activate();
    const int needed = ui_->previewMessage->heightForWidth(ui_->previewMessage->width());
    ui_->previewMessage->setMinimumHeight(std::max(0, needed)); // needed is -1 for an empty text
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
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        ui_->previewDetectAgainButton->click();
    else
        QWidget::keyPressEvent(event);
}

// A refused close would keep the user's desktop session from ending.
void PreviewWindow::closeEvent(QCloseEvent* event) {
    ui_->previewExitButton->click();
    // While the light is still on, the click has shown the window anew; an accepted event would hide it.
    event->setAccepted(!isVisible());
}

} // namespace lightpen
