// SPDX-License-Identifier: MIT
#include "platform/ServiceRegistry.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/VirtualTime.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view kArrival = kIOFirstMatchNotification;
constexpr std::string_view kRemoval = kIOTerminatedNotification;

class ServiceRegistryTest : public testing::Test {
protected:
    // An observer of one notification; writes "name (objects)" whenever it is called.
    struct Observer {
        ServiceRegistryTest& test;
        std::string name;
        bool drains = true;
        std::function<void()> then;
        io_iterator_t iterator = 0;

        static void called(void* refcon, io_iterator_t iterator) {
            auto& observer = *static_cast<Observer*>(refcon);
            EXPECT_EQ(iterator, observer.iterator);
            const auto taken = observer.drains ? observer.test.drain(iterator) : std::vector<io_object_t>();
            observer.test.diary.push_back(observer.name + " " + std::to_string(taken.size()));
            if (observer.then)
                observer.then();
        }
    };

    void SetUp() override {
        port = registry.IONotificationPortCreate(0);
        loop.addSource(port->IONotificationPortGetRunLoopSource(), kCFRunLoopCommonModes);
    }
    // Takes and releases all objects of the iterator.
    std::vector<io_object_t> drain(io_iterator_t iterator) {
        std::vector<io_object_t> taken;
        while (const io_object_t object = registry.IOIteratorNext(iterator)) {
            taken.push_back(object);
            registry.IOObjectRelease(object);
        }
        return taken;
    }
    // Registers the observer, without arming it; returns what the iterator held.
    IOReturn observe(Observer& observer, std::string_view type, std::int64_t product = 1) {
        return registry.IOServiceAddMatchingNotification(port, type, matching(product), Observer::called,
                                                         &observer, observer.iterator);
    }
    void observeArmed(Observer& observer, std::string_view type, std::int64_t product = 1) {
        ASSERT_EQ(observe(observer, type, product), kIOReturnSuccess);
        drain(observer.iterator);
    }
    void observeBoth() {
        observeArmed(arrivals, kArrival);
        observeArmed(removals, kRemoval);
    }
    static MatchingDictionary matching(std::int64_t product) {
        return {"IOUSBDevice", {{"idProduct", product}}};
    }
    io_service_t publish(std::int64_t product = 1) {
        return registry.publish({"IOUSBDevice",
                                 "IOService:/unit",
                                 {{{"idProduct", product}, {"Name", std::string("unit")}}},
                                 {}});
    }
    // The calls that come within the time.
    std::vector<std::string> calls(Microseconds time = Microseconds(0)) {
        loop.runFor(time);
        return std::exchange(diary, {});
    }

    VirtualClock clock;
    VirtualRunLoop loop{clock};
    ServiceRegistry registry{loop, clock};
    std::shared_ptr<IONotificationPort> port;
    std::vector<std::string> diary;
    Observer arrivals{*this, "arrived", true, {}, 0};
    Observer removals{*this, "left", true, {}, 0};
    static constexpr Microseconds kDelay = ServiceRegistry::kRemovalDelay;
};

// Properties in words

TEST_F(ServiceRegistryTest, PropertiesAreDescribedInOneLine) {
    EXPECT_EQ(describe(Property(std::int64_t{-7})), "-7");
    EXPECT_EQ(describe(Property(std::string("a text"))), "a text");
    EXPECT_EQ(describe(PropertyDictionary()), "{}");
    EXPECT_EQ(describe(Property(std::vector<PropertyDictionary>())), "()");
    const PropertyDictionary element{{{"ReportID", 0}, {"ElementCookie", 12}}};
    EXPECT_EQ(describe(element), "{ElementCookie = 12; ReportID = 0; }");
    EXPECT_EQ(describe(Property(std::vector{element, PropertyDictionary{{{"Name", std::string("x")}}}})),
              "({ElementCookie = 12; ReportID = 0; }, {Name = x; })");
}

TEST_F(ServiceRegistryTest, AMatchingDictionaryNamesItsClassAlone) {
    const MatchingDictionary matching = IOServiceMatching("IOHIDDevice");
    EXPECT_EQ(matching.className, "IOHIDDevice");
    EXPECT_TRUE(matching.numbers.empty());
}

// References

