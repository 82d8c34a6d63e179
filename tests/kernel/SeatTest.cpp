// SPDX-License-Identifier: MIT
// The driver program of a user whose session becomes inactive and active again, and of a machine that sleeps,
// with a unit and a pointer of the kernel's. Logind is the test's.
#include <gtest/gtest.h>

#include <filesystem>

#include <QCoreApplication>

#include "kernel/support/UnplugFixture.h"
#include "kit/PrivateBus.h"
#include "kit/linux/FakeLogind.h"

namespace lightpen::test {
namespace {

constexpr uid_t kOrdinaryUser = 65534;

// What there is before a driver: its system bus, with logind.
struct Seat {
    explicit Seat(bool active = true)
        : logind(bus.address(), [active](FakeLogind& fake) { fake.session.active = active; }) {}
    DriverOptions driverOf(uid_t user) const {
        return {
            .user = user,
            .groups = {},
            .environment = {{"QT_QPA_PLATFORM", "offscreen"}, {"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}}};
    }
    void become(bool active) {
        logind.perform([=](FakeLogind& fake) { fake.setActive(active); });
    }

    PrivateBus bus{BusUsers::everybody};
    LogindProgram logind;
};

std::size_t openNodesOf(const DriverProcess& driver) {
    std::size_t nodes = 0;
    for (const auto& file :
         std::filesystem::directory_iterator("/proc/" + std::to_string(driver.pid()) + "/fd")) {
        std::error_code gone;
        const auto target = std::filesystem::read_symlink(file, gone);
        nodes += target.string().starts_with("/dev/hidraw") ? 1 : 0;
    }
    return nodes;
}

class SeatTest : protected Seat, public UnplugFixture {
protected:
    explicit SeatTest(uid_t user = 0) : UnplugFixture(driverOf(user)) {}
    bool isHeldUp() {
        bool held = false;
        logind.perform([&](const FakeLogind& fake) { held = fake.isHeldUp(); });
        return held;
    }
};

TEST_F(SeatTest, AnInactiveSessionLetsGoOfUnitAndPointer) {
    plugIn();
    expectToWork();
    EXPECT_GT(openNodesOf(driver_), 0U);
    ASSERT_NO_FATAL_FAILURE(press());
    ASSERT_TRUE(buttonBecomes(true));
    driver_.skipLog();
    become(false);
    ASSERT_TRUE(driver_.waitFor(kRemoved));
    EXPECT_TRUE(buttonBecomes(false)) << "the hand is still on the screen";
    EXPECT_TRUE(eventually([&] { return openNodesOf(driver_) == 0; }));
    unit_.lift();
    become(true);
    expectToWork();
    expectToEnd();
}

TEST_F(SeatTest, OneUnitIsTheActiveSessionsAlone) {
    Seat other(false);
    DriverProcess second(other.driverOf(0));
    ASSERT_TRUE(second.waitFor(kStarted));
    plugIn();
    expectToWork();
    EXPECT_EQ(openNodesOf(second), 0U);
    EXPECT_EQ(second.count(kArrived), 0U) << second.log();
    become(false);
    other.become(true);
    EXPECT_TRUE(second.waitFor(kFlashRead)) << second.log();
    EXPECT_TRUE(eventually([&] { return openNodesOf(driver_) == 0; }));
    EXPECT_EQ(second.end(), 0);
    expectToEnd();
}

TEST_F(SeatTest, TheMachineSleepsWithEveryButtonUpAndTheUnitIsOpenedAnewAfterwards) {
    plugIn();
    expectToWork();
    ASSERT_NO_FATAL_FAILURE(press());
    ASSERT_TRUE(buttonBecomes(true));
    ASSERT_TRUE(eventually([&] { return isHeldUp(); }));
    driver_.skipLog();
    logind.perform([](FakeLogind& fake) { fake.sleep(true); });
    ASSERT_TRUE(eventually([&] { return !isHeldUp(); }));
    EXPECT_FALSE(pointer_->buttonDown());
    ASSERT_TRUE(driver_.waitFor(kRemoved));
    unit_.lift();
    logind.perform([](FakeLogind& fake) { fake.sleep(false); });
    expectToWork();
    expectToEnd();
}

class SeatOfOrdinaryUserTest : public SeatTest {
protected:
    SeatOfOrdinaryUserTest() : SeatTest(kOrdinaryUser) {}
    // The pointer device is not the user's either.
    void SetUp() override { ASSERT_TRUE(driver_.waitFor(kStarted)); }
    static void giveToEverybody(const std::string& node) {
        using std::filesystem::perms;
        std::filesystem::permissions(node, perms::others_read | perms::others_write,
                                     std::filesystem::perm_options::add);
    }
    static void giveThePen() {
        for (const auto& node : waitForNodes(4))
            if (node.interfaceNumber == kUnitPenInterfaceNumber)
                giveToEverybody(node.devnode);
    }
};

TEST_F(SeatOfOrdinaryUserTest, ANodeThatIsGivenWithoutAWordFromUdevIsOpened) {
    plugIn();
    ASSERT_TRUE(driver_.waitFor(kRefused)) << driver_.log();
    EXPECT_EQ(driver_.count(kArrived), 0U);
    giveThePen();
    EXPECT_TRUE(driver_.waitFor(kFlashRead)) << driver_.log();
    EXPECT_EQ(driver_.count(kRefused), 1U);
    expectToEnd();
}

// As when the session becomes active in which the driver was started before.
TEST_F(SeatOfOrdinaryUserTest, APointerThatIsGivenLaterNeedsNoRestart) {
    EXPECT_EQ(driver_.count(kPointerThroughUinput), 0U);
    giveToEverybody("/dev/uinput");
    ASSERT_TRUE(driver_.waitFor(kPointerThroughUinput)) << driver_.log();
    pointer_ = std::make_unique<PointerWatch>();
    ASSERT_TRUE(pointer_->found());
    plugIn();
    ASSERT_TRUE(driver_.waitFor(kRefused)) << driver_.log();
    giveThePen();
    expectToWork();
    expectToEnd();
}

} // namespace
} // namespace lightpen::test

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
