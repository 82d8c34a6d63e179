// SPDX-License-Identifier: MIT
#include "platform/IORegistry.h"

#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "kit/VirtualTime.h"
#include "platform/ServiceRegistry.h"

#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

TEST(IORegistryTest, PropertiesAreDescribedInOneLine) {
    EXPECT_EQ(describe(Property(std::int64_t{-7})), "-7");
    EXPECT_EQ(describe(Property(std::string("a text"))), "a text");
    EXPECT_EQ(describe(PropertyDictionary()), "{}");
    EXPECT_EQ(describe(Property(std::vector<PropertyDictionary>())), "()");
    const PropertyDictionary element{{{"ReportID", 0}, {"ElementCookie", 12}}};
    EXPECT_EQ(describe(element), "{ElementCookie = 12; ReportID = 0; }");
    EXPECT_EQ(describe(Property(std::vector{element, PropertyDictionary{{{"Name", std::string("x")}}}})),
              "({ElementCookie = 12; ReportID = 0; }, {Name = x; })");
}

TEST(IORegistryTest, AMatchingDictionaryNamesItsClassAlone) {
    const MatchingDictionary matching = IOServiceMatching("IOHIDDevice");
    EXPECT_EQ(matching.className, "IOHIDDevice");
    EXPECT_TRUE(matching.numbers.empty());
}

// What owns a reference

class IOObjectTest : public testing::Test {
protected:
    void SetUp() override {
        port = registry.IONotificationPortCreate(0);
        loop.addSource(port->IONotificationPortGetRunLoopSource(), kCFRunLoopCommonModes);
    }
    // A service whose only reference is the caller's.
    io_service_t withdrawnService() {
        const io_service_t service = registry.publish({"IOUSBDevice", "IOService:/unit", {}, {}});
        loop.runPending();
        registry.IOObjectRetain(service);
        registry.withdraw(service);
        loop.runFor(ServiceRegistry::kRemovalDelay);
        return service;
    }
    bool lives(io_object_t object) { return !registry.IOObjectGetClass(object).empty(); }

    VirtualClock clock;
    VirtualRunLoop loop{clock};
    ServiceRegistry registry{loop, clock};
    std::shared_ptr<IONotificationPort> port;
};

TEST_F(IOObjectTest, LetsGoOfItsReferenceAtItsEnd) {
    const io_service_t service = withdrawnService();
    {
        const IOObject owner{registry, service};
        EXPECT_EQ(owner.get(), service);
        EXPECT_TRUE(owner);
        const IOObject second = IOObject::retained(registry, service);
        EXPECT_EQ(second.get(), service);
    }
    EXPECT_FALSE(lives(service));
    const IOObject none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none.get(), 0u);
    EXPECT_FALSE(none.next());
}

TEST_F(IOObjectTest, ARetainedReferenceIsOneMore) {
    const io_service_t service = withdrawnService();
    IOObject owner{registry, service};
    IOObject second = IOObject::retained(registry, service);
    owner = {};
    EXPECT_TRUE(lives(service));
    second = {};
    EXPECT_FALSE(lives(service));
}

TEST_F(IOObjectTest, MovesItsReferenceAndLetsGoOfTheFormerOneAtOnce) {
    const io_service_t first = withdrawnService();
    const io_service_t second = withdrawnService();
    IOObject owner{registry, first};
    IOObject other{registry, second};
    owner = std::move(other);
    EXPECT_EQ(owner.get(), second);
    EXPECT_FALSE(lives(first));
    const IOObject last(std::move(owner));
    EXPECT_EQ(last.get(), second);
    EXPECT_TRUE(lives(second));
}

TEST_F(IOObjectTest, AnIteratorYieldsItsServicesAndIsDrained) {
    const auto publish = [this](std::int64_t product) {
        const io_service_t service =
            registry.publish({"IOUSBDevice", "IOService:/unit", {{{"idProduct", product}}}, {}});
        loop.runPending();
        return service;
    };
    const io_service_t first = publish(1);
    publish(2);
    const io_service_t third = publish(1);
    const std::size_t published = registry.liveObjects();
    {
        const MatchingDictionary matching{"IOUSBDevice", {{"idProduct", 1}}};
        const IOObject services = matchingServices(registry, 0, matching);
        EXPECT_EQ(services.next().get(), first);
        EXPECT_EQ(services.next().get(), third);
        EXPECT_FALSE(services.next());
        const IOObject drained = matchingServices(registry, 0, matching);
        drain(registry, drained.get());
        EXPECT_FALSE(drained.next());
    }
    EXPECT_EQ(registry.liveObjects(), published);
}

} // namespace
} // namespace lightpen