TEST_F(ServiceRegistryTest, AnObjectLivesAsLongAsItHasReferences) {
    const io_service_t service = publish();
    loop.runPending();
    EXPECT_EQ(registry.IOObjectRetain(service), kIOReturnSuccess);
    registry.withdraw(service);
    loop.runFor(kDelay);
    EXPECT_EQ(registry.IOObjectGetClass(service), "IOUSBDevice") << "our reference";
    EXPECT_EQ(registry.IOObjectRelease(service), kIOReturnSuccess);
    EXPECT_EQ(registry.IOObjectGetClass(service), "");
    EXPECT_EQ(registry.liveObjects(), 0u);
    EXPECT_EQ(registry.IOObjectRelease(service), kIOReturnBadArgument);
    EXPECT_EQ(registry.IOObjectRetain(service), kIOReturnBadArgument);
}

TEST_F(ServiceRegistryTest, AnIteratorReleasesWhatWasNotTaken) {
    publish();
    const io_service_t second = publish();
    loop.runPending();
    io_iterator_t iterator = 0;
    ASSERT_EQ(registry.IOServiceGetMatchingServices(0, matching(1), iterator), kIOReturnSuccess);
    registry.IOObjectRelease(registry.IOIteratorNext(iterator));
    registry.withdraw(second);
    loop.runFor(kDelay);
    EXPECT_EQ(registry.liveObjects(), 3u) << "the iterator still holds the second service";
    registry.IOObjectRelease(iterator);
    EXPECT_EQ(registry.liveObjects(), 1u);
    EXPECT_EQ(registry.IOIteratorNext(iterator), 0u);
}

// What owns a reference

class IOObjectTest : public ServiceRegistryTest {
protected:
    // A service whose only reference is the caller's.
    io_service_t withdrawnService() {
        const io_service_t service = publish();
        loop.runPending();
        registry.IOObjectRetain(service);
        registry.withdraw(service);
        loop.runFor(kDelay);
        return service;
    }
    bool lives(io_object_t object) { return !registry.IOObjectGetClass(object).empty(); }
};

