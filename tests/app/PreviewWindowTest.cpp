// SPDX-License-Identifier: MIT
#include "app/PreviewWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <QCloseEvent>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>

#include "kit/TestPlatform.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PreviewWindowTest : public testing::Test {
protected:
    PreviewWindowTest() {
        window.onExit = [this] { calls.emplace_back("exit"); };
        window.onDetectAgain = [this] { calls.emplace_back("again"); };
        window.previewMessage()->setText(QStringLiteral("There is too much light in this room."));
        window.previewExitButton()->setText(QStringLiteral("Exit"));
        window.previewDetectAgainButton()->setText(QStringLiteral("Again"));
    }
    void show() {
        window.makeKeyAndOrderFront();
        QCoreApplication::processEvents();
    }
    // As the user's keyboard: to whatever has the focus.
    void press(int key) {
        QWidget* target = window.focusWidget() ? window.focusWidget() : &window;
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, Qt::NoModifier,
                            key == Qt::Key_Space ? QStringLiteral(" ") : QString());
            QCoreApplication::sendEvent(target, &event);
        }
    }

    const bool application = ensureOffscreenApplication();
    TestPlatform desk;
    PreviewWindow window;
    std::vector<std::string> calls;
};

TEST_F(PreviewWindowTest, IsHiddenUntilItIsShownAndStaysOnTop) {
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(window.isWindow());
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    show();
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.previewMessage()->isVisible());
    EXPECT_TRUE(window.imageView()->isVisible());
    window.orderOut();
    EXPECT_FALSE(window.isVisible());
    EXPECT_THAT(calls, IsEmpty()) << "who hides it knows";
}

TEST_F(PreviewWindowTest, ButtonsSayWhatTheyAreAndThoseOfNobodyDoNothing) {
    PreviewWindow nobodys;
    for (const PreviewWindow* clicked : {&window, &nobodys}) {
        clicked->previewExitButton()->click();
        clicked->previewDetectAgainButton()->click();
        EXPECT_THAT(calls, ElementsAre("exit", "again"));
    }
}

TEST_F(PreviewWindowTest, TheKeyboardIsAtDetectAgainAndGoesOnToExit) {
    show();
    EXPECT_EQ(window.focusWidget(), window.previewDetectAgainButton());
    press(Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), window.previewExitButton());
    press(Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), window.previewDetectAgainButton()) << "nothing else takes keys";
}

TEST_F(PreviewWindowTest, EnterAndSpacePressTheButtonThatHasTheKeyboard) {
    show();
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    press(Qt::Key_Tab);
    press(Qt::Key_Enter);
    press(Qt::Key_Space);
    EXPECT_THAT(calls, ElementsAre("again", "again", "exit", "exit"));
}

TEST_F(PreviewWindowTest, EnterDetectsAgainWhereNoButtonHasTheKeyboard) {
    show();
    window.previewDetectAgainButton()->clearFocus();
    ASSERT_EQ(window.focusWidget(), nullptr);
    press(Qt::Key_Return);
    press(Qt::Key_A);
    EXPECT_THAT(calls, ElementsAre("again"));
}

TEST_F(PreviewWindowTest, EscapeIsTheExitButtonFromAnywhere) {
    show();
    press(Qt::Key_Escape);
    press(Qt::Key_Tab);
    press(Qt::Key_Escape);
    EXPECT_THAT(calls, ElementsAre("exit", "exit"));
}

TEST_F(PreviewWindowTest, ClosingItIsTheExitButton) {
    window.onExit = [this] {
        calls.emplace_back("exit");
        window.orderOut();
    };
    show();
    QCloseEvent event;
    QCoreApplication::sendEvent(&window, &event);
    EXPECT_TRUE(event.isAccepted()) << "or no session could end";
    EXPECT_FALSE(window.isVisible());
    EXPECT_THAT(calls, ElementsAre("exit"));
    show();
    EXPECT_TRUE(window.isVisible());
}

// Whoever closes it with the light still on gets it again, at once.
TEST_F(PreviewWindowTest, StaysWhenItIsShownAnewWhileItCloses) {
    window.onExit = [this] {
        calls.emplace_back("exit");
        window.orderOut();
        window.makeKeyAndOrderFront();
    };
    show();
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    EXPECT_THAT(calls, ElementsAre("exit"));
}

TEST_F(PreviewWindowTest, KeepsTheWordsWholeInWhateverSizeTheUserGivesIt) {
    window.previewMessage()->setText(QStringLiteral("There is too much light in this room. ").repeated(8));
    show();
    for (const QSize size : {QSize(1, 1), QSize(1, 400), QSize(500, 1), QSize(1500, 1), QSize(1500, 900)}) {
        window.resize(size);
        QCoreApplication::processEvents();
        const QLabel& message = *window.previewMessage();
        EXPECT_GE(message.height(), message.heightForWidth(message.width())) << size.width();
        EXPECT_TRUE(window.rect().contains(window.previewExitButton()->geometry())) << size.width();
    }
}

TEST_F(PreviewWindowTest, ThePictureGrowsWithTheWindow) {
    show();
    window.resize(700, 250);
    QCoreApplication::processEvents();
    const QSize small = window.imageView()->size();
    window.resize(1900, 1000);
    QCoreApplication::processEvents();
    EXPECT_GT(window.imageView()->width(), 2 * small.width());
    EXPECT_GT(window.imageView()->height(), 2 * small.height());
}

// There is no more beside the picture than it leaves over in height.
TEST_F(PreviewWindowTest, TheWordsTakeWhatThePictureCannotFill) {
    show();
    window.resize(1900, 250);
    QCoreApplication::processEvents();
    EXPECT_LT(window.imageView()->width(), window.imageView()->height() * 2);
    EXPECT_GT(window.previewMessage()->width(), 1400);
}

TEST_F(PreviewWindowTest, ComesBackAtItsPlace) {
    show();
    const QRect place = window.geometry();
    window.setGeometry(3, 5, 900, 700);
    window.orderOut();
    show();
    EXPECT_EQ(window.geometry(), place);
    window.move(40, 40);
    const QRect moved = window.geometry();
    show();
    EXPECT_EQ(window.geometry(), moved) << "where the user has put it meanwhile";
}

} // namespace
} // namespace lightpen
