// SPDX-License-Identifier: MIT
#include "webcam/CalibrationScreen.h"

#include <utility>

#include <QCloseEvent>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>

#include "app/ResourceImages.h"
#include "device/FloatPanel.h"

namespace lightpen::webcam {

namespace {

// The program's own picture of a target has a disc of this part of its width. A dot without the picture is as
// wide, in points.
constexpr double kDiscPart = 40.0 / 64;
constexpr double kPlainDot = 40;
// Of the cross, in points.
constexpr double kArm = 24;
constexpr double kLine = 3;
// The words stand in the upper part of the window, as parts of its size.
constexpr double kWordsSide = 0.14;
constexpr double kWordsTop = 0.12;
constexpr double kWordsBottom = 0.38;

} // namespace

CalibrationScreen::CalibrationScreen()
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      dotPicture_(resourceImage("auto")) {
    setObjectName(QStringLiteral("cameraCalibration"));
    setFocusPolicy(Qt::StrongFocus);
    words_.setObjectName(QStringLiteral("cameraCalibrationWords"));
    words_.setTextFormat(Qt::PlainText);
    words_.setWordWrap(true);
    words_.setAlignment(Qt::AlignCenter);
    words_.setAttribute(Qt::WA_TransparentForMouseEvents);
}

double CalibrationScreen::dotWidth() const {
    return dotPicture_.isNull() ? kPlainDot : dotPicture_.deviceIndependentSize().width() * kDiscPart;
}

void CalibrationScreen::showDark() {
    cover(Kind::dark);
}

void CalibrationScreen::showDot(const std::optional<ScreenPoint>& middle) {
    if (dot_ == middle)
        return;
    dot_ = middle;
    update();
}

void CalibrationScreen::showCross(const QString& words) {
    words_.setText(words.arg(QKeySequence(Qt::Key_Escape).toString(QKeySequence::NativeText)));
    setAccessibleDescription(words_.text());
    cover(Kind::cross);
}

void CalibrationScreen::cover(Kind kind) {
    kind_ = kind;
    dot_.reset();
    pressed_ = false;
    words_.setVisible(kind == Kind::cross);
    setCursor(kind == Kind::dark ? Qt::BlankCursor : Qt::ArrowCursor);
    coverMainScreen(*this);
    placeWords();
    update();
    raise();
    activateWindow();
    setFocus(Qt::OtherFocusReason);
}

void CalibrationScreen::placeWords() {
    const auto across = [this](double part) { return int(width() * part); };
    const auto down = [this](double part) { return int(height() * part); };
    words_.setGeometry(QRect(QPoint(across(kWordsSide), down(kWordsTop)),
                             QPoint(across(1 - kWordsSide), down(kWordsBottom))));
}

void CalibrationScreen::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (kind_ == Kind::cross) {
        painter.fillRect(rect(), palette().color(QPalette::Base));
        const QPointF middle = QRectF(placeOfScreen(*this, mainScreen())).center();
        painter.setPen(QPen(palette().color(QPalette::Text), kLine));
        painter.drawLine(middle - QPointF(kArm, 0), middle + QPointF(kArm, 0));
        painter.drawLine(middle - QPointF(0, kArm), middle + QPointF(0, kArm));
        return;
    }
    painter.fillRect(rect(), Qt::black);
    if (!dot_)
        return;
    const QPointF middle(dot_->x, dot_->y);
    if (dotPicture_.isNull()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawEllipse(middle, kPlainDot / 2, kPlainDot / 2);
    } else {
        const QSizeF size = dotPicture_.deviceIndependentSize();
        painter.drawPixmap(middle - QPointF(size.width() / 2, size.height() / 2), dotPicture_);
    }
}

// Dots in windows of different sizes do not go together.
void CalibrationScreen::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    placeWords();
    if (dot_)
        onOtherSize();
}

void CalibrationScreen::mousePressEvent(QMouseEvent* event) {
    event->accept();
    pressed_ = kind_ == Kind::dark;
}

// The click that has begun it all may still have its release to come, so the press counts too.
void CalibrationScreen::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    if (std::exchange(pressed_, false))
        onEnd();
}

void CalibrationScreen::keyPressEvent(QKeyEvent* event) {
    event->accept();
    if (event->matches(QKeySequence::Cancel))
        onEnd();
}

void CalibrationScreen::closeEvent(QCloseEvent* event) {
    event->accept();
    onEnd();
}

} // namespace lightpen::webcam
