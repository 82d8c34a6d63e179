// SPDX-License-Identifier: MIT
#include "app/home/UnitView.h"

#include <utility>

#include <QPointer>
#include <QVBoxLayout>

#include "app/home/PlainLabel.h"
#include "calibration/TargetGrid.h"

namespace lightpen {

std::optional<std::array<CameraPoint, 4>> outerCorners(const PointListRef& points) {
    if (!points)
        return std::nullopt;
    const auto grid = TargetGrid::forTotalPoints(static_cast<std::int64_t>(points->size()));
    if (!grid.isCoveredBy(points->size()))
        return std::nullopt;
    const auto at = [&](std::int64_t row, std::int64_t column) {
        return (*points)[static_cast<std::size_t>(row * grid.columns + column)];
    };
    const std::int64_t row = grid.rows - 1;
    const std::int64_t column = grid.columns - 1;
    return std::array{at(0, 0), at(0, column), at(row, column), at(row, 0)};
}

UnitView::UnitView(Unit unit, QWidget* parent) : QWidget(parent), unit_(std::move(unit)) {
    picture_.setObjectName(QStringLiteral("unitPicture"));
    words_.setObjectName(QStringLiteral("unitWords"));
    take_.setObjectName(QStringLiteral("unitTakePicture"));
    showTextToCopy(words_);
    auto* const rows = new QVBoxLayout(this); // Qt's
    rows->addWidget(&picture_, 1);
    rows->addWidget(&words_);
    rows->addWidget(&take_, 0, Qt::AlignLeft);
    connect(&take_, &QPushButton::clicked, this, &UnitView::fetch);
    showWords();
}

void UnitView::setTexts(const HomeTexts& text) {
    text_ = text;
    picture_.setAccessibleName(text("Camera picture"));
    picture_.setWaitingText(text("No picture yet"));
    take_.setText(text("Take a picture"));
    showWords();
}

void UnitView::unitDidChange() {
    const PointListRef points = unit_.points();
    hasUnit_ = points != nullptr;
    picture_.setOutline(outerCorners(points));
    if (!hasUnit_)
        picture_.setImage(nullptr); // nobody sees that any more
    showWords();
}

void UnitView::unitDidArrive() {
    anotherUnit_ = fetching_;
    picture_.setImage(nullptr);
    unitDidChange();
}

void UnitView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    unitDidChange();
}

// The main loop runs meanwhile, and whatever it does may take this view away.
void UnitView::fetch() {
    if (std::exchange(fetching_, true))
        return;
    const QPointer<UnitView> self(this);
    showWords();
    const PreviewImageRef image = unit_.picture();
    if (!self)
        return;
    fetching_ = false;
    picture_.setImage(std::exchange(anotherUnit_, false) ? nullptr : image);
    unitDidChange();
    take_.setFocus(Qt::OtherFocusReason);
}

void UnitView::showWords() {
    take_.setEnabled(hasUnit_ && !fetching_);
    if (fetching_)
        words_.setText(text_("Fetching the picture..."));
    else if (!hasUnit_)
        words_.setText(text_("No camera unit"));
    else
        words_.setText(picture_.outline()
                           ? text_("The frame joins the places that were touched in the calibration.")
                           : text_("The camera unit holds no calibration."));
    picture_.setAccessibleDescription(words_.text());
}

} // namespace lightpen
