// SPDX-License-Identifier: MIT
// The driver program on a machine without a unit, as an ordinary user; and what the other tests see it with.
#include "kernel/support/DriverProcess.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "kit/Eventually.h"

namespace lightpen {
namespace {

std::string statusLine(pid_t pid, const std::string& name) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name))
            return line;
    return {};
}

// Whether it comes to where it enters itself among what starts at login; signals are taken over long before.
bool hasStarted(const DriverProcess& driver) {
    const auto entry = driver.home() / ".config/autostart/org.lightpen.LightPenNX7.desktop";
    return eventually([&] { return std::filesystem::exists(entry); });
}

TEST(DriverProcess, RunsAsAnOrdinaryUserAndEndsWhenAsked) {
    DriverProcess driver;
    ASSERT_TRUE(hasStarted(driver)) << driver.log();
    EXPECT_EQ(statusLine(driver.pid(), "Uid:"), "Uid:\t65534\t65534\t65534\t65534");
    EXPECT_EQ(statusLine(driver.pid(), "CapEff:"), "CapEff:\t0000000000000000");
    EXPECT_TRUE(driver.running());
    EXPECT_EQ(driver.end(), 0) << driver.log();
    EXPECT_FALSE(driver.running());
}

TEST(DriverProcess, ASecondOneOfTheSameUserEndsAndTheFirstGoesOn) {
    DriverProcess driver;
    ASSERT_TRUE(hasStarted(driver)) << driver.log();
    const auto startAnother = [&] {
        return DriverOptions{
            .environment = {{"QT_QPA_PLATFORM", "offscreen"}, {"XDG_RUNTIME_DIR", driver.home() / "run"}}};
    };
    {
        DriverProcess second(startAnother());
        EXPECT_TRUE(second.waitFor("LightPenNX7 runs already (process " + std::to_string(driver.pid()) +
                                   "); this one ends."))
            << second.log();
        EXPECT_TRUE(eventually([&] { return !second.running(); }));
        EXPECT_EQ(second.end(), 0);
        EXPECT_EQ(second.count(""), 1U) << second.log();
    }
    EXPECT_TRUE(driver.running());
    EXPECT_EQ(driver.end(), 0) << driver.log();
    DriverProcess third(startAnother());
    EXPECT_TRUE(hasStarted(third)) << third.log();
    EXPECT_EQ(third.end(), 0) << third.log();
    EXPECT_EQ(third.count("runs already"), 0U);
}

TEST(DriverProcess, WithoutATerminalItsStepsAreInTheUsersFileAlone) {
    DriverProcess driver({.arguments = {}});
    const std::filesystem::path file = driver.home() / ".local/state/LightPenNX7/log";
    EXPECT_TRUE(eventually([&] { return readFile(file).find("Light n:") != std::string::npos; }));
    EXPECT_EQ(driver.end(), 0) << driver.log();
    EXPECT_NE(readFile(file).find("\nPointer: "), std::string::npos) << readFile(file);
    EXPECT_EQ(driver.count("Pointer: "), 1U) << driver.log();
    EXPECT_EQ(driver.count(" n:"), 0U) << driver.log();
    EXPECT_EQ(driver.count("started as root"), 0U) << driver.log();
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 65534U);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(DriverProcess, NoLogIsNone) {
    DriverProcess driver({.arguments = {"--log", "none"}});
    EXPECT_TRUE(hasStarted(driver));
    EXPECT_EQ(driver.end(), 0);
    EXPECT_EQ(driver.log(), "");
    EXPECT_FALSE(std::filesystem::exists(driver.home() / ".local/state"));
}

TEST(DriverProcess, ToRootItSaysWhyNot) {
    DriverProcess driver({.user = 0});
    EXPECT_TRUE(driver.waitFor("Application: started as root; ")) << driver.log();
    EXPECT_EQ(driver.end(), 0) << driver.log();
}

TEST(DriverProcess, LinesAreWaitedForInOrder) {
    DriverProcess program({.environment = {{"WORD", "one"}}, .program = "/usr/bin/env", .arguments = {}});
    EXPECT_TRUE(program.waitFor("WORD=one")) << program.log();
    EXPECT_FALSE(program.waitFor("WORD=one", std::chrono::seconds(1)));
    EXPECT_EQ(program.end(), 0);
    EXPECT_EQ(program.count("WORD="), 1U);
    EXPECT_EQ(program.count("LOGNAME="), 0U) << program.log();
}

} // namespace
} // namespace lightpen