TEST_F(IOObjectTest, LetsGoOfItsReferenceAtItsEnd) {
    const io_service_t service = withdrawnService();
    {
        const IOObject owner{registry, service};
        EXPECT_EQ(owner.get(), service);
        EXPECT_TRUE(owner);
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
    const io_service_t first = publish(1);
    publish(2);
    const io_service_t third = publish(1);
    loop.runPending();
    const std::size_t published = registry.liveObjects();
    {
        const IOObject services = matchingServices(registry, 0, matching(1));
        EXPECT_EQ(services.next().get(), first);
        EXPECT_EQ(services.next().get(), third);
        EXPECT_FALSE(services.next());
        const IOObject drained = matchingServices(registry, 0, matching(1));
        lightpen::drain(registry, drained.get());
        EXPECT_FALSE(drained.next());
    }
    EXPECT_EQ(registry.liveObjects(), published);
}

// Listing and properties

TEST_F(ServiceRegistryTest, ServicesAreListedInTheirOrderWhileTheyAreThere) {
    const io_service_t first = publish(), other = publish(2), third = publish();
    io_iterator_t iterator = 0;
    registry.IOServiceGetMatchingServices(0, matching(1), iterator);
    EXPECT_THAT(drain(iterator), ElementsAre(first, third));
    EXPECT_EQ(registry.IOServiceGetMatchingService(0, matching(2)), other);
    registry.withdraw(first);
    EXPECT_EQ(registry.IOServiceGetMatchingService(0, matching(1)), third) << "gone at once";
    EXPECT_EQ(registry.IOServiceGetMatchingService(0, matching(3)), 0u);
}

TEST_F(ServiceRegistryTest, MatchingComparesTheClassAndEveryNumber) {
    const io_service_t service = publish(7);
    EXPECT_EQ(registry.IOServiceGetMatchingService(0, IOServiceMatching("IOUSBDevice")), service);
    EXPECT_EQ(registry.IOServiceGetMatchingService(0, IOServiceMatching("IOHIDDevice")), 0u);
    for (const MatchingDictionary& wrong :
         {MatchingDictionary{"IOUSBDevice", {{"idProduct", 7}, {"idVendor", 1}}},
          MatchingDictionary{"IOUSBDevice", {{"Name", 0}}},
          MatchingDictionary{"IOUSBDevice", {{"idProduct", 8}}}})
        EXPECT_EQ(registry.IOServiceGetMatchingService(0, wrong), 0u);
}

TEST_F(ServiceRegistryTest, PropertiesAndPathAreReadByKeyAndPlane) {
    const io_service_t service = publish(7);
    const auto product = registry.IORegistryEntryCreateCFProperty(service, "idProduct");
    ASSERT_TRUE(product.has_value());
    EXPECT_EQ(std::get<std::int64_t>(*product), 7);
    EXPECT_FALSE(registry.IORegistryEntryCreateCFProperty(service, "none").has_value());
    EXPECT_FALSE(registry.IORegistryEntryCreateCFProperty(0, "idProduct").has_value());
    EXPECT_EQ(registry.IORegistryEntryCreateCFProperties(service).entries.size(), 2u);
    EXPECT_EQ(registry.IORegistryEntryCreateCFProperties(0).entries.size(), 0u);
    std::string path = "before";
    EXPECT_EQ(registry.IORegistryEntryGetPath(service, "IOUSB", path), kIOReturnBadArgument);
    EXPECT_EQ(path, "before");
    EXPECT_EQ(registry.IORegistryEntryGetPath(service, kIOServicePlane, path), kIOReturnSuccess);
    EXPECT_EQ(path, "IOService:/unit");
}

TEST_F(ServiceRegistryTest, PlugInsComeFromServicesThatAreThereAndHaveThem) {
    int made = 0;
    const io_service_t service = registry.publish({"IOHIDDevice", "", {}, [&made] {
                                                       ++made;
                                                       return nullptr;
                                                   }});
    registry.IOObjectRetain(service);
    IOCFPlugInInterface plugIn;
    EXPECT_EQ(registry.IOCreatePlugInInterfaceForService(service, plugIn), kIOReturnSuccess);
    EXPECT_EQ(made, 0);
    plugIn();
    EXPECT_EQ(made, 1);
    EXPECT_EQ(registry.IOCreatePlugInInterfaceForService(publish(), plugIn), kIOReturnUnsupported);
    registry.withdraw(service);
    EXPECT_EQ(registry.IOCreatePlugInInterfaceForService(service, plugIn), kIOReturnNoDevice);
}

// Notifications

TEST_F(ServiceRegistryTest, ArrivalsBeginWithWhatIsThere) {
    const io_service_t early = publish();
    ASSERT_EQ(observe(arrivals, kArrival), kIOReturnSuccess);
    EXPECT_THAT(drain(arrivals.iterator), ElementsAre(early));
    EXPECT_THAT(calls(), IsEmpty()) << "its arrival is not told twice";
    publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 1"));
    publish(2);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(ServiceRegistryTest, ANotificationThatWasNeverDrainedIsNotCalled) {
    publish();
    observe(arrivals, kArrival);
    publish();
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(drain(arrivals.iterator).size(), 2u);
    publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 1"));
}

TEST_F(ServiceRegistryTest, AnIteratorLeftFullIsCalledAgainOnlyAfterItIsDrained) {
    arrivals.drains = false;
    observeArmed(arrivals, kArrival);
    publish();
    publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 0"));
    publish();
    EXPECT_THAT(calls(), IsEmpty());
    registry.IOObjectRelease(registry.IOIteratorNext(arrivals.iterator));
    publish();
    EXPECT_THAT(calls(), IsEmpty()) << "one taken of three";
    EXPECT_EQ(drain(arrivals.iterator).size(), 3u);
    publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 0"));
}

TEST_F(ServiceRegistryTest, ARemovalIsToldAfterItsDelay) {
    observeArmed(removals, kRemoval);
    const io_service_t service = publish();
    registry.withdraw(service);
    EXPECT_THAT(calls(kDelay - Microseconds(1)), IsEmpty());
    EXPECT_THAT(calls(Microseconds(1)), ElementsAre("left 1"));
    registry.withdraw(service);
    EXPECT_THAT(calls(kDelay), IsEmpty()) << "it had left already";
}

TEST_F(ServiceRegistryTest, ARemovalFromBeforeTheNotificationIsNotTold) {
    registry.withdraw(publish());
    observeArmed(removals, kRemoval);
    EXPECT_THAT(calls(2 * kDelay), IsEmpty());
}

TEST_F(ServiceRegistryTest, EventsFromBeforeThePortAreNotToldLater) {
    port.reset();
    registry.withdraw(publish());
    publish();
    loop.runFor(kDelay);
    SetUp();
    observeBoth();
    publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 1"));
}

TEST_F(ServiceRegistryTest, AnArrivalOvertakenByItsRemovalIsDroppedTheRemovalNever) {
    observeBoth();
    registry.withdraw(publish());
    EXPECT_THAT(calls(kDelay), ElementsAre("left 1"));
}

TEST_F(ServiceRegistryTest, AReplugIsARemovalAndThenAnArrival) {
    observeBoth();
    const io_service_t unit = publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 1"));
    registry.withdraw(unit);
    publish();
    EXPECT_THAT(calls(kDelay - Microseconds(1)), IsEmpty()) << "the arrival waits behind the removal";
    EXPECT_THAT(calls(Microseconds(1)), ElementsAre("left 1", "arrived 1"));
}

TEST_F(ServiceRegistryTest, ALoosePlugIsOneRemovalAndOneArrival) {
    observeBoth();
    io_service_t unit = publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 1"));
    for (int contact = 0; contact < 200; ++contact) {
        registry.withdraw(unit);
        unit = publish();
    }
    EXPECT_THAT(calls(kDelay), ElementsAre("left 200", "arrived 1"));
}

TEST_F(ServiceRegistryTest, CallbacksNeverNest) {
    observeBoth();
    arrivals.then = [this] {
        if (diary.size() > 1)
            return;
        publish();
        registry.withdraw(registry.IOServiceGetMatchingService(0, matching(1)));
        loop.runFor(2 * kDelay);
        diary.push_back("end of the first");
    };
    publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 1", "end of the first", "arrived 1", "left 1"));
}

TEST_F(ServiceRegistryTest, ReleasingTheIteratorEndsTheNotification) {
    observeArmed(arrivals, kArrival);
    publish();
    registry.IOObjectRelease(arrivals.iterator);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(registry.liveObjects(), 1u);
}

TEST_F(ServiceRegistryTest, ACallbackMayReleaseTheNextOnesIterator) {
    Observer second{*this, "second", true, {}, 0};
    observeArmed(arrivals, kArrival);
    observeArmed(second, kArrival);
    arrivals.then = [&] { registry.IOObjectRelease(second.iterator); };
    publish();
    EXPECT_THAT(calls(), ElementsAre("arrived 1"));
}

TEST_F(ServiceRegistryTest, NothingIsToldWithoutThePort) {
    observeArmed(arrivals, kArrival);
    port.reset();
    publish();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(ServiceRegistryTest, OtherTypesOfNotificationAreRefused) {
    EXPECT_EQ(observe(arrivals, "IOServicePublish"), kIOReturnBadArgument);
    EXPECT_EQ(arrivals.iterator, 0u);
    EXPECT_EQ(registry.liveObjects(), 0u);
}

TEST_F(ServiceRegistryTest, EventsLeaveNoReferenceBehind) {
    observeBoth();
    for (int i = 0; i < 50; ++i) {
        const io_service_t service = publish();
        if (i % 3)
            loop.runPending();
        registry.withdraw(service);
        if (i % 2)
            loop.runFor(kDelay);
    }
    loop.runFor(2 * kDelay);
    EXPECT_EQ(registry.liveObjects(), 2u) << "the two notifications";
}

TEST_F(ServiceRegistryTest, OtherThreadsMayListAndCountReferences) {
    std::atomic<bool> stop = false;
    std::thread point([&] {
        while (!stop)
            if (const io_service_t service = registry.IOServiceGetMatchingService(0, matching(1))) {
                registry.IORegistryEntryCreateCFProperty(service, "idProduct");
                registry.IOObjectRelease(service);
            }
    });
    observeArmed(arrivals, kArrival);
    for (int i = 0; i < 300; ++i) {
        const io_service_t service = publish();
        loop.runPending();
        registry.withdraw(service);
        loop.runFor(kDelay);
    }
    stop = true;
    point.join();
    EXPECT_EQ(diary.size(), 300u);
    EXPECT_EQ(registry.liveObjects(), 1u);
}

} // namespace
} // namespace lightpen
