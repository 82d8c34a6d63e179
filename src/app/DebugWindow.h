// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include <QWidget>

class QLineEdit;
class QString;

namespace lightpen {

namespace Ui {
class DebugWindow;
}

// Shows two of the unit's settings, with a button that sends them to the unit again. Stays above other
// windows. Escape closes it. Hidden at first. Main thread.
class DebugWindow final : public QWidget {
public:
    explicit DebugWindow(QWidget* parent = nullptr);
    ~DebugWindow() override;
    DebugWindow(const DebugWindow&) = delete;
    DebugWindow& operator=(const DebugWindow&) = delete;

    // Owned by the window. Their text can be copied, but not changed, by the user.
    QLineEdit* thresholdsTextField() const;
    QLineEdit* faeTextField() const;
    // The window's title, the labels of the two fields, and the button's text.
    void setTexts(const QString& title, const QString& threshold, const QString& exposure,
                  const QString& button);

    // Called for the button, and for Enter.
    std::function<void()> onButton = [] {};

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    const std::unique_ptr<Ui::DebugWindow> ui_;
};

} // namespace lightpen
