// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/DesktopNotices.h"

#include <gmock/gmock.h>

#include <memory>

#include <QCoreApplication>

#include "kit/PrivateBus.h"
#include "kit/RecordingLog.h"
#include "kit/linux/FakeNotificationServer.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const PrivateBus* bus; // set by main

class DesktopNoticesTest : public testing::Test {
protected:
    // A notice whose actions write their numbers down.
    void show(const std::string& title) {
        notices.show({title, "a < b & c", {{"first", [this] { chosen.push_back(0); }}, {"second", [this] {
                                                                                            chosen.push_back(
                                                                                                1);
                                                                                        }}}});
    }
    // What was on its way has arrived: the bus keeps the order, and this notice comes behind it.
    void letNewsArrive() {
        const std::size_t before = server->shown.size();
        notices.show({"later", "", {}});
        EXPECT_TRUE(comesTrue([&] { return server->shown.size() > before; }));
        QCoreApplication::processEvents();
    }

    RecordingLog log;
    std::unique_ptr<FakeNotificationServer> server = std::make_unique<FakeNotificationServer>(bus->address());
    DesktopNotices notices;
    std::vector<int> chosen;
};

TEST_F(DesktopNoticesTest, IsShownWithItsActions) {
    show("The title");
    ASSERT_TRUE(comesTrue([&] { return server->shown.size() == 1; }));
    EXPECT_EQ(server->shown[0].title, "The title");
    EXPECT_EQ(server->shown[0].text, "a &lt; b &amp; c");
    EXPECT_EQ(server->shown[0].actions, (QStringList{"0", "first", "1", "second"}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DesktopNoticesTest, StaysUntilItIsClosedUnlessNothingIsLostWithIt) {
    show("one");
    notices.show({.title = "two", .goesByItself = true});
    ASSERT_TRUE(comesTrue([&] { return server->shown.size() == 2; }));
    EXPECT_EQ(server->shown[0].expires, 0);
    EXPECT_EQ(server->shown[1].expires, -1);
}

TEST_F(DesktopNoticesTest, WhatTheUserChoosesIsDoneOnce) {
    show("one");
    show("two");
    ASSERT_TRUE(comesTrue([&] { return server->shown.size() == 2; }));
    letNewsArrive();
    server->choose(2, "1");
    server->choose(2, "0");
    server->choose(1, "0");
    EXPECT_TRUE(comesTrue([&] { return chosen.size() == 2; }));
    letNewsArrive();
    EXPECT_THAT(chosen, ElementsAre(1, 0));
}

TEST_F(DesktopNoticesTest, NonsenseAndOtherProgramsNoticesDoNothing) {
    show("one");
    ASSERT_TRUE(comesTrue([&] { return server->shown.size() == 1; }));
    letNewsArrive();
    for (const char* key : {"2", "-1", "", "default", "0x0", "18446744073709551616"})
        server->choose(1, key);
    server->choose(77, "0");
    server->babble(1);
    letNewsArrive();
    EXPECT_THAT(chosen, IsEmpty());
    server->close(1);
    server->choose(1, "0");
    letNewsArrive();
    EXPECT_THAT(chosen, IsEmpty()) << "it was closed";
}

TEST_F(DesktopNoticesTest, ADesktopWithoutNoticesGetsALogLine) {
    server.reset();
    show("The title");
    EXPECT_TRUE(comesTrue([&] { return !log.lines().empty(); }));
    EXPECT_THAT(log.lines(), ElementsAre("Notices: The title: a < b & c"));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const lightpen::PrivateBus bus;
    lightpen::bus = &bus;
    return lightpen::runTests<QCoreApplication>(argc, argv, bus);
}
