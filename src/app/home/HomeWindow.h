// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <QWidget>

#include "app/home/HomeTexts.h"

class QListWidget;
class QStackedWidget;

namespace lightpen {

class StateLine;
struct ShownState;

// The application's window: a line that says what is so with the pen, and below it pages of which one is
// shown. Everything in it can be reached by the keyboard; Escape closes it, and it is only hidden then. Main
// thread.
class HomeWindow final : public QWidget {
public:
    explicit HomeWindow(QWidget* parent = nullptr);
    ~HomeWindow() override;
    HomeWindow(const HomeWindow&) = delete;
    HomeWindow& operator=(const HomeWindow&) = delete;

    // Takes the page in, behind the others, with the key of its title.
    void addPage(std::string titleKey, QWidget* page);
    // Shows the page of this title; without one the present page stays.
    void showPage(std::string_view titleKey);
    // Says what is so with the pen, above all pages.
    void setState(const ShownState& state);
    // Gives the frame its texts; the pages have got theirs already.
    void setTexts(const HomeTexts& texts);
    // Shows the window before others, with the keyboard where the desktop lets it.
    void bringToFront();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void turnPage(int step);
    void scrollTo(QWidget* place);
    void fitPages();
    void fitStateLine();

    StateLine* const state_;
    QListWidget* const titles_;
    QStackedWidget* const pages_;
    std::vector<std::string> titleKeys_;
};

} // namespace lightpen
