// SPDX-License-Identifier: MIT
#include "app/home/StateLine.h"

#include <QClipboard>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/home/PlainLabel.h"

namespace lightpen {

namespace {

constexpr QSize kPictureSize(48, 48);
constexpr double kTextEnlarged = 1.2;

} // namespace

StateLine::StateLine(QWidget* parent)
    : QWidget(parent), picture_(new QLabel), text_(new QLabel), commandRow_(new QWidget),
      command_(new QLabel), copy_(new QPushButton) {
    text_->setObjectName("stateText");
    command_->setObjectName("stateCommand");
    copy_->setObjectName("stateCopy");
    showPlainText(*text_);
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
    // A widget: an empty layout would leave the words no more than their least width.
    auto* const commandRow = new QHBoxLayout(commandRow_);
    commandRow->setContentsMargins(0, 0, 0, 0);
    commandRow->addWidget(command_, 1);
    commandRow->addWidget(copy_, 0, Qt::AlignTop);
    words->addWidget(commandRow_);
    columns->addLayout(words, 1);

    connect(copy_, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(command_->text()); });
    setState({}, {}, {});
}

void StateLine::setState(const QIcon& picture, const QString& text, const QString& command) {
    picture_->setPixmap(picture.pixmap(kPictureSize, devicePixelRatioF()));
    text_->setText(text);
    command_->setText(command);
    commandRow_->setVisible(!command.isEmpty());
}

void StateLine::setTexts(const HomeTexts& texts) {
    copy_->setText(texts("Copy"));
    copy_->setAccessibleDescription(command_->text());
}

} // namespace lightpen
