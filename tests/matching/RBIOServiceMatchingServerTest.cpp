// SPDX-License-Identifier: MIT
#include "matching/RBIOServiceMatchingServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::int32_t kVendor = 0x1209;
constexpr std::int32_t kProduct = 0x0001;
constexpr std::int32_t kOtherProduct = 0x0002;

// Writes down what it hears; drains each iterator.
struct Observer {
    explicit Observer(std::vector<std::string>& book) : diary(book) {}
    void deviceDidAdd(io_iterator_t iterator) { hear("add", iterator); }
    void deviceDidRemove(io_iterator_t iterator) { hear("remove", iterator); }
    void hear(const std::string& what, io_iterator_t iterator) {
        ServiceRegistry& registry = Platform::current().registry;
        int objects = 0;
        while (IOObject{registry, registry.IOIteratorNext(iterator)})
            ++objects;
        diary.push_back(what + " " + std::to_string(objects));
        if (then)
            then();
    }
    std::vector<std::string>& diary;
    std::function<void()> then;
};

class RBIOServiceMatchingServerTest : public testing::Test {
protected:
    static ServiceDescription usbDevice(std::int64_t product, std::int64_t vendor = kVendor) {
        return {"IOUSBDevice", "IOService:/usb", {{{"idVendor", vendor}, {"idProduct", product}}}, {}};
    }
    static MatchingDictionary matching(std::int32_t product = kProduct) {
        return RBIOServiceMatchingServer::matchingDictionaryForUSBDeviceWithVenderID(kVendor, product);
    }
    io_service_t plugIn(std::int64_t product = kProduct) {
        const io_service_t service = desk.registry.publish(usbDevice(product));
        desk.runLoop.runPending();
        return service;
    }
    void unplug(io_service_t service) {
        desk.registry.withdraw(service);
        desk.runLoop.runFor(ServiceRegistry::kRemovalDelay);
    }

    TestPlatform desk;
    RecordingLog log;
    RBIOServiceMatchingServer server;
    std::vector<std::string> diary;
    Observer observer{diary};
};

TEST_F(RBIOServiceMatchingServerTest, MatchingDictionaryNamesTheClassAndBothIdentifiers) {
    const MatchingDictionary dictionary = matching(kOtherProduct);
    EXPECT_EQ(dictionary.className, "IOUSBDevice");
    EXPECT_THAT(dictionary.numbers,
                ElementsAre(std::pair<const std::string, std::int64_t>("idProduct", 2),
                            std::pair<const std::string, std::int64_t>("idVendor", 0x1209)));
}

TEST_F(RBIOServiceMatchingServerTest, DefaultServerIsOne) {
    EXPECT_EQ(&RBIOServiceMatchingServer::defaultServer(), &RBIOServiceMatchingServer::defaultServer());
}

TEST_F(RBIOServiceMatchingServerTest, NotificationPortIsMadeOnceAndServesTheModalModeToo) {
    const auto port = server.notificationPort();
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(server.notificationPort(), port);
    EXPECT_THAT(desk.runLoop.commonModes(), ElementsAre("NSModalPanelRunLoopMode"));
    ASSERT_EQ(desk.runLoop.sources().size(), 1u);
    EXPECT_TRUE(
        desk.runLoop.containsSource(port->IONotificationPortGetRunLoopSource(), "kCFRunLoopCommonModes"));
}

TEST_F(RBIOServiceMatchingServerTest, PresenceTestAnswersAndLeavesNoReferenceBehind) {
    EXPECT_FALSE(server.matchUSBDeviceWithVenderID(kVendor, kProduct));
    EXPECT_EQ(desk.registry.liveObjects(), 0u);
    plugIn();
    EXPECT_TRUE(server.matchUSBDeviceWithVenderID(kVendor, kProduct));
    EXPECT_FALSE(server.matchUSBDeviceWithVenderID(kVendor, kOtherProduct));
    EXPECT_FALSE(server.matchUSBDeviceWithVenderID(kProduct, kVendor));
    EXPECT_EQ(desk.registry.liveObjects(), 1u) << "the device itself";
}

TEST_F(RBIOServiceMatchingServerTest, DeviceListHoldsTheMatchingDevicesOnly) {
    const io_service_t first = plugIn();
    plugIn(kOtherProduct);
    const io_service_t third = plugIn();
    const IOObject iterator = server.createUSBDevicesWithVenderID(kVendor, kProduct);
    EXPECT_EQ(iterator.next().get(), first);
    EXPECT_EQ(iterator.next().get(), third);
    EXPECT_EQ(iterator.next().get(), 0u);
}

