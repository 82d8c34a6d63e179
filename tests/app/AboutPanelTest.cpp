// SPDX-License-Identifier: MIT
#include "app/AboutPanel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>

#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

const std::string kVersions = "Dongle version 2.3\n\n  CMOS version 1.10\n";

std::vector<QWidget*> panels() {
    auto all = topWindows<QWidget>();
    std::erase_if(all, [](const QWidget* window) { return !window->isVisible(); });
    return all;
}

// What is to be deleted later, too.
void handleEvents() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

class AboutPanelTest : public testing::Test {
protected:
    ~AboutPanelTest() override {
        for (QWidget* panel : panels())
            panel->close();
        handleEvents();
    }
    static QWidget& show(const AboutPanelOptions& options) {
        orderFrontStandardAboutPanel(options);
        handleEvents();
        EXPECT_EQ(panels().size(), 1u);
        return *panels().front();
    }
    // The texts one can see, from top to bottom.
    static std::vector<std::string> texts(const QWidget& panel) {
        std::vector<const QLabel*> labels;
        for (const QLabel* label : panel.findChildren<QLabel*>())
            if (label->isVisible() && !label->text().isEmpty())
                labels.push_back(label);
        std::sort(labels.begin(), labels.end(), [](auto* a, auto* b) { return a->y() < b->y(); });
        std::vector<std::string> all;
        for (const QLabel* label : labels)
            all.push_back(label->text().toStdString());
        return all;
    }
    static QIcon icon() {
        QPixmap pixmap(256, 256);
        pixmap.fill(Qt::magenta);
        return QIcon(pixmap);
    }
    static void press(QWidget& panel, int key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&panel, &event);
        handleEvents();
    }

    const bool application = ensureOffscreenApplication();
};

TEST_F(AboutPanelTest, ShowsNameAndCopyrightWithItsLines) {
    QWidget& panel = show({kVersions, "NX9 Driver", icon()});
    EXPECT_THAT(texts(panel), ElementsAre("NX9 Driver", kVersions));
    const auto labels = panel.findChildren<QLabel*>();
    for (const QLabel* label : labels) {
        EXPECT_EQ(label->font().bold(), label->text() == QStringLiteral("NX9 Driver"))
            << label->text().toStdString();
        EXPECT_GE(label->width(), label->sizeHint().width()) << "it is shown whole";
    }
    EXPECT_FALSE(panel.isModal());
}

TEST_F(AboutPanelTest, ShowsTheIconAboveTheName) {
    QWidget& panel = show({kVersions, "NX9 Driver", icon()});
    const QImage image = panel.grab().toImage();
    EXPECT_EQ(image.pixel(image.width() / 2, image.height() / 5), QColor(Qt::magenta).rgb());
}

TEST_F(AboutPanelTest, DoesWithoutAnIcon) {
    EXPECT_THAT(texts(show({kVersions, "NX9 Driver", {}})), ElementsAre("NX9 Driver", kVersions));
}

TEST_F(AboutPanelTest, TextsAreNoMarkUp) {
    EXPECT_THAT(texts(show({"a <b>c</b> & d", "<i>Pen</i>", icon()})),
                ElementsAre("<i>Pen</i>", "a <b>c</b> & d"));
    const QWidget& panel = *panels().front();
    for (const QLabel* label : panel.findChildren<QLabel*>())
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
}

TEST_F(AboutPanelTest, ThereIsOneWithTheLatestTexts) {
    QWidget& first = show({kVersions, "NX9 Driver", icon()});
    QWidget& second = show({"Main Board version 1.4\n", "NX9 Driver", icon()});
    EXPECT_EQ(&first, &second);
    EXPECT_THAT(texts(second), ElementsAre("NX9 Driver", "Main Board version 1.4\n"));
}

TEST_F(AboutPanelTest, TheButtonEnterAndEscapeCloseItAndItComesAgain) {
    show({kVersions, "NX9 Driver", icon()}).findChildren<QPushButton*>().front()->click();
    handleEvents();
    EXPECT_TRUE(panels().empty());
    for (const int key : {Qt::Key_Return, Qt::Key_Escape}) {
        press(show({kVersions, "NX9 Driver", icon()}), key);
        EXPECT_TRUE(panels().empty()) << key;
    }
}

TEST_F(AboutPanelTest, TheButtonSaysWhatItIsTold) {
    const auto button = [](QWidget& panel) {
        return panel.findChildren<QPushButton*>().front()->text().toStdString();
    };
    EXPECT_NE(button(show({kVersions, "NX9 Driver", icon()})), "");
    EXPECT_EQ(button(show({kVersions, "NX9 Driver", icon(), "ตกลง"})), "ตกลง");
    EXPECT_EQ(button(show({kVersions, "NX9 Driver", icon(), "OK"})), "OK");
}

TEST_F(AboutPanelTest, MayBeAskedForAgainWhileItCloses) {
    show({kVersions, "NX9 Driver", icon()}).close();
    EXPECT_THAT(texts(show({"again", "NX9 Driver", icon()})), ElementsAre("NX9 Driver", "again"));
}

TEST(VersionTextTest, AFlagOfOneHasTheBoardAloneAndEveryOtherBoth) {
    EXPECT_EQ(versionText(1, 0x23, 0x45), "Main Board version 2.3\n");
    for (const int wireless : {-1, 0, 2, 255})
        EXPECT_EQ(versionText(wireless, 0x23, 0x1F), "Dongle version 2.3\n\n  CMOS version 1.15\n")
            << wireless;
}

TEST(VersionTextTest, TheByteCountsAndNothingAboveIt) {
    EXPECT_EQ(versionText(1, 0, 0), "Main Board version 0.0\n");
    EXPECT_EQ(versionText(1, 0x1F0, 0), "Main Board version 15.0\n");
    EXPECT_EQ(versionText(0, -1, 0xFF), "Dongle version 15.15\n\n  CMOS version 15.15\n");
}

} // namespace
} // namespace lightpen
