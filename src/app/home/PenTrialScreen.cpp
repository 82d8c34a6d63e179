// SPDX-License-Identifier: MIT
#include "app/home/PenTrialScreen.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include "app/home/CalibrationWillBegin.h"
#include "app/home/PenTrialPicture.h"
#include "app/home/PenTrialWords.h"
#include "app/home/PlainLabel.h"
#include "device/FloatPanel.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

// The words stand between the upper two rows of crosses and the button between the lower two, where no touch
// of a cross is expected. As parts of the window's width and height.
constexpr double kWordsSide = 0.14;
constexpr double kWordsTop = 0.17;
constexpr double kWordsBottom = 0.43;
constexpr double kButtonMiddle = 0.7;
constexpr double kEnlarged = 1.5; // words that are read from a room's last row

} // namespace

PenTrialScreen::PenTrialScreen() : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint) {
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    setFocusPolicy(Qt::StrongFocus);
    words_.setObjectName(QStringLiteral("penTrialScreenWords"));
    showPlainText(words_);
    words_.setAlignment(Qt::AlignCenter);
    words_.setForegroundRole(QPalette::Text);
    words_.setAttribute(Qt::WA_TransparentForMouseEvents);
    QFont font = words_.font();
    font.setPointSizeF(font.pointSizeF() * kEnlarged);
    words_.setFont(font);
    back_.setFont(font);
    back_.setObjectName(QStringLiteral("penTrialBack"));
    connect(&back_, &QPushButton::clicked, this, &QWidget::close);
    NotificationCenter& notifications = Platform::current().notifications;
    notifications.addObserver(this, kScreensDidChange, nullptr,
                              [this](const Notification&) { screensDidChange(); });
    for (const std::string_view end : {kScreenWasCovered, kCalibrationWillBegin})
        notifications.addObserver(this, end, nullptr, [this](const Notification&) {
            if (isVisible())
                close();
        });
}

PenTrialScreen::~PenTrialScreen() {
    Platform::current().notifications.removeObserver(this);
}

void PenTrialScreen::setTexts(const HomeTexts& text) {
    text_ = text;
    setWindowTitle(text("Try the pen"));
    back_.setText(text("Back"));
    showWords();
    placeWordsAndButton();
}

void PenTrialScreen::begin() {
    coverMainScreen(*this);
    startOver();
    raise();
    activateWindow();
    setFocus(Qt::OtherFocusReason);
}

void PenTrialScreen::startOver() {
    trial_ = PenTrial({double(width()), double(height())});
    showWords();
    placeWordsAndButton();
    update();
}

void PenTrialScreen::showWords() {
    const QString found = penTrialWords(trial_, devicePixelRatioF(), text_);
    const QString wanted = text_("Touch the middle of each cross with the pen. %1 ends it.")
                               .arg(QKeySequence(Qt::Key_Escape).toString(QKeySequence::NativeText));
    words_.setText(trial_.isComplete() ? found : wanted + '\n' + found);
    setAccessibleDescription(words_.text());
}

void PenTrialScreen::placeWordsAndButton() {
    const auto across = [this](double part) { return int(width() * part); };
    const auto down = [this](double part) { return int(height() * part); };
    words_.setGeometry(QRect(QPoint(across(kWordsSide), down(kWordsTop)),
                             QPoint(across(1 - kWordsSide), down(kWordsBottom))));
    back_.adjustSize();
    back_.move((width() - back_.width()) / 2, down(kButtonMiddle) - back_.height() / 2);
}

void PenTrialScreen::screensDidChange() {
    const QScreen* screen = mainScreen();
    if (isVisible() && screen && screen->geometry() != geometry() &&
        !Platform::current().systemUI.isScreenCovered())
        begin();
}

void PenTrialScreen::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintPenTrial(painter, trial_, palette());
}

// Touches in a window of another size were those of crosses elsewhere.
void PenTrialScreen::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    startOver();
}

void PenTrialScreen::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !trial_.touch({event->position().x(), event->position().y()}))
        return;
    showWords();
    update();
    if (trial_.isComplete())
        back_.setFocus(Qt::OtherFocusReason);
}

void PenTrialScreen::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel))
        close();
    else
        QWidget::keyPressEvent(event);
}

void PenTrialScreen::closeEvent(QCloseEvent* event) {
    event->accept();
    hide();
    onEnd();
}

} // namespace lightpen
