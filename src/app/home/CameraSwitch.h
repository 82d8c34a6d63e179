// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include <QWidget>

#include "app/home/HomeTexts.h"

class QLabel;
class QPushButton;

namespace lightpen {

struct ProgramCamera;

// Switches the program's own camera on and off, and says what becomes of its pictures. Main thread.
class CameraSwitch final : public QWidget {
public:
    // Called when the user wants the camera to look, or not.
    explicit CameraSwitch(std::function<void(bool)> switchOn, QWidget* parent = nullptr);

    // Shows how the camera is now.
    void setState(const ProgramCamera& camera, const HomeTexts& texts);

private:
    QPushButton* const button_;
    QLabel* const words_;
    bool switchedOn_ = false;
};

} // namespace lightpen
