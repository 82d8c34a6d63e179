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
        std::function<PreviewImageRef()> picture;
        // The points of the stored calibration; null where there are none.
        std::function<PointListRef()> points;
    };
    explicit UnitView(Unit unit, QWidget* parent = nullptr);

    // The texts from now on.
    void setTexts(const HomeTexts& text);
    // Asks for the calibration anew: the unit may be another one, or have another calibration.
    void calibrationDidChange();

protected:
    void showEvent(QShowEvent* event) override;

private:
    enum class State { nothing, fetching, picture, noUnit };

    void fetch();
    void showWords();

    const Unit unit_;
    HomeTexts text_ = [](std::string_view) { return QString(); };
    State state_ = State::nothing;
    PreviewImageView picture_;
    QLabel words_;
    QPushButton take_;
};

} // namespace lightpen
