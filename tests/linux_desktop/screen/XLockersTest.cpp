// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/XLockers.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "kit/linux/CoveringWindow.h"
#include "kit/linux/TestMain.h"
#include "kit/linux/XNeighbour.h"

namespace lightpen {
namespace {

constexpr NeighbourWindow kWholeScreen{0, 0, 640, 480, 0x00FF00};

class XLockersTest : public testing::Test {
protected:
    // The news has come by itself, without anybody asking.
    bool tells(bool cover) {
        return comesTrue([&] { return changes > 0; }) && lockers->cover() == cover;
    }
    void begin() {
        lockers = XLockers::connect([this] { ++changes; });
        ASSERT_TRUE(lockers);
    }

    XNeighbour neighbour{std::getenv("DISPLAY")};
    int changes = 0;
    std::unique_ptr<XLockers> lockers;
};

TEST_F(XLockersTest, AWindowOverTheWholeScreenIsALockerForAsLongAsItIsShown) {
    begin();
    EXPECT_FALSE(lockers->cover());
    const auto locker = neighbour.openFreePanel(kWholeScreen);
    EXPECT_TRUE(tells(true));
    EXPECT_TRUE(lockers->cover());
    neighbour.close(locker);
    EXPECT_FALSE(lockers->cover()) << "at once, before there was any news";
}

TEST_F(XLockersTest, OneThatIsThereAlreadyCounts) {
    const auto locker = neighbour.openFreePanel(kWholeScreen);
    begin();
    EXPECT_TRUE(lockers->cover());
    const auto second = neighbour.openFreePanel(kWholeScreen);
    EXPECT_TRUE(lockers->cover());
    neighbour.close(locker);
    EXPECT_TRUE(lockers->cover()) << "by the second";
    neighbour.close(second);
    EXPECT_FALSE(lockers->cover());
}

TEST_F(XLockersTest, WhatCoversLessOrIsManagedOrLetsTheDesktopThroughIsNone) {
    begin();
    neighbour.openFreePanel({0, 0, 640, 477, 0x00FF00});
    neighbour.openFreePanel({3, 0, 640, 480, 0x00FF00});
    neighbour.openWindow(kWholeScreen);
    neighbour.openInvisible(kWholeScreen);
    EXPECT_FALSE(lockers->cover());
}

TEST_F(XLockersTest, TheOutermostPixelsMayBeFree) {
    begin();
    const auto locker = neighbour.openFreePanel({1, 1, 638, 478, 0x00FF00});
    EXPECT_TRUE(lockers->cover());
    neighbour.close(locker);
}

TEST_F(XLockersTest, AWindowThatGrowsOverTheScreenIsALocker) {
    begin();
    const auto locker = neighbour.openFreePanel({0, 0, 10, 10, 0x00FF00});
    EXPECT_FALSE(lockers->cover());
    neighbour.resize(locker, 640, 480);
    EXPECT_TRUE(tells(true));
    neighbour.close(locker);
}

TEST_F(XLockersTest, AWindowOfItsOwnProgramIsNone) {
    begin();
    CoveringWindow own;
    own.setFlag(Qt::BypassWindowManagerHint);
    own.show();
    ASSERT_TRUE(comesTrue([&] { return own.isExposed(); }));
    EXPECT_FALSE(lockers->cover());
}

TEST_F(XLockersTest, TheFramesOfTheWindowManagerAreNone) {
    XNeighbour manager(std::getenv("DISPLAY"));
    manager.becomeManager(manager.openFreePanel({-10, -10, 1, 1, 0}));
    begin();
    const auto frame = manager.openFreePanel(kWholeScreen);
    EXPECT_FALSE(lockers->cover());
    const auto locker = neighbour.openFreePanel(kWholeScreen);
    EXPECT_TRUE(lockers->cover());
    neighbour.close(locker);
    manager.close(frame);
}

// Some lockers show their window only when they have the keyboard, which a session holds.
TEST_F(XLockersTest, AWindowThatIsMadeForItCountsForAMoment) {
    begin();
    const auto made = neighbour.makeFreePanel(kWholeScreen);
    EXPECT_TRUE(tells(true));
    changes = 0;
    EXPECT_TRUE(tells(false)) << "it was not shown";
    neighbour.close(made);
}

TEST_F(XLockersTest, TheScreenSaverOfTheServerCounts) {
    begin();
    neighbour.forceScreenSaver(true);
    EXPECT_TRUE(tells(true));
    neighbour.forceScreenSaver(false);
    EXPECT_FALSE(lockers->cover());
    neighbour.forceScreenSaver(true);
    begin();
    EXPECT_TRUE(lockers->cover()) << "it was on before";
    neighbour.forceScreenSaver(false);
    EXPECT_FALSE(lockers->cover());
}

TEST_F(XLockersTest, AServerThatGoesTellsItOnceAndCoversNothing) {
    auto server = std::make_unique<Xvfb>("640x480");
    const std::string before = std::getenv("DISPLAY");
    server->enter();
    begin();
    XNeighbour there(server->display());
    there.openFreePanel(kWholeScreen);
    ASSERT_TRUE(tells(true));
    changes = 0;
    setenv("DISPLAY", before.c_str(), 1);
    server->end();
    EXPECT_TRUE(tells(false));
    changes = 0;
    for (int i = 0; i < 50; ++i)
        QCoreApplication::processEvents();
    EXPECT_EQ(changes, 0) << "nothing is asked of a dead connection";
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::NoBus(), lightpen::Xvfb("640x480"));
}
