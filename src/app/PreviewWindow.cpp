// SPDX-License-Identifier: MIT
#include "app/PreviewWindow.h"

#include <QCloseEvent>
#include <QKeyEvent>

#include "app/PreviewPlace.h"
#include "platform/Platform.h"
#include "ui_PreviewWindow.h"

namespace lightpen {

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
    show();
    raise();
    activateWindow();
    ui_->previewDetectAgainButton->setFocus(Qt::OtherFocusReason);
}

void PreviewWindow::placeBesidePanel() {}

void PreviewWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel))
        ui_->previewExitButton->click();
    else
        QWidget::keyPressEvent(event);
}

void PreviewWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    ui_->previewExitButton->click();
}

} // namespace lightpen