TEST_F(RBIOServiceMatchingServerTest, AddObserverHearsOfLaterArrivalsOnly) {
    plugIn();
    server.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching());
    desk.runLoop.runPending();
    EXPECT_THAT(diary, IsEmpty());
    const io_service_t second = plugIn();
    EXPECT_THAT(diary, ElementsAre("add 1"));
    unplug(second);
    plugIn(kOtherProduct);
    EXPECT_THAT(diary, ElementsAre("add 1"));
}

TEST_F(RBIOServiceMatchingServerTest, RemovalObserverHearsOfRemovalsOnly) {
    const io_service_t early = plugIn();
    server.addServiceDidRemoveObserver(&observer, &Observer::deviceDidRemove, matching());
    const io_service_t late = plugIn();
    EXPECT_THAT(diary, IsEmpty());
    unplug(late);
    unplug(early);
    EXPECT_THAT(diary, ElementsAre("remove 1", "remove 1"));
}

TEST_F(RBIOServiceMatchingServerTest, RemovalRegistrationAloneWritesItsTwoLines) {
    server.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching());
    EXPECT_THAT(log.takeLines(), IsEmpty());
    server.addServiceDidRemoveObserver(&observer, &Observer::deviceDidRemove, matching());
    EXPECT_THAT(log.lines(),
                ElementsAre(StartsWith("RBIOS n:208 classRBIOServiceMatchingRecord:0x"),
                            "RBIOS n:210 classRBIOServiceMatchingRecord respondsToSelector YES"));
}

TEST_F(RBIOServiceMatchingServerTest, EachRegistrationIsOneCallPerEvent) {
    for (int i = 0; i < 2; ++i)
        server.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching());
    plugIn();
    EXPECT_THAT(diary, ElementsAre("add 1", "add 1"));
}

TEST_F(RBIOServiceMatchingServerTest, RemovedObserverHearsNothingAndItsNotificationsEnd) {
    Observer other{diary};
    server.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching());
    server.addServiceDidRemoveObserver(&observer, &Observer::deviceDidRemove, matching());
    server.addServiceDidRemoveObserver(&other, &Observer::deviceDidRemove, matching());
    EXPECT_EQ(desk.registry.liveObjects(), 3u);
    server.removeObserver(&observer);
    EXPECT_EQ(desk.registry.liveObjects(), 1u);
    unplug(plugIn());
    EXPECT_THAT(diary, ElementsAre("remove 1")) << "the other observer's";
}

TEST_F(RBIOServiceMatchingServerTest, RemovingAnObserverThatIsNotThereChangesNothing) {
    server.removeObserver(&observer);
    server.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching());
    plugIn();
    EXPECT_THAT(diary, ElementsAre("add 1"));
}

TEST_F(RBIOServiceMatchingServerTest, EventOnItsWayToARemovedObserverIsDropped) {
    server.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching());
    desk.registry.publish(usbDevice(kProduct));
    server.removeObserver(&observer);
    desk.runLoop.runPending();
    EXPECT_THAT(diary, IsEmpty());
}

TEST_F(RBIOServiceMatchingServerTest, ObserverMayRemoveItselfWhileItIsCalled) {
    for (int i = 0; i < 2; ++i)
        server.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching());
    observer.then = [this] { server.removeObserver(&observer); };
    plugIn();
    plugIn();
    EXPECT_THAT(diary, ElementsAre("add 1"));
}

TEST_F(RBIOServiceMatchingServerTest, EndOfTheServerEndsItsNotifications) {
    {
        RBIOServiceMatchingServer shortLived;
        shortLived.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching());
        shortLived.addServiceDidRemoveObserver(&observer, &Observer::deviceDidRemove, matching());
        EXPECT_EQ(desk.registry.liveObjects(), 2u);
    }
    EXPECT_EQ(desk.registry.liveObjects(), 0u);
    unplug(plugIn());
    EXPECT_THAT(diary, IsEmpty());
}

// A registry whose every call can be watched or made to fail; the rest is the real one.
class ScriptedRegistry final : public ServiceRegistry {
public:
    using ServiceRegistry::ServiceRegistry;
    IOReturn IOMasterPort(mach_port_t& port) override {
        ++masterPortCalls;
        return failing ? kIOReturnError : ServiceRegistry::IOMasterPort(port);
    }
    IOReturn IOServiceGetMatchingServices(mach_port_t port, const MatchingDictionary& matching,
                                          io_iterator_t& iterator) override {
        const IOReturn result = ServiceRegistry::IOServiceGetMatchingServices(port, matching, iterator);
        return failing ? kIOReturnError : result;
    }
    IOReturn IOServiceAddMatchingNotification(const std::shared_ptr<IONotificationPort>& port,
                                              std::string_view type, const MatchingDictionary& matching,
                                              IOServiceMatchingCallback armedCallback, void* armedRefcon,
                                              io_iterator_t& iterator) override {
        types.emplace_back(type);
        callback = armedCallback;
        refcon = armedRefcon;
        if (failing)
            return kIOReturnError;
        return ServiceRegistry::IOServiceAddMatchingNotification(port, type, matching, armedCallback,
                                                                 armedRefcon, iterator);
    }
    bool failing = false;
    int masterPortCalls = 0;
    std::vector<std::string> types;
    IOServiceMatchingCallback callback = nullptr;
    void* refcon = nullptr;
};

