// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <functional>
#include <optional>

#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include "app/PreviewImageView.h"
#include "app/home/HomeTexts.h"
#include "device/PointList.h"

namespace lightpen {

// The outer corners of the stored calibration's targets as the camera sees them, clockwise from the upper
// left; none where the list is null or too short. Pure.
std::optional<std::array<CameraPoint, 4>> outerCorners(const PointListRef& points);

// Shows what the camera sees, when the user asks for it, with the corners of the stored calibration joined by
// a frame. Main thread.
class UnitView final : public QWidget {
public:
    // Whom it asks.
    struct Unit {
        // A new picture; null without a unit. May run the main loop, and take without limit.
        std::function<PreviewImageRef()> picture = [] { return PreviewImageRef(); };
        // The points of the stored calibration, empty where there are none; null without a unit.
        std::function<PointListRef()> points = [] { return PointListRef(); };
    };
    explicit UnitView(Unit unit, QWidget* parent = nullptr);

    // The texts from now on.
    void setTexts(const HomeTexts& text);
    // Asks for the calibration anew: the unit may have gone, be another one, or have another calibration.
    void unitDidChange();
    // There is another unit: what the last one saw is not shown any more.
    void unitDidArrive();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void fetch();
    void showWords();

    const Unit unit_;
    HomeTexts text_ = [](std::string_view) { return QString(); };
    bool hasUnit_ = false;
    bool fetching_ = false;
    bool anotherUnit_ = false; // has come while a picture is fetched
    PreviewImageView picture_;
    QLabel words_;
    QPushButton take_;
};

} // namespace lightpen
