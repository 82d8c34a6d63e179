// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/XTray.h"

#include <gtest/gtest.h>
#include <poll.h>

#include "kit/Xvfb.h"
#include "kit/linux/FakeXTray.h"

namespace lightpen {
namespace {

class XTrayTest : public testing::Test {
protected:
    // Waits until there is something to read; false when nothing has come.
    bool readable() const {
        pollfd descriptor{tray->descriptor(), POLLIN, 0};
        return poll(&descriptor, 1, 10'000) == 1;
    }
    Xvfb server;
    FakeXTray panel{server.display()};
    const std::unique_ptr<XTray> tray = XTray::connect(server.display().c_str());
};

TEST_F(XTrayTest, IsThereForAsLongAsItsPanel) {
    EXPECT_FALSE(tray->present());
    panel.appear();
    EXPECT_TRUE(tray->present());
    panel.disappear();
    EXPECT_FALSE(tray->present());
}

TEST_F(XTrayTest, AnAnnouncementIsNotLostToAnotherQuestion) {
    panel.appear();
    EXPECT_TRUE(tray->present()); // the announcement came before this reply
    EXPECT_TRUE(tray->arrived());
}

TEST_F(XTrayTest, KnowsTheTrayOfItsOwnScreenOnly) {
    const Xvfb two("640x480", {"-screen", "1", "320x200x24"});
    FakeXTray ofTheFirst(two.display());
    ofTheFirst.appear();
    EXPECT_TRUE(XTray::connect((two.display() + ".0").c_str())->present());
    const auto second = XTray::connect((two.display() + ".1").c_str());
    ASSERT_TRUE(second);
    EXPECT_FALSE(second->present());
}

TEST_F(XTrayTest, EndsWithItsServer) {
    EXPECT_TRUE(tray->alive());
    server.end();
    ASSERT_TRUE(readable());
    EXPECT_FALSE(tray->arrived());
    EXPECT_FALSE(tray->present());
    EXPECT_FALSE(tray->alive());
}

TEST(XTrayFailure, NoServerIsNoConnection) {
    EXPECT_FALSE(XTray::connect(":4711"));
}

} // namespace
} // namespace lightpen
