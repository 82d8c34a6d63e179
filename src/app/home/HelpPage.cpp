// SPDX-License-Identifier: MIT
#include "app/home/HelpPage.h"

#include <utility>

#include <QPushButton>
#include <QVBoxLayout>

#include "app/home/CopyButton.h"
#include "app/home/PlainLabel.h"

namespace lightpen {

HelpPage::HelpPage(std::function<void()> openHelp, const std::function<QString()>& report, QWidget* parent)
    : QWidget(parent), open_(new QPushButton), copy_(new CopyButton(report)), copyWords_(new QLabel),
      versionLabel_(new QLabel), logLabel_(new QLabel) {
    open_->setObjectName("openHelp");
    copy_->setObjectName("copyReport");
    versionLabel_->setObjectName("version");
    logLabel_->setObjectName("logFile");
    showPlainText(*copyWords_);
    for (QLabel* label : {versionLabel_, logLabel_})
        showTextToCopy(*label);
    auto* const rows = new QVBoxLayout(this);
    rows->addWidget(open_, 0, Qt::AlignLeading);
    rows->addSpacing(rows->spacing());
    rows->addWidget(copy_, 0, Qt::AlignLeading);
    rows->addWidget(copyWords_);
    rows->addSpacing(rows->spacing());
    rows->addWidget(versionLabel_);
    rows->addWidget(logLabel_);
    rows->addStretch(1);
    copy_->setVisible(report != nullptr);
    copyWords_->setVisible(report != nullptr);
    connect(open_, &QPushButton::clicked, this, std::move(openHelp));
}

void HelpPage::setFacts(const QString& version, const QString& logFile) {
    version_ = version;
    logFile_ = logFile;
}

void HelpPage::setTexts(const HomeTexts& texts) {
    open_->setText(texts("Open the help"));
    copy_->setWords(texts("Copy a report for help"), texts("Copied"));
    copyWords_->setText(
        texts("It holds versions, screens, what the unit says of itself and the last lines of "
              "the log, but not where the pen has touched."));
    copy_->setAccessibleDescription(copyWords_->text());
    versionLabel_->setText(texts("Version %1").arg(version_));
    logLabel_->setText(texts("The log is in %1").arg(logFile_));
    logLabel_->setVisible(!logFile_.isEmpty());
}

} // namespace lightpen
