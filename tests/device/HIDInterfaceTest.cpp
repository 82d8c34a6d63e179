// SPDX-License-Identifier: MIT
// Finding the unit's pen interface, opening, closing and releasing it, and its input report elements.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

PropertyDictionary element(Property reportID, Property cookie) {
    return {{{"ReportID", std::move(reportID)}, {"ElementCookie", std::move(cookie)}}};
}

class HIDInterfaceTest : public UnitFixture {
protected:
    void SetUp() override {
        objectsBefore = desk.registry.liveObjects();
        happened.clear();
    }
    // A HID service beside those of the unit.
    io_service_t publish(std::int64_t vendor, std::int64_t product, const std::string& path) {
        return desk.registry.publish(
            {"IOHIDDevice", path, {{{"VendorID", vendor}, {"ProductID", product}}}, {}});
    }
    std::string pathOf(io_service_t service) {
        std::string path;
        desk.registry.IORegistryEntryGetPath(service, kIOServicePlane, path);
        return path;
    }
    // The pen interface found, with its reference given back.
    std::string foundPath() {
        const IOObject service = driver->getOruHWService();
        return service ? pathOf(service.get()) : "none";
    }
    // The cookie of a unit with these elements.
    IOHIDElementCookie cookieOf(long reportID, std::vector<PropertyDictionary> elements) {
        unplug();
        unit.reshape({.elements = std::move(elements)});
        openInterface();
        return driver->inputReportElementCookieFromReportID(reportID);
    }

    std::size_t objectsBefore = 0;
};

// Finding the service

TEST_F(HIDInterfaceTest, MatchingDictionaryNamesTheClassAndTheVendor) {
    const MatchingDictionary matching = EventGeneratorNX7::OruServiceMatchingDictionary();
    EXPECT_EQ(matching.className, "IOHIDDevice");
    EXPECT_THAT(matching.numbers,
                ElementsAre(std::pair<const std::string, std::int64_t>("VendorID", 0x1209)));
}

TEST_F(HIDInterfaceTest, WithoutAUnitNothingIsFound) {
    EXPECT_FALSE(driver->getOruHWService());
    EXPECT_THAT(happened.takeAll(), IsEmpty());
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore);
}

TEST_F(HIDInterfaceTest, ThePenInterfaceIsFoundAndItsReferenceIsTheCallers) {
    plugIn();
    const std::size_t plugged = desk.registry.liveObjects();
    IOObject found = driver->getOruHWService();
    const io_service_t service = found.get();
    unplug();
    EXPECT_EQ(pathOf(service), "IOService:/unit/IOUSBInterface@3") << "it lives as long as it is held";
    found = {};
    EXPECT_EQ(pathOf(service), "");
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore);
    EXPECT_EQ(plugged, objectsBefore + 2) << "the search keeps no other object";
}

class InterfaceOrderTest : public HIDInterfaceTest, public testing::WithParamInterface<std::vector<int>> {};

TEST_P(InterfaceOrderTest, InterfaceThreeIsTakenWhereverItIsListed) {
    const std::vector<int>& interfaces = GetParam();
    unit.reshape({.interfaces = interfaces});
    plugIn();
    EXPECT_EQ(foundPath(), "IOService:/unit/IOUSBInterface@3");
    // Half a second for each interface that is looked at, and no look beyond the third.
    const auto third = std::find(interfaces.begin(), interfaces.end(), 3);
    EXPECT_EQ(desk.clock.takeSleeps(),
              std::vector<Microseconds>(static_cast<std::size_t>(third - interfaces.begin()) + 1,
                                        std::chrono::milliseconds(500)));
    unplug();
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore) << "the others were released";
}

INSTANTIATE_TEST_SUITE_P(, InterfaceOrderTest,
                         testing::Values(std::vector<int>{0, 3}, std::vector<int>{3, 0},
                                         std::vector<int>{0, 1, 2, 3}, std::vector<int>{1, 3, 3}));

