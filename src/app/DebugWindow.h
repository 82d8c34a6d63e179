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

// Shows two of the unit's settings and has a button that sends them to it again. Stays above other windows.
// Escape closes it. Hidden until it is shown. Main thread.
class DebugWindow final : public QWidget {
public:
    explicit DebugWindow(QWidget* parent = nullptr);
    ~DebugWindow() override;
    DebugWindow(const DebugWindow&) = delete;
    DebugWindow& operator=(const DebugWindow&) = delete;

    // Owned by the window; nobody can type into them, but their text can be selected and copied.
    QLineEdit* thresholdsTextField() const;
    QLineEdit* faeTextField() const;
    // The window's title, what stands before the two fields, and the button's text.
    void setTexts(const QString& title, const QString& threshold, const QString& exposure,
                  const QString& button);

    // The button, and Enter.
    std::function<void()> onButton;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    const std::unique_ptr<Ui::DebugWindow> ui_;
};

} // namespace lightpen
