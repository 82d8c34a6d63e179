// SPDX-License-Identifier: MIT
#include "app/home/HomeWindow.h"

#include <algorithm>
#include <utility>

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListWidget>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

#include "app/home/StateLine.h"

namespace lightpen {

namespace {

// In points; the smallest screens of projectors have 800 x 600.
constexpr QSize kFirstSize(720, 500);
constexpr int kLeastPageHeight = 220;
constexpr int kTitleSpacing = 3;

} // namespace

HomeWindow::HomeWindow(QWidget* parent)
    : QWidget(parent, Qt::Window), state_(new StateLine), titles_(new QListWidget),
      pages_(new QStackedWidget) {
    setObjectName("HomeWindow");
    setWindowTitle(QStringLiteral("LightPenNX7"));
    titles_->setObjectName("titles");
    titles_->setAccessibleName(windowTitle());
    titles_->setSpacing(kTitleSpacing);
    titles_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    titles_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    pages_->setMinimumHeight(kLeastPageHeight);

    auto* const rows = new QVBoxLayout(this);
    rows->addWidget(state_);
    auto* const columns = new QHBoxLayout;
    columns->addWidget(titles_);
    columns->addWidget(pages_, 1);
    rows->addLayout(columns, 1);

    connect(titles_, &QListWidget::currentRowChanged, pages_, &QStackedWidget::setCurrentIndex);
    for (const auto& [keys, step] :
         {std::pair(Qt::CTRL | Qt::Key_PageDown, 1), {Qt::CTRL | Qt::Key_PageUp, -1}})
        connect(new QShortcut(keys, this), &QShortcut::activated, this,
                [this, step = step] { turnPage(step); });
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { scrollTo(now); });
    resize(kFirstSize);
}

// The keyboard moves on once more while the parts of the window go.
HomeWindow::~HomeWindow() {
    disconnect(qApp, nullptr, this, nullptr);
}

// Whoever goes by the keyboard sees where it is.
void HomeWindow::scrollTo(QWidget* place) {
    auto* const area = dynamic_cast<QScrollArea*>(pages_->currentWidget());
    if (area && place && area->isAncestorOf(place))
        area->ensureWidgetVisible(place);
}

void HomeWindow::addPage(std::string titleKey, QWidget* page) {
    auto* const area = new QScrollArea;
    area->setWidget(page);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus); // what can be done has the keyboard, and the area follows it
    pages_->addWidget(area);
    titles_->addItem(QString::fromStdString(titleKey));
    titleKeys_.push_back(std::move(titleKey));
    if (titles_->currentRow() < 0)
        titles_->setCurrentRow(0);
}

void HomeWindow::showPage(std::string_view titleKey) {
    const auto found = std::ranges::find(titleKeys_, titleKey);
    if (found != titleKeys_.end())
        titles_->setCurrentRow(static_cast<int>(found - titleKeys_.begin()));
}

void HomeWindow::turnPage(int step) {
    titles_->setCurrentRow(std::clamp(titles_->currentRow() + step, 0, titles_->count() - 1));
}

void HomeWindow::setState(const ShownState& state) {
    state_->setState(state);
    fitStateLine();
}

void HomeWindow::setTexts(const HomeTexts& texts) {
    state_->setTexts(texts);
    for (int row = 0; row < titles_->count(); ++row)
        titles_->item(row)->setText(texts(titleKeys_[static_cast<std::size_t>(row)]));
    fitPages();
    fitStateLine();
}

// No text is cut, whatever the language: titles and pages have the width that they need.
void HomeWindow::fitPages() {
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    titles_->setFixedWidth(titles_->sizeHintForColumn(0) + bar + 2 * kTitleSpacing +
                           2 * titles_->frameWidth());
    int width = 0;
    for (int i = 0; i < pages_->count(); ++i) {
        QWidget& page = *dynamic_cast<QScrollArea&>(*pages_->widget(i)).widget();
        if (page.layout())
            page.layout()->activate(); // else layouts within it still have the room of the last texts
        width = std::max(width, page.minimumSizeHint().width());
    }
    pages_->setMinimumWidth(width + bar);
}

// A window does not ask its layout how high lines are that break.
void HomeWindow::fitStateLine() {
    const QMargins margins = layout()->contentsMargins();
    state_->setMinimumHeight(0);
    state_->setMinimumHeight(std::max(0, state_->heightForWidth(width() - margins.left() - margins.right())));
}

void HomeWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitStateLine();
}

void HomeWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel))
        close();
    else
        QWidget::keyPressEvent(event);
}

void HomeWindow::bringToFront() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    if (!focusWidget())
        titles_->setFocus(Qt::OtherFocusReason);
}

} // namespace lightpen
