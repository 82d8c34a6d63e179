// SPDX-License-Identifier: MIT
// The running application on the session bus: what other programs ask of it, and the start that finds it
// there.
#include "linux_desktop/process/ApplicationBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>

#include "kit/ChildProcess.h"
#include "kit/Pipe.h"
#include "kit/PrivateBus.h"
#include "kit/RecordingLog.h"
#include "kit/linux/TestMain.h"
#include "linux_desktop/process/SingleInstance.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kProgram = "LightPenNX7";

const PrivateBus* bus; // set by main

class ApplicationBusTest : public testing::Test {
protected:
    ApplicationBusTest() { qunsetenv("XDG_ACTIVATION_TOKEN"); }
    ~ApplicationBusTest() override { QDBusConnection::disconnectFromBus(QStringLiteral("other")); }
    void SetUp() override {
        ASSERT_TRUE(comesTrue([&] { return !nameIsTaken(kProgram); }));
    }

    void listen(ApplicationBus& application) {
        application.setHandler([this](const std::string& action) {
            asked.push_back(action);
            return action != "refused";
        });
    }
    // Another program calls the method; its answer.
    QDBusMessage call(const char* method, const QVariantList& arguments,
                      const std::string& program = kProgram) {
        auto message =
            QDBusMessage::createMethodCall(ApplicationBus::nameOf(program), ApplicationBus::pathOf(program),
                                           "org.freedesktop.Application", method);
        message.setArguments(arguments);
        const auto pending = other.asyncCall(message);
        EXPECT_TRUE(comesTrue([&] { return pending.isFinished(); }));
        return pending.reply();
    }
    static QVariantMap withToken(const QString& token) { return {{"activation-token", token}}; }
    bool nameIsTaken(const std::string& program) {
        auto message = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                      "org.freedesktop.DBus", "NameHasOwner");
        message << ApplicationBus::nameOf(program);
        return other.call(message).arguments().value(0).toBool();
    }
    bool hasName(const std::string& program = kProgram) {
        return comesTrue([&] { return nameIsTaken(program); });
    }

    RecordingLog log;
    QDBusConnection other =
        QDBusConnection::connectToBus(QString::fromStdString(bus->address()), QStringLiteral("other"));
    std::vector<std::string> asked;
};

TEST_F(ApplicationBusTest, IsWhereTheConventionSays) {
    EXPECT_EQ(ApplicationBus::nameOf("LightPenNX7"), "org.lightpen.LightPenNX7");
    EXPECT_EQ(ApplicationBus::pathOf("LightPenNX7"), "/org/lightpen/LightPenNX7");
    EXPECT_EQ(ApplicationBus::pathOf("LightPenNX7-emulated"), "/org/lightpen/LightPenNX7_emulated");
}