TEST_F(HIDInterfaceTest, AUnitWithoutInterfaceThreeIsNotTaken) {
    publish(0x1209, 1, "IOService:/a/IOUSBInterface@0");
    publish(0x1209, 1, "IOService:/a/IOUSBInterface@13"); // one digit is read
    publish(0x1209, 1, "IOService:/a/IOUSBInterface@x");
    publish(0x1209, 1, ""); // no path: no interface number
    EXPECT_EQ(foundPath(), "none");
    EXPECT_THAT(desk.clock.takeSleeps(), SizeIs(4));
}

TEST_F(HIDInterfaceTest, BothProductsAreTakenAndOthersAreNot) {
    publish(0x120A, 1, "IOService:/vendor/IOUSBInterface@3");
    EXPECT_EQ(foundPath(), "none");
    EXPECT_THAT(desk.clock.takeSleeps(), IsEmpty()) << "other vendors' services are not even looked at";
    publish(0x1209, 3, "IOService:/third/IOUSBInterface@3");
    publish(1, 0x1209, "IOService:/swapped/IOUSBInterface@3");
    EXPECT_EQ(foundPath(), "none");
    publish(0x1209, 2, "IOService:/second/IOUSBInterface@3");
    EXPECT_EQ(foundPath(), "IOService:/second/IOUSBInterface@3");
    publish(0x1209, 1, "IOService:/first/IOUSBInterface@3");
    EXPECT_EQ(foundPath(), "IOService:/second/IOUSBInterface@3") << "the registry's order decides";
}

// A registry that cannot list anything.
class BrokenRegistry final : public ServiceRegistry {
public:
    using ServiceRegistry::ServiceRegistry;
    IOReturn IOServiceGetMatchingServices(mach_port_t, const MatchingDictionary&, io_iterator_t&) override {
        return kIOReturnError;
    }
};

TEST_F(HIDInterfaceTest, ARegistryThatCannotListYieldsNothing) {
    BrokenRegistry broken{desk.runLoop, desk.clock};
    Platform platform{broken,        desk.pointer,       desk.runLoop,   desk.clock,
                      desk.threads,  desk.notifications, desk.broadcast, desk.desktop,
                      desk.defaults, desk.systemUI,      desk.sounds,    desk.dataFiles,
                      desk.shell};
    Platform::setCurrent(&platform);
    EXPECT_FALSE(driver->getOruHWService());
    EXPECT_EQ(broken.liveObjects(), 0U);
    Platform::setCurrent(&desk.platform);
}

// Opening, closing and releasing the interface

TEST_F(HIDInterfaceTest, OpeningPrintsAndReturnsItsResult) {
    EXPECT_EQ(driver->openHIDInterface(), kIOReturnNoDevice) << "there is no interface";
    openInterface();
    EXPECT_EQ(driver->openHIDInterface(), kIOReturnSuccess);
    prepare(Trouble::notOpened);
    EXPECT_EQ(driver->openHIDInterface(), kIOReturnNotPrivileged);
    EXPECT_TRUE(matchesTranscript("open"));
}

TEST_F(HIDInterfaceTest, ClosingNeedsAUnitThatIsPluggedInAndAnInterface) {
    plugIn();
    EXPECT_EQ(driver->closeHIDInterface(), kIOReturnSuccess);
    EXPECT_THAT(happened.takeAll(), IsEmpty());
    unplug();
    openInterface();
    unit.takeOperations();
    EXPECT_EQ(driver->closeHIDInterface(), kIOReturnSuccess);
    unit.script().answer("device.close", kIOReturnNotOpen);
    EXPECT_EQ(driver->closeHIDInterface(), kIOReturnNotOpen);
    unit.unplug();
    EXPECT_EQ(driver->closeHIDInterface(), kIOReturnSuccess);
    EXPECT_THAT(unit.takeOperations(), ElementsAre("device.close()", "device.close()"));
}

