// SPDX-License-Identifier: MIT
#include "app/DebugWindow.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

class DebugWindowTest : public testing::Test {
protected:
    DebugWindowTest() {
        window.setTexts("Debugging", "Threshold", "Exposure", "Send");
        window.onButton = [this] { ++presses; };
        window.show();
        QCoreApplication::processEvents();
    }
    void press(int key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier,
                        key == Qt::Key_9 ? QStringLiteral("9") : QString());
        QCoreApplication::sendEvent(window.focusWidget() ? window.focusWidget() : &window, &event);
    }
    // The label that belongs to the field.
    QString labelOf(const QLineEdit* field) {
        for (const QLabel* label : window.findChildren<QLabel*>())
            if (label->buddy() == field)
                return label->text();
        return {};
    }

    const bool application = ensureOffscreenApplication();
    DebugWindow window;
    int presses = 0;
};

TEST_F(DebugWindowTest, HasItsTextsWhereTheyBelong) {
    EXPECT_EQ(window.windowTitle(), "Debugging");
    EXPECT_EQ(labelOf(window.thresholdsTextField()), "Threshold");
    EXPECT_EQ(labelOf(window.faeTextField()), "Exposure");
    ASSERT_EQ(window.findChildren<QPushButton*>().size(), 1);
    EXPECT_EQ(window.findChildren<QPushButton*>().front()->text(), "Send");
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST_F(DebugWindowTest, NobodyTypesIntoItsFields) {
    window.thresholdsTextField()->setText("-1");
    window.faeTextField()->setText("12");
    for (QLineEdit* field : {window.thresholdsTextField(), window.faeTextField()}) {
        field->setFocus();
        press(Qt::Key_9);
        press(Qt::Key_Backspace);
    }
    EXPECT_EQ(window.thresholdsTextField()->text(), "-1");
    EXPECT_EQ(window.faeTextField()->text(), "12");
}

TEST_F(DebugWindowTest, TheButtonAndEnterAreTheSame) {
    window.findChildren<QPushButton*>().front()->click();
    EXPECT_EQ(presses, 1);
    window.faeTextField()->setFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(presses, 2);
    DebugWindow().findChildren<QPushButton*>().front()->click();
    EXPECT_EQ(presses, 2) << "nobody's";
}

TEST_F(DebugWindowTest, TabsGoThroughTheFieldsToTheButton) {
    window.thresholdsTextField()->setFocus();
    press(Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), window.faeTextField());
    press(Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), window.findChildren<QPushButton*>().front());
}

TEST_F(DebugWindowTest, EscapeClosesIt) {
    press(Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(presses, 0);
}

} // namespace
} // namespace lightpen
