// SPDX-License-Identifier: MIT
#include "linux_desktop/process/QtApplicationSetup.h"

#include <gtest/gtest.h>

#include <clocale>

#include <QGuiApplication>

#include "kit/RecordingLog.h"

namespace lightpen {
namespace {

TEST(QtApplicationSetup, KeepsTheProgramWhenItsLastWindowCloses) {
    EXPECT_FALSE(QGuiApplication::quitOnLastWindowClosed());
}

TEST(QtApplicationSetup, PutsTheNumbersBackAlone) {
    std::setlocale(LC_ALL, "C.utf8"); // the one locale beside "C" that every machine has
    ASSERT_STRNE(std::setlocale(LC_NUMERIC, nullptr), "C");
    setUpQtApplication();
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    EXPECT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C.utf8");
}

TEST(QtApplicationSetup, SendsQtsMessagesToTheLog) {
    RecordingLog log;
    qWarning("a hint: %d", 5);
    EXPECT_EQ(log.takeLines(), std::vector<std::string>{"Qt: a hint: 5"});
}

TEST(QtApplicationSetupDeathTest, AFatalMessageEndsInALineAndStatusOne) {
    EXPECT_EXIT(qFatal("no display"), testing::ExitedWithCode(1), "Qt: no display");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    lightpen::setUpQtMessages();
    QGuiApplication application(argc, argv);
    lightpen::setUpQtApplication();
    return RUN_ALL_TESTS();
}