TEST_F(HIDInterfaceTest, ReleasingGivesUpInterfaceServiceAndHeldButtons) {
    openInterface();
    const std::size_t open = desk.registry.liveObjects();
    for (int time = 0; time < 2; ++time) {
        driver->releaseHIDInterface();
        EXPECT_EQ(unit.heldDevices(), 0);
        EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnSuccess);
        EXPECT_EQ(desk.registry.liveObjects(), open) << "nothing is released twice";
    }
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("release buttons", "release buttons"));
    unplug();
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore);
}

TEST_F(HIDInterfaceTest, AServiceThatIsGoneHasNoInterface) {
    openInterface();
    unplug();
    driver->createHIDDeviceInterface();
    EXPECT_EQ(driver->openHIDInterface(), kIOReturnSuccess) << "that of before";
    driver->releaseHIDInterface();
    driver->createHIDDeviceInterface();
    EXPECT_EQ(driver->openHIDInterface(), kIOReturnNoDevice);
}

// Input report elements

TEST_F(HIDInterfaceTest, ElementsAreTheServicesProperty) {
    plugIn();
    const InputReportElementsRef elements = driver->fetchInputReportElements(driver->getOruHWService().get());
    ASSERT_NE(elements, nullptr);
    ASSERT_THAT(*elements, SizeIs(1));
    EXPECT_EQ(describe(elements->front()), "{ElementCookie = 17; ReportID = 0; }");
}

TEST_F(HIDInterfaceTest, AServiceWithoutElementsOrWithOtherThingsThereHasNone) {
    const io_service_t without = publish(0x1209, 1, "IOService:/a/IOUSBInterface@3");
    EXPECT_EQ(driver->fetchInputReportElements(without), nullptr);
    const io_service_t text =
        desk.registry.publish({"IOHIDDevice", "IOService:/b", {{{"InputReportElements", "none"}}}, {}});
    EXPECT_EQ(driver->fetchInputReportElements(text), nullptr);
    EXPECT_EQ(driver->fetchInputReportElements(0), nullptr);
}

TEST_F(HIDInterfaceTest, TheCookieOfAReportIsThatOfItsLastElement) {
    const std::int64_t zero = 0;
    const std::vector<PropertyDictionary> some{element(std::int64_t{4}, std::int64_t{40}),
                                               element(std::int64_t{5}, std::int64_t{50}),
                                               element(std::int64_t{6}, std::int64_t{60})};
    EXPECT_EQ(driver->inputReportElementCookieFromReportID(-1), 0U) << "no element is known";
    EXPECT_EQ(cookieOf(5, some), 50U);
    EXPECT_EQ(cookieOf(1, some), 0U);
    EXPECT_EQ(cookieOf(0, {element(zero, std::int64_t{21}), element(zero, std::int64_t{9}),
                           element(std::int64_t{1}, std::int64_t{30})}),
              9U);
    // Other things than numbers do not count.
    EXPECT_EQ(cookieOf(0, {element(zero, std::int64_t{21}), element(zero, "22"),
                           element("0", std::int64_t{23}), element(InputReportElements{}, std::int64_t{24})}),
              21U);
    EXPECT_EQ(cookieOf(0, {{{{"ReportID", zero}}}, {{{"ElementCookie", std::int64_t{8}}}}, {}}), 0U);
    EXPECT_EQ(cookieOf(0, {element(zero, std::int64_t{0xFFFFFFFE})}), 0xFFFFFFFEU) << "all 32 bits";
}

// Diagnosis

TEST_F(HIDInterfaceTest, PropertiesAreShownWithAndWithoutThePath) {
    plugIn();
    const IOObject service = driver->getOruHWService();
    happened.clear();
    EventGeneratorNX7::showHIDProperties(service.get());
    EventGeneratorNX7::showHIDProperties(0);
    EXPECT_TRUE(matchesTranscript("properties"));
}

} // namespace
} // namespace lightpen
