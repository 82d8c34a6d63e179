// SPDX-License-Identifier: MIT
#include "app/home/StateLine.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include "app/home/CopyButton.h"
#include "app/home/PlainLabel.h"

namespace lightpen {

namespace {

constexpr QSize kPictureSize(48, 48);
constexpr double kTextEnlarged = 1.2;

} // namespace

StateLine::StateLine(QWidget* parent)
    : QWidget(parent), picture_(new QLabel), text_(new QLabel), advice_(new QLabel), commandRow_(new QWidget),
      command_(new QLabel), copy_(new CopyButton([this] { return command_->text(); })) {
    text_->setObjectName("stateText");
    advice_->setObjectName("stateAdvice");
    command_->setObjectName("stateCommand");
    copy_->setObjectName("stateCopy");
    showPlainText(*text_);
    showPlainText(*advice_);
    showTextToCopy(*command_);
    QFont larger = text_->font();
    larger.setPointSizeF(larger.pointSizeF() * kTextEnlarged);
    larger.setBold(true);
    text_->setFont(larger);
    command_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));

    auto* const columns = new QHBoxLayout(this);
    columns->addWidget(picture_, 0, Qt::AlignTop);
    auto* const words = new QVBoxLayout;
    words->addWidget(text_);
    words->addWidget(advice_);
    // A widget: an empty layout would leave the words no more than their least width.
    auto* const commandRow = new QHBoxLayout(commandRow_);
    commandRow->setContentsMargins(0, 0, 0, 0);
    commandRow->addWidget(command_, 1);
    commandRow->addWidget(copy_, 0, Qt::AlignTop);
    words->addWidget(commandRow_);
    columns->addLayout(words, 1);

    setState({});
}

void StateLine::setState(const ShownState& state) {
    picture_->setPixmap(state.picture.pixmap(kPictureSize, devicePixelRatioF()));
    text_->setText(state.text);
    advice_->setText(state.advice);
    advice_->setVisible(!state.advice.isEmpty());
    command_->setText(state.command);
    commandRow_->setVisible(!state.command.isEmpty());
}

void StateLine::setTexts(const HomeTexts& texts) {
    copy_->setWords(texts("Copy"), texts("Copied"));
    copy_->setAccessibleDescription(command_->text());
}

} // namespace lightpen
