// SPDX-License-Identifier: MIT
#include "app/home/CameraSwitch.h"

#include <utility>

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/home/ProgramFacts.h"

namespace lightpen {

CameraSwitch::CameraSwitch(std::function<void(bool)> switchOn, QWidget* parent)
    : QWidget(parent), button_(new QPushButton), words_(new QLabel) {
    button_->setObjectName("switchCamera");
    words_->setObjectName("cameraWords");
    words_->setTextFormat(Qt::PlainText);
    words_->setWordWrap(true);
    auto* const rows = new QVBoxLayout(this);
    rows->addWidget(words_);
    rows->addWidget(button_, 0, Qt::AlignLeading);
    connect(button_, &QPushButton::clicked, this, [this, deed = std::move(switchOn)] { deed(!switchedOn_); });
}

void CameraSwitch::setState(const ProgramCamera& camera, const HomeTexts& texts) {
    switchedOn_ = camera.switchedOn();
    words_->setText(texts(camera.state()) + QLatin1Char('\n') +
                    texts("Its pictures stay in memory. None is ever stored or sent."));
    button_->setText(texts(switchedOn_ ? "Switch the camera off" : "Switch the camera on"));
    button_->setAccessibleDescription(words_->text());
}

} // namespace lightpen
