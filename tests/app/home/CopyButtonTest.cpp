// SPDX-License-Identifier: MIT
#include "app/home/CopyButton.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QGuiApplication>

#include "kit/TestPlatform.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;

class CopyButtonTest : public testing::Test {
protected:
    CopyButtonTest() {
        button->setWords("Copy what there is", "Copied");
        QGuiApplication::clipboard()->clear();
    }
    std::string says() const { return button->text().toStdString(); }

    const bool application = ensureOffscreenApplication();
    TestPlatform desk;
    QString text = "first";
    std::unique_ptr<CopyButton> button = std::make_unique<CopyButton>([this] { return text; });
};

TEST_F(CopyButtonTest, CopiesWhatThereIsThenAndSaysSoForAMoment) {
    text = "second";
    button->click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "second");
    EXPECT_EQ(says(), "Copied");
    desk.runLoop.runFor(CopyButton::kTime - 1ms);
    EXPECT_EQ(says(), "Copied");
    desk.runLoop.runFor(1ms);
    EXPECT_EQ(says(), "Copy what there is");
}

TEST_F(CopyButtonTest, EachClickIsToldForTheWholeTime) {
    button->click();
    desk.runLoop.runFor(CopyButton::kTime - 1ms);
    button->click();
    desk.runLoop.runFor(CopyButton::kTime - 1ms);
    EXPECT_EQ(says(), "Copied");
}

TEST_F(CopyButtonTest, NothingMovesAndNothingIsCut) {
    const int before = button->minimumWidth();
    EXPECT_GE(before, button->sizeHint().width());
    button->click();
    EXPECT_GE(before, button->sizeHint().width());
    button->setWords("Copy", "It is copied now");
    button->click();
    EXPECT_GE(button->minimumWidth(), button->sizeHint().width());
}

TEST_F(CopyButtonTest, TheLanguageMayChangeMeanwhile) {
    button->click();
    button->setWords("Kopieren", "Kopiert");
    desk.runLoop.runFor(CopyButton::kTime);
    EXPECT_EQ(says(), "Kopieren");
}

TEST_F(CopyButtonTest, MayGoMeanwhile) {
    button->click();
    button.reset();
    desk.runLoop.runFor(CopyButton::kTime);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "first");
}

} // namespace
} // namespace lightpen
