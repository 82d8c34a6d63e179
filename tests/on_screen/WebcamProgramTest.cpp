// SPDX-License-Identifier: MIT
// The driver program with a webcam: its command line, and its start where there is no such camera. The
// cameras that this machine may have are not looked through.
#include <gmock/gmock.h>

#include <csignal>
#include <map>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

#include "kit/ChildProcess.h"
#include "kit/Pipe.h"
#include "on_screen/ApplicationDesk.h"

namespace lightpen {
namespace {

using testing::HasSubstr;

constexpr const char* kNone = "no-such-camera";

// Runs it to its end, without a display; its exit status.
int run(const std::vector<std::string>& options, Pipe& said) {
    std::vector<std::string> arguments{LIGHTPEN_WEBCAM};
    arguments.insert(arguments.end(), options.begin(), options.end());
    ChildProcess program(arguments, {.environment = {{"QT_QPA_PLATFORM", "nothing"}, {"DISPLAY", ""}},
                                     .output = said.writeEnd()});
    return program.wait();
}

TEST(WebcamProgramTest, HelpAndVersionNeedNoDisplay) {
    Pipe said;
    EXPECT_EQ(run({"--help"}, said), 0);
    EXPECT_TRUE(said.readAvailable().starts_with("usage: LightPenNX7-webcam [OPTION...]\n"));
    EXPECT_EQ(run({"--version"}, said), 0);
    EXPECT_EQ(said.readAvailable(), "LightPenNX7-webcam " LIGHTPEN_PROJECT_VERSION "\n");
}

TEST(WebcamProgramTest, WhatCannotBeUnderstoodIsRefused) {
    Pipe said;
    EXPECT_EQ(run({"--camera"}, said), 2);
    EXPECT_EQ(run({"--device", "1209:0001"}, said), 2);
    EXPECT_THAT(said.readAvailable(), HasSubstr("Unknown option: --device"));
}

// Whatever this machine has.
TEST(WebcamProgramTest, TheStatusOfAListSaysWhetherThereIsACamera) {
    Pipe said;
    const int status = run({"--list"}, said);
    const std::string list = said.readAvailable();
    EXPECT_FALSE(list.empty());
    EXPECT_EQ(status, list.find("    used, with ") == std::string::npos ? 1 : 0) << list;
}

TEST(WebcamProgramTest, AListSaysThatTheCameraThatIsAskedForIsNotThere) {
    Pipe said;
    EXPECT_EQ(run({"--list", "--camera", kNone}, said), 1);
    EXPECT_TRUE(said.readAvailable().ends_with("\nno-such-camera was asked for and is not there\n"));
}

class WebcamStartTest : public testing::Test {
protected:
    WebcamStartTest() {
        QSettings(settings(), QSettings::IniFormat).setValue("Pointer", "xtest");
        panel.appear();
    }
    QString settings() const { return QString::fromStdString(home.file("config/LightPenNX7/settings.ini")); }
    std::map<std::string, std::string> environment() const {
        auto all = environmentOf(home.path());
        all["XDG_CURRENT_DESKTOP"] = "";
        all["XDG_RUNTIME_DIR"] = home.path().string();
        return all;
    }
    testing::AssertionResult starts() {
        const std::string problem = program.start({"--log", "stderr", "--camera", kNone}, environment());
        if (!problem.empty())
            return testing::AssertionFailure() << problem;
        return program.waitForLog(std::string("Webcam: there is no camera ") + kNone)
                   ? testing::AssertionSuccess()
                   : testing::AssertionFailure() << program.log();
    }
    // A second program of the user's, to its end.
    int startsAfter(const std::string& file, const std::vector<std::string>& options = {}) {
        ApplicationProcess other(file);
        EXPECT_EQ(other.start(options, environment()), "");
        return other.waitForEnd().value_or(-1);
    }
    // What the item in the panel says; empty while there is none.
    std::string toolTip() {
        const auto item = panel.itemOf(program.processId());
        if (!item)
            return "";
        auto call = QDBusMessage::createMethodCall(QString::fromStdString(item->service),
                                                   QString::fromStdString(item->path),
                                                   "org.freedesktop.DBus.Properties", "Get");
        call << "org.kde.StatusNotifierItem"
             << "ToolTip";
        const auto answer = QDBusConnection::sessionBus().call(call);
        if (answer.type() != QDBusMessage::ReplyMessage)
            return "";
        const auto value = answer.arguments().first().value<QDBusVariant>().variant().value<QDBusArgument>();
        QString icon;
        QString title;
        value.beginStructure();
        value >> icon;
        value.beginArray();
        while (!value.atEnd())
            value.asVariant();
        value.endArray();
        value >> title;
        return title.toStdString();
    }
    bool windowComes() {
        return comesTrue([&] {
            for (const ShownWindow& window : screen.shown(program.processId()))
                if (window.title == "LightPenNX7")
                    return true;
            return false;
        });
    }

    const TemporaryDirectory home;
    FakeStatusNotifierWatcher panel{applicationStage->bus.address()};
    ApplicationProcess program{LIGHTPEN_WEBCAM};
    XWindows screen{applicationStage->server.display()};
};

TEST_F(WebcamStartTest, WithoutItsCameraItSaysSoAndGoesOn) {
    ASSERT_TRUE(starts());
    EXPECT_TRUE(comesTrue([&] { return toolTip() == "LightPenNX7 \u2013 No camera unit"; })) << toolTip();
    program.send(SIGTERM);
    EXPECT_EQ(program.waitForEnd(), 0) << program.log();
}

TEST_F(WebcamStartTest, ItIsTheUsersDriver) {
    ASSERT_TRUE(starts());
    ASSERT_TRUE(comesTrue([&] { return !toolTip().empty(); }));
    EXPECT_EQ(startsAfter(LIGHTPEN_APPLICATION "/LightPenNX7"), 0);
    EXPECT_TRUE(windowComes()) << program.log();
    EXPECT_EQ(startsAfter(LIGHTPEN_WEBCAM, {"--camera", kNone}), 0);
    EXPECT_TRUE(program.running());
    program.send(SIGTERM);
    EXPECT_EQ(program.waitForEnd(), 0) << program.log();
}

TEST_F(WebcamStartTest, ACameraThatTheUserHasSwitchedOffStaysOff) {
    QSettings(settings(), QSettings::IniFormat).setValue("Camera Switched Off", true);
    ASSERT_EQ(program.start({"--log", "stderr", "--camera", kNone}, environment()), "");
    EXPECT_TRUE(comesTrue([&] { return toolTip() == "LightPenNX7 \u2013 The camera is switched off"; }))
        << toolTip();
    EXPECT_EQ(program.log().find("Webcam:"), std::string::npos) << "nobody has looked for one";
    program.send(SIGTERM);
    EXPECT_EQ(program.waitForEnd(), 0) << program.log();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