TEST_F(ApplicationBusTest, EachMethodIsOneRequest) {
    ApplicationBus application(kProgram);
    listen(application);
    ASSERT_TRUE(hasName());
    const QVariantMap nothing;
    EXPECT_EQ(call("Activate", {nothing}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(call("Open", {QStringList{"file:///x"}, nothing}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(call("ActivateAction", {"calibrate", QVariantList(), nothing}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_THAT(asked, ElementsAre("show", "show", "calibrate"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ApplicationBusTest, WhatComesBeforeThereIsAHandlerIsKept) {
    ApplicationBus application(kProgram);
    ASSERT_TRUE(hasName());
    for (int i = 0; i < 20; ++i)
        call("Activate", {QVariantMap()});
    listen(application);
    EXPECT_THAT(asked, SizeIs(8)) << "and no more than a user's clicks";
}

TEST_F(ApplicationBusTest, NothingElseOfItCanBeReached) {
    ApplicationBus application(kProgram);
    listen(application);
    ASSERT_TRUE(hasName());
    for (const char* method : {"deleteLater", "setHandler", "take", "Quit"})
        EXPECT_EQ(call(method, {}).type(), QDBusMessage::ErrorMessage) << method;
    EXPECT_EQ(call("Activate", {"no platform data"}).type(), QDBusMessage::ErrorMessage);
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(ApplicationBusTest, TheRightToTheKeyboardGoesToTheNextWindow) {
    ApplicationBus application(kProgram);
    listen(application);
    ASSERT_TRUE(hasName());
    call("Activate", {withToken("token_4711/x")});
    for (const QString& none : {QString(""), QString("two words"), QString("line\n"), QString(300, 'x')})
        call("Activate", {withToken(none)});
    call("Activate", {QVariantMap{{"activation-token", 5.5}}});
    call("Activate", {QVariantMap{{"activation-token", QVariantMap{{"a", 1}}}}});
    EXPECT_EQ(qEnvironmentVariable("XDG_ACTIVATION_TOKEN"), "token_4711/x");
    EXPECT_THAT(asked, SizeIs(7));
}

TEST_F(ApplicationBusTest, TheRightToTheKeyboardGoesWithARequestThatIsRefused) {
    ApplicationBus application(kProgram);
    ASSERT_TRUE(hasName());
    call("ActivateAction", {"refused", QVariantList(), withToken("early")});
    listen(application);
    EXPECT_FALSE(qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    call("Activate", {withToken("of_the_window")});
    EXPECT_EQ(qEnvironmentVariable("XDG_ACTIVATION_TOKEN"), "of_the_window");
    call("ActivateAction", {"refused", QVariantList(), withToken("late")});
    EXPECT_FALSE(qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    EXPECT_THAT(asked, ElementsAre("refused", "show", "refused"));
}

TEST_F(ApplicationBusTest, ProgramsOfOtherNamesDoNotMeet) {
    ApplicationBus application(kProgram);
    listen(application);
    ApplicationBus emulated("LightPenNX7-emulated");
    std::vector<std::string> ofTheOther;
    emulated.setHandler([&](const std::string& action) {
        ofTheOther.push_back(action);
        return true;
    });
    ASSERT_TRUE(hasName() && hasName("LightPenNX7-emulated"));
    call("ActivateAction", {"help", QVariantList(), QVariantMap()}, "LightPenNX7-emulated");
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_THAT(ofTheOther, ElementsAre("help"));
}

TEST_F(ApplicationBusTest, ANameThatSomebodyElseHasIsSaid) {
    ASSERT_TRUE(other.registerService(ApplicationBus::nameOf(kProgram)));
    ApplicationBus application(kProgram);
    EXPECT_TRUE(comesTrue([&] { return !log.lines().empty(); }));
    EXPECT_THAT(log.lines(), ElementsAre("Application: the name org.lightpen.LightPenNX7 cannot be had on "
                                         "the session bus: another program has it"));
}

// The program itself, as the second one: it ends before it needs a display.
class SecondStartTest : public ApplicationBusTest {
protected:
    SecondStartTest() : first(std::in_place, kProgram) {}
    // Starts it and waits for its end, with the bus served meanwhile; its exit status.
    int startAgain(const std::vector<std::string>& options = {},
                   std::map<std::string, std::string> environment = {}) {
        environment["QT_QPA_PLATFORM"] = "nothing";
        std::vector<std::string> command{LIGHTPEN_PROGRAM};
        command.insert(command.end(), options.begin(), options.end());
        ChildProcess program(command, {.environment = environment, .output = said.writeEnd()});
        EXPECT_TRUE(comesTrue([&] { return !program.running(); }));
        return program.wait();
    }
    std::string runsAlready() const {
        return "LightPenNX7 runs already (process " + std::to_string(getpid()) + "); this one ends.\n";
    }

    std::optional<SingleInstance> first;
    Pipe said;
};

TEST_F(SecondStartTest, HasTheFirstShowItsWindowAndLeavesOneLine) {
    ApplicationBus application(kProgram);
    listen(application);
    EXPECT_EQ(startAgain({}, {{"XDG_ACTIVATION_TOKEN", "from_the_panel"}}), 0);
    EXPECT_THAT(asked, ElementsAre("show"));
    EXPECT_EQ(qEnvironmentVariable("XDG_ACTIVATION_TOKEN"), "from_the_panel");
    EXPECT_EQ(said.readAvailable(), runsAlready());
}

TEST_F(SecondStartTest, HandsItsActionOver) {
    ApplicationBus application(kProgram);
    listen(application);
    EXPECT_EQ(startAgain({"--action", "calibrate"}), 0);
    EXPECT_THAT(asked, ElementsAre("calibrate"));
}

TEST_F(SecondStartTest, OfASessionManagerWantsNoWindow) {
    ApplicationBus application(kProgram);
    listen(application);
    EXPECT_EQ(startAgain({"-session", "11c0a8_1672500000_4711"}), 0);
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(SecondStartTest, WaitsForAFirstThatIsStillAtItsBeginning) {
    ChildProcess second({LIGHTPEN_PROGRAM}, {.environment = {{"QT_QPA_PLATFORM", "nothing"}}});
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    ApplicationBus application(kProgram);
    listen(application);
    EXPECT_TRUE(comesTrue([&] { return !second.running(); }));
    EXPECT_EQ(second.wait(), 0);
    EXPECT_THAT(asked, ElementsAre("show"));
}

TEST_F(SecondStartTest, SaysWhoRunsWhereThereIsNoBus) {
    EXPECT_EQ(startAgain({}, {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"}}), 0);
    EXPECT_EQ(said.readAvailable(), runsAlready());
}

TEST_F(SecondStartTest, SaysWhatIsWrongWithTheFirst) {
    ASSERT_TRUE(other.registerService(ApplicationBus::nameOf(kProgram)));
    EXPECT_EQ(startAgain(), 0);
    EXPECT_THAT(
        said.readAvailable(),
        StartsWith(runsAlready() + "LightPenNX7: the one that runs cannot be asked for its window: "));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const lightpen::PrivateBus bus;
    lightpen::bus = &bus;
    return lightpen::runTests<QCoreApplication>(argc, argv, bus);
}
