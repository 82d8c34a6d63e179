// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/KWinOutputOrder.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include "kit/linux/FakeOutputOrder.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using std::chrono::steady_clock;

class KWinOutputOrderTest : public testing::Test {
protected:
    KWinOutputOrderTest() { setenv("WAYLAND_DISPLAY", kwin->socket().c_str(), 1); }
    // A compositor that answers is not too slow on any machine.
    void start(steady_clock::duration patience = std::chrono::seconds(10)) {
        order = std::make_unique<KWinOutputOrder>([this] { ++changes; });
        order->settle(steady_clock::now() + patience);
        changes = 0;
    }
    bool becomes(const std::string& name) {
        return comesTrue([&] { return order->name() == name; });
    }

    std::unique_ptr<FakeOutputOrder> kwin = std::make_unique<FakeOutputOrder>();
    std::unique_ptr<KWinOutputOrder> order;
    int changes = 0;
};

TEST_F(KWinOutputOrderTest, TheFirstOfTheListIsThePrimaryOne) {
    kwin->setOrder({"HDMI-A-1", "eDP-1", "DP-3"});
    kwin->appear();
    start();
    EXPECT_EQ(order->name(), "HDMI-A-1");
}

TEST_F(KWinOutputOrderTest, FollowsEachWholeList) {
    kwin->setOrder({"eDP-1", "HDMI-A-1"});
    kwin->appear();
    start();
    kwin->setOrder({"HDMI-A-1", "eDP-1"});
    EXPECT_TRUE(becomes("HDMI-A-1"));
    kwin->setOrder({});
    EXPECT_TRUE(becomes(""));
    kwin->setOrder({"eDP-1"});
    EXPECT_TRUE(becomes("eDP-1"));
    EXPECT_EQ(changes, 3);
    kwin->setOrder({"DP-3"}, false);
    kwin->setOrder({"HDMI-A-1"});
    EXPECT_TRUE(becomes("DP-3")) << "the list had no end before";
    EXPECT_EQ(changes, 4);
}

TEST_F(KWinOutputOrderTest, ComesAndGoesWithWhatTheCompositorHas) {
    start();
    EXPECT_EQ(order->name(), "");
    kwin->setOrder({"HDMI-A-1", "eDP-1"});
    for (int time = 0; time < 2; ++time) {
        kwin->appear();
        EXPECT_TRUE(becomes("HDMI-A-1"));
        EXPECT_EQ(kwin->listeners(), 1u);
        kwin->disappear();
        EXPECT_TRUE(becomes(""));
        EXPECT_TRUE(comesTrue([this] { return kwin->listeners() == 0; }));
    }
    EXPECT_EQ(changes, 4);
}

TEST_F(KWinOutputOrderTest, ACompositorThatDoesNotAnswerIsNotWaitedForAndCountsLater) {
    kwin->setOrder({"HDMI-A-1"});
    kwin->appear();
    kwin->stall();
    start(std::chrono::milliseconds(50));
    EXPECT_EQ(order->name(), "");
    kwin->goOn();
    EXPECT_TRUE(becomes("HDMI-A-1"));
    EXPECT_EQ(changes, 1);
}

TEST_F(KWinOutputOrderTest, TheCompositorsEndIsTheEndOfWhatItSaid) {
    kwin->setOrder({"HDMI-A-1"});
    kwin->appear();
    start();
    ASSERT_EQ(order->name(), "HDMI-A-1");
    kwin.reset();
    EXPECT_TRUE(becomes(""));
    for (int turn = 0; turn < 100; ++turn)
        QCoreApplication::processEvents();
    EXPECT_EQ(changes, 1);
}

TEST_F(KWinOutputOrderTest, OneThatHasGoneIsToldNothing) {
    kwin->appear();
    start();
    EXPECT_EQ(kwin->listeners(), 1u);
    order.reset();
    EXPECT_TRUE(comesTrue([this] { return kwin->listeners() == 0; }));
    kwin->setOrder({"eDP-1"});
    EXPECT_EQ(changes, 0);
}

TEST_F(KWinOutputOrderTest, WithoutACompositorNobodySays) {
    kwin.reset();
    start();
    EXPECT_EQ(order->name(), "");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QCoreApplication>(argc, argv, lightpen::NoBus());
}
