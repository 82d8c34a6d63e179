// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/MutterOutputs.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDBusMessage>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/linux/FakeDisplayConfig.h"
#include "kit/linux/TestMain.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Answer = FakeDisplayConfig::Answer;

// A service that answers is not too slow on any machine.
constexpr std::chrono::seconds kPatience{10};

class MutterOutputsTest : public testing::Test {
protected:
    // The service is there from the start, with these screens.
    void startWith(std::vector<std::string> connectors, std::string primary, Answer answer = Answer::state) {
        mutter.setScreens(std::move(connectors), std::move(primary));
        mutter.setAnswer(answer);
        mutter.appear();
        start();
    }
    void start() {
        outputs = std::make_unique<MutterOutputs>([this] { ++changes; }, kPatience);
        outputs->settle();
        letNewsArrive(); // of the service's end in the test before
        outputs->settle();
        changes = 0;
    }
    bool becomes(const std::string& name) {
        return eventually([&] { return outputs->name() == name; }, [] { QCoreApplication::processEvents(); });
    }
    bool isAskedAgainAfter(int before) {
        return eventually([&] { return mutter.questions() > before; },
                          [] { QCoreApplication::processEvents(); });
    }
    // Everything that was on its way to this program has arrived: the bus keeps the order.
    static void letNewsArrive() {
        QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
            QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
        QCoreApplication::processEvents();
    }

    RecordingLog log;
    FakeDisplayConfig mutter{std::getenv("DBUS_SESSION_BUS_ADDRESS")};
    std::unique_ptr<MutterOutputs> outputs;
    int changes = 0;
};

TEST_F(MutterOutputsTest, TheFlaggedScreensOutputIsThePrimaryOneWhereverItStands) {
    for (const char* primary : {"eDP-1", "HDMI-1", "DP-3"}) {
        startWith({"eDP-1", "HDMI-1", "DP-3"}, primary);
        EXPECT_EQ(outputs->name(), primary);
        mutter.disappear();
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(MutterOutputsTest, OfTwoMirroredOutputsTheFirstCounts) {
    mutter.setScreens({"eDP-1", "HDMI-1", "DP-3"}, "HDMI-1", true);
    mutter.appear();
    start();
    EXPECT_EQ(outputs->name(), "HDMI-1");
}

TEST_F(MutterOutputsTest, FollowsEachChange) {
    startWith({"eDP-1", "HDMI-1"}, "eDP-1");
    for (const char* primary : {"HDMI-1", "eDP-1"}) {
        mutter.setScreens({"eDP-1", "HDMI-1"}, primary);
        mutter.tell();
        EXPECT_TRUE(becomes(primary));
    }
    EXPECT_EQ(changes, 2);
    const int before = mutter.questions();
    mutter.tell();
    EXPECT_TRUE(isAskedAgainAfter(before));
    letNewsArrive();
    EXPECT_EQ(changes, 2) << "nothing has changed";
    mutter.setScreens({}, "");
    mutter.tell();
    EXPECT_TRUE(becomes(""));
}

TEST_F(MutterOutputsTest, ComesAndGoesWithTheService) {
    start();
    EXPECT_EQ(outputs->name(), "");
    mutter.setScreens({"eDP-1", "HDMI-1"}, "HDMI-1");
    for (int time = 0; time < 2; ++time) {
        mutter.appear();
        EXPECT_TRUE(becomes("HDMI-1"));
        mutter.disappear();
        EXPECT_TRUE(becomes(""));
    }
    EXPECT_EQ(changes, 4);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(MutterOutputsTest, AnAnswerInAnotherFormIsSaidOnceAndIsNone) {
    startWith({"eDP-1", "HDMI-1"}, "HDMI-1", Answer::anotherForm);
    EXPECT_EQ(outputs->name(), "");
    EXPECT_THAT(log.lines(),
                ElementsAre("Screen: org.gnome.Mutter.DisplayConfig tells its state as "
                            "\"ua((ssss)a(siiddada{sv})a{sv})a((ssss)a(siiddada{sv})a{sv})i\", which this "
                            "program does not understand"));
    mutter.setAnswer(Answer::noScreens);
    const int before = mutter.questions();
    mutter.tell();
    EXPECT_TRUE(isAskedAgainAfter(before));
    letNewsArrive();
    EXPECT_EQ(outputs->name(), "");
    EXPECT_EQ(log.lines().size(), 1u);
    mutter.setAnswer(Answer::state);
    mutter.tell();
    EXPECT_TRUE(becomes("HDMI-1"));
}

TEST_F(MutterOutputsTest, ARefusalIsNoAnswer) {
    startWith({"eDP-1", "HDMI-1"}, "HDMI-1", Answer::refusal);
    EXPECT_EQ(outputs->name(), "");
    mutter.setAnswer(Answer::state);
    mutter.tell();
    EXPECT_TRUE(becomes("HDMI-1"));
    mutter.setAnswer(Answer::refusal);
    mutter.tell();
    EXPECT_TRUE(becomes(""));
}

// It is asked once more when the patience has run out, and that answer counts when it comes.
TEST_F(MutterOutputsTest, AServiceThatDoesNotAnswerIsNotWaitedFor) {
    mutter.setScreens({"eDP-1", "HDMI-1"}, "HDMI-1");
    mutter.setAnswer(Answer::never);
    mutter.appear();
    MutterOutputs impatient([this] { ++changes; }, std::chrono::milliseconds(50));
    impatient.settle();
    EXPECT_EQ(impatient.name(), "");
    EXPECT_TRUE(isAskedAgainAfter(1));
    mutter.setAnswer(Answer::state);
    mutter.tell();
    EXPECT_TRUE(
        eventually([&] { return impatient.name() == "HDMI-1"; }, [] { QCoreApplication::processEvents(); }));
    EXPECT_EQ(changes, 1);
}

// In a process of its own: Qt keeps its bus for ever.
TEST(MutterOutputsDeathTest, WithoutABusNobodySays) {
    EXPECT_EXIT(
        {
            const NoBus none;
            none.enter();
            MutterOutputs outputs([] { std::_Exit(2); }, kPatience);
            outputs.settle();
            QCoreApplication::processEvents();
            std::_Exit(outputs.name().empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QCoreApplication>(argc, argv, lightpen::PrivateBus());
}
