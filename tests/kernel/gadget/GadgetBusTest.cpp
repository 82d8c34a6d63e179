// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetBus.h"
#include "unit/CameraUnit.h"

#include <gmock/gmock.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>

#include "kernel/gadget/GadgetTree.h"
#include "kit/Eventually.h"
#include "kit/RecordingLog.h"

namespace lightpen::test {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// Real time: the bus has threads.
class RunningClock final : public Clock {
public:
    Microseconds now() override {
        return std::chrono::duration_cast<Microseconds>(std::chrono::steady_clock::now().time_since_epoch());
    }
    void sleep(Microseconds duration) override { std::this_thread::sleep_for(duration); }
};

class GadgetBusTest : public testing::Test {
protected:
    // Plugs the unit in and takes the kernel's end of its node.
    void plugIn(CameraUnit& unit) {
        unit.plug();
        ASSERT_TRUE(bus_.settle(unit)) << bus_.failure(unit);
        kernel_ = tree_.takeKernelEnd();
        ASSERT_TRUE(kernel_);
    }
    // The next input report that the kernel gets; empty when there is none in time.
    ReportBytes nextInput() {
        ReportBytes report(4096);
        pollfd state{kernel_.get(), POLLIN, 0};
        if (::poll(&state, 1, 10'000) <= 0)
            return {};
        const auto got = ::read(kernel_.get(), report.data(), report.size());
        report.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
        return report;
    }
    // The host sends this.
    void sendOutput(const ReportBytes& report) {
        ASSERT_EQ(::write(kernel_.get(), report.data(), report.size()), static_cast<ssize_t>(report.size()));
    }
    void remember(CameraUnit& unit) {
        unit.onOutput([this](Microseconds, std::span<const std::uint8_t> report) {
            const std::lock_guard hold(mutex_);
            taken_.emplace_back(report.begin(), report.end());
        });
    }
    std::vector<ReportBytes> taken() {
        const std::lock_guard hold(mutex_);
        return taken_;
    }

    RecordingLog log_;
    RunningClock clock_;
    GadgetTree tree_{{"dummy_udc.0", "dummy_udc.1"}};
    FileDescriptor kernel_;
    std::mutex mutex_;
    std::vector<ReportBytes> taken_; // by the unit
    std::vector<ReportBytes> sent_;  // by the unit
    GadgetBus bus_{clock_, {GadgetTree::kGadgets, GadgetTree::kControllers, GadgetTree::kDevices}, tree_};
};

const ReportBytes kReadFirstRecord{'H', 0, 0, 0, 0, 0, 0, 0};

TEST_F(GadgetBusTest, PlugsInByTheControllersNameAndOutByNone) {
    CameraUnit& unit = bus_.add<CameraUnit>({}, {.interfaces = 4});
    tree_.takeActions();
    plugIn(unit);
    EXPECT_EQ(bus_.controller(unit), "dummy_udc.0");
    EXPECT_THAT(tree_.takeActions(),
                ElementsAre("write /gadgets/lightpen0/UDC dummy_udc.0\n", "open /nodes/hidg5"));
    unit.unplug();
    ASSERT_TRUE(bus_.settle(unit));
    EXPECT_EQ(bus_.controller(unit), "");
    EXPECT_THAT(tree_.takeActions(), ElementsAre("write /gadgets/lightpen0/UDC \n"));
}

TEST_F(GadgetBusTest, CarriesReportsBothWays) {
    CameraUnit& unit = bus_.add<CameraUnit>({.reportLength = 32});
    unit.flash()->store({11, 12}, {13, 14}, {15, 16}, {17, 18});
    remember(unit);
    plugIn(unit);
    sendOutput(kReadFirstRecord);
    const ReportBytes answer = nextInput();
    ASSERT_EQ(answer.size(), 32U);
    EXPECT_EQ(answer[0], 'Y');
    EXPECT_EQ(answer[2], 11);
    EXPECT_THAT(taken(), ElementsAre(kReadFirstRecord));
}

TEST_F(GadgetBusTest, LeavesOutputReportsWhereTheyAreUntilTheUnitReads) {
    CameraUnit& unit = bus_.add<CameraUnit>({.reportLength = 32});
    remember(unit);
    unit.faults()->doesNotReadOutput = true;
    plugIn(unit);
    std::vector<ReportBytes> sent;
    for (std::uint8_t number = 1; number <= 5; ++number) {
        sent.push_back({'R', number, 0, 0, 0, 0, 0});
        sendOutput(sent.back());
    }
    unit.touch({400, 300}); // its own reports come nevertheless
    EXPECT_FALSE(nextInput().empty());
    EXPECT_THAT(taken(), IsEmpty());
    int unread = 0;
    ASSERT_EQ(::ioctl(kernel_.get(), SIOCOUTQ, &unread), 0);
    EXPECT_GE(unread, 5 * 7) << "none has been read, or the kernel could not make the host wait";
    unit.faults()->doesNotReadOutput = false;
    ASSERT_TRUE(eventually([&] { return taken().size() == sent.size(); }));
    EXPECT_EQ(taken(), sent);
}

TEST_F(GadgetBusTest, AHostThatDoesNotAskLosesReportsAndNeverHoldsTheUnitUp) {
    CameraUnit& unit = bus_.add<CameraUnit>({.reportLength = 804});
    unit.onReport([&](const UnitReport& report) {
        const std::lock_guard hold(mutex_);
        sent_.push_back(report.bytes);
    });
    const auto count = [&] {
        const std::lock_guard hold(mutex_);
        return sent_.size();
    };
    plugIn(unit);
    const int little = 1; // as little as a socket can hold
    ASSERT_EQ(::setsockopt(kernel_.get(), SOL_SOCKET, SO_RCVBUF, &little, sizeof(little)), 0);
    unit.play(Hand().drag({{50, 60}, {1100, 700}}, 200));
    ASSERT_TRUE(eventually([&] { return count() > 400; })) << "the unit goes on";
    unit.lift();
    const ReportBytes newest = [&] {
        const std::lock_guard hold(mutex_);
        return sent_.back();
    }();
    std::vector<ReportBytes> received;
    while (received.empty() || received.back() != newest) {
        received.push_back(nextInput());
        ASSERT_FALSE(received.back().empty());
    }
    EXPECT_LT(received.size(), count());
    const std::lock_guard hold(mutex_);
    EXPECT_EQ(received.front(), sent_.front()) << "what the host has begun to take stays";
}

TEST_F(GadgetBusTest, AUnitThatPullsItsOwnPlugIsUnboundAndComesBackByItself) {
    CameraUnit& unit = bus_.add<CameraUnit>({.reportLength = 32});
    plugIn(unit);
    tree_.takeActions();
    unit.faults()->unplug = UnplugPoint{.command = std::uint8_t{'H'}, .replugAfter = 30ms};
    sendOutput(kReadFirstRecord);
    std::vector<std::string> actions;
    ASSERT_TRUE(eventually([&] {
        for (std::string& action : tree_.takeActions())
            actions.push_back(std::move(action));
        return actions.size() == 3;
    }));
    EXPECT_THAT(actions, ElementsAre("write /gadgets/lightpen0/UDC \n",
                                     "write /gadgets/lightpen0/UDC dummy_udc.0\n", "open /nodes/hidg5"));
    ASSERT_TRUE(bus_.settle(unit));
    kernel_ = tree_.takeKernelEnd();
    sendOutput(kReadFirstRecord);
    EXPECT_FALSE(nextInput().empty()) << "it works again";
}

TEST_F(GadgetBusTest, AQuickReplugIsAnUnpluggingNevertheless) {
    CameraUnit& unit = bus_.add<CameraUnit>();
    plugIn(unit);
    tree_.takeActions();
    for (int again = 0; again < 20; ++again) {
        unit.unplug();
        unit.plug();
        ASSERT_TRUE(bus_.settle(unit));
        EXPECT_THAT(tree_.takeActions(),
                    ElementsAre("write /gadgets/lightpen0/UDC \n",
                                "write /gadgets/lightpen0/UDC dummy_udc.0\n", "open /nodes/hidg5"));
    }
}

TEST_F(GadgetBusTest, AThirdUnitHasNoSocketAndGetsOneLater) {
    CameraUnit& one = bus_.add<CameraUnit>();
    CameraUnit& two = bus_.add<CameraUnit>();
    CameraUnit& three = bus_.add<CameraUnit>();
    one.plug();
    two.plug();
    ASSERT_TRUE(bus_.settle(one));
    ASSERT_TRUE(bus_.settle(two));
    three.plug();
    EXPECT_FALSE(bus_.settle(three));
    EXPECT_EQ(bus_.failure(three), "each device controller of /udc is taken (2 in all)");
    EXPECT_THAT(log_.lines(),
                Contains("Gadget: a unit cannot be plugged in: each device controller of /udc is "
                         "taken (2 in all)"));
    three.unplug();
    one.unplug();
    ASSERT_TRUE(bus_.settle(one));
    three.plug();
    EXPECT_TRUE(bus_.settle(three)) << bus_.failure(three);
}

TEST_F(GadgetBusTest, ANodeThatMayNotBeOpenedIsAFailureAndTheSocketIsFreeAgain) {
    tree_.refuse("/nodes/hidg5", EACCES);
    CameraUnit& unit = bus_.add<CameraUnit>();
    tree_.takeActions();
    unit.plug();
    EXPECT_FALSE(bus_.settle(unit));
    EXPECT_EQ(bus_.failure(unit), "/nodes/hidg5 cannot be opened: Permission denied");
    EXPECT_EQ(bus_.controller(unit), "");
    EXPECT_THAT(tree_.takeActions(),
                ElementsAre("write /gadgets/lightpen0/UDC dummy_udc.0\n", "write /gadgets/lightpen0/UDC \n"));
}

TEST_F(GadgetBusTest, AUnitThatTheKernelCannotHaveIsRefused) {
    tree_.refuse("/gadgets/lightpen0", EPERM);
    EXPECT_THROW(bus_.add<CameraUnit>(), GadgetError);
}

TEST(GadgetBusEndTest, TakesEveryUnitOutOfTheKernel) {
    RunningClock clock;
    GadgetTree tree;
    {
        GadgetBus bus(clock, {GadgetTree::kGadgets, GadgetTree::kControllers, GadgetTree::kDevices}, tree);
        bus.add<CameraUnit>();
        CameraUnit& unit = bus.add<CameraUnit>();
        unit.touch({100, 200});
        unit.plug();
    }
    EXPECT_THAT(tree.entries(), IsEmpty());
}

} // namespace
} // namespace lightpen::test