// The same desk, but for its registry.
class RBIOServiceMatchingServerScriptedTest : public testing::Test {
protected:
    RBIOServiceMatchingServerScriptedTest() { Platform::setCurrent(&platform); }

    TestPlatform desk;
    ScriptedRegistry registry{desk.runLoop, desk.clock};
    Platform platform{registry,           desk.pointer,   desk.runLoop, desk.clock,    desk.threads,
                      desk.notifications, desk.broadcast, desk.desktop, desk.defaults, desk.systemUI,
                      desk.sounds,        desk.dataFiles, desk.shell};
    RecordingLog log;
    std::vector<std::string> diary;
    Observer observer{diary};
    const MatchingDictionary matching =
        RBIOServiceMatchingServer::matchingDictionaryForUSBDeviceWithVenderID(kVendor, kProduct);
};

TEST_F(RBIOServiceMatchingServerScriptedTest, MasterPortIsAskedForOnce) {
    RBIOServiceMatchingServer server;
    const mach_port_t port = server.masterPort();
    EXPECT_NE(port, 0u);
    EXPECT_EQ(server.masterPort(), port);
    EXPECT_EQ(registry.masterPortCalls, 1);
}

TEST_F(RBIOServiceMatchingServerScriptedTest, ProcessEndsWithoutAMasterPort) {
    RBIOServiceMatchingServer server;
    registry.failing = true;
    try {
        server.masterPort();
        FAIL() << "went on without a master port";
    } catch (const ProcessExit& exit) {
        EXPECT_EQ(exit.status, 1);
    }
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_THAT(lines[0], testing::EndsWith("RBIOServiceMatchingServer:109: Cannot create master port!"));
}

TEST_F(RBIOServiceMatchingServerScriptedTest, DeviceListThatFailsIsZeroAndLeavesNoReferenceBehind) {
    RBIOServiceMatchingServer server;
    ASSERT_NE(server.masterPort(), 0u);
    registry.failing = true;
    EXPECT_EQ(server.createUSBDevicesWithVenderID(kVendor, kProduct).get(), 0u);
    EXPECT_EQ(registry.liveObjects(), 0u);
}

TEST_F(RBIOServiceMatchingServerScriptedTest, FailedArmingIsNoFault) {
    RBIOServiceMatchingServer server;
    ASSERT_NE(server.notificationPort(), nullptr);
    registry.failing = true;
    server.addServiceDidAddObserver(&observer, &Observer::deviceDidAdd, matching);
    server.addServiceDidRemoveObserver(&observer, &Observer::deviceDidRemove, matching);
    EXPECT_THAT(registry.types, ElementsAre("IOServiceFirstMatch", "IOServiceTerminate"));
    registry.publish({"IOUSBDevice", "", {{{"idVendor", kVendor}, {"idProduct", kProduct}}}, {}});
    desk.runLoop.runPending();
    EXPECT_THAT(diary, IsEmpty());
}

// Some registries have the callback on its way when the notification ends.
TEST_F(RBIOServiceMatchingServerScriptedTest, CallbackAfterTheRemovalOfItsObserverDoesNothing) {
    RBIOServiceMatchingServer server;
    server.addServiceDidRemoveObserver(&observer, &Observer::deviceDidRemove, matching);
    auto* invocation = static_cast<Invocation*>(registry.refcon);
    EXPECT_EQ(invocation->target(), &observer);
    EXPECT_TRUE(server.containsInvocation(invocation));
    registry.callback(registry.refcon, 0);
    EXPECT_THAT(diary, ElementsAre("remove 0"));

    server.removeObserver(&observer);
    EXPECT_FALSE(server.containsInvocation(invocation));
    registry.callback(registry.refcon, 0);
    EXPECT_THAT(diary, ElementsAre("remove 0"));

    server.addServiceDidRemoveObserver(&observer, &Observer::deviceDidRemove, matching);
    EXPECT_FALSE(server.containsInvocation(invocation)) << "kept for good";
    EXPECT_TRUE(server.containsInvocation(static_cast<Invocation*>(registry.refcon)));
}

} // namespace
} // namespace lightpen
