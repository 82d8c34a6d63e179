// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include <QWidget>

#include "app/home/HomeTexts.h"

class QLabel;
class QPushButton;

namespace lightpen {

class CopyButton;

// Where help is: the document, the version, the log, and a report for somebody who helps. Main thread.
class HelpPage final : public QWidget {
public:
    // The first is called when the user wants the document, the second returns the report; without one
    // there is no button for it.
    HelpPage(std::function<void()> openHelp, const std::function<QString()>& report,
             QWidget* parent = nullptr);

    // The path is empty where the log goes to no file.
    void setFacts(const QString& version, const QString& logFile);
    void setTexts(const HomeTexts& texts);

private:
    QPushButton* const open_;
    CopyButton* const copy_;
    QLabel* const copyWords_;
    QLabel* const versionLabel_;
    QLabel* const logLabel_;
    QString version_;
    QString logFile_;
};

} // namespace lightpen
