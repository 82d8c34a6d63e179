// SPDX-License-Identifier: MIT
// The application's window as its user has it: asked for over the bus, as by a second start or a desktop's
// menu, with another program's window in front.
#include <QDBusConnection>
#include <QDBusMessage>

#include "kit/linux/XNeighbour.h"
#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

class ApplicationHomeTest : public ApplicationTest {
protected:
    // Asks the program on the bus; whether it was told.
    testing::AssertionResult ask(const char* method, const QVariantList& arguments) {
        auto call = QDBusMessage::createMethodCall("org.lightpen.LightPenNX7-emulated",
                                                   "/org/lightpen/LightPenNX7_emulated",
                                                   "org.freedesktop.Application", method);
        call.setArguments(arguments);
        const auto told = [&] {
            return QDBusConnection::sessionBus().call(call).type() == QDBusMessage::ReplyMessage;
        };
        return comesTrue(told) ? testing::AssertionSuccess()
                               : testing::AssertionFailure() << user.program.log();
    }
    bool asked(const char* action) {
        return ask("ActivateAction", {QString(action), QVariantList(), QVariantMap()});
    }
    std::optional<ShownWindow> home() { return user.windowTitled("LightPenNX7"); }
    bool homeHasTheKeyboard() { return home() && user.screen.focused(user.program.processId()) == home(); }

    XNeighbour neighbour{applicationStage->server.display()};
};

TEST_F(ApplicationHomeTest, ComesBeforeOtherProgramsEachTime) {
    ASSERT_TRUE(comes(user));
    EXPECT_FALSE(home());
    for (int i = 0; i < 2; ++i) {
        const auto other =
            neighbour.openWindow({0, 0, ApplicationStage::kWidth, ApplicationStage::kHeight, 0x0000FF});
        ASSERT_TRUE(comesTrue([&] { return neighbour.pixelAt(1000, 400) == 0x0000FF; }));
        ASSERT_TRUE(ask("Activate", {QVariantMap()}));
        EXPECT_TRUE(comesTrue([&] { return homeHasTheKeyboard(); })) << user.program.log();
        neighbour.close(other);
    }
    neighbour.pressKey(XNeighbour::kEscape);
    EXPECT_TRUE(comesTrue([&] { return !home(); }));
    EXPECT_TRUE(user.program.running()) << "it is only hidden";
}

TEST_F(ApplicationHomeTest, ACalibrationCanBeAskedFor) {
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--no-hand"}));
    ASSERT_TRUE(asked("calibrate"));
    EXPECT_TRUE(comesTrue([&] { return user.coveringWindow().has_value(); }));
    ASSERT_TRUE(asked("show"));
    ASSERT_TRUE(asked("calibrate"));
    neighbour.pressKey(XNeighbour::kEscape);
    EXPECT_TRUE(comesTrue([&] { return !user.coveringWindow(); }));
    EXPECT_FALSE(home()) << "nothing comes up in a calibration";
}

TEST_F(ApplicationHomeTest, ComesByItselfWhereNoPanelDoes) {
    ASSERT_TRUE(user.start());
    EXPECT_TRUE(comesTrue([&] { return home().has_value(); })) << user.program.log();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
