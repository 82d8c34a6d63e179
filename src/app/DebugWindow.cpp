// SPDX-License-Identifier: MIT
#include "app/DebugWindow.h"

#include <QKeyEvent>

#include "ui_DebugWindow.h"

namespace lightpen {

DebugWindow::DebugWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::WindowStaysOnTopHint), ui_(std::make_unique<Ui::DebugWindow>()) {
    ui_->setupUi(this);
    connect(ui_->button, &QPushButton::clicked, this, [this] { onButton(); });
}

DebugWindow::~DebugWindow() = default;

QLineEdit* DebugWindow::thresholdsTextField() const {
    return ui_->thresholdsTextField;
}

QLineEdit* DebugWindow::faeTextField() const {
    return ui_->faeTextField;
}

void DebugWindow::setTexts(const QString& title, const QString& threshold, const QString& exposure,
                           const QString& button) {
    setWindowTitle(title);
    ui_->thresholdsLabel->setText(threshold);
    ui_->faeLabel->setText(exposure);
    ui_->button->setText(button);
}

void DebugWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel))
        close();
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        ui_->button->click();
    else
        QWidget::keyPressEvent(event);
}

} // namespace lightpen
