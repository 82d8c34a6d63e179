// SPDX-License-Identifier: MIT
// Finding the unit's pen interface, and making, opening and releasing its device interface.
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
    void SetUp() override { objectsBefore = desk.registry.liveObjects(); }

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
    IOHIDElementCookie cookieOf(long reportID, std::vector<PropertyDictionary> elements) {
        driver->_inputReportElements = std::make_shared<const InputReportElements>(std::move(elements));
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
    EXPECT_EQ(driver->getOruHWService().get(), 0u);
    EXPECT_THAT(takeTimeline(), IsEmpty());
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore);
}

TEST_F(HIDInterfaceTest, ThePenInterfaceIsFoundAndItsReferenceIsTheCallers) {
    plugIn();
    const std::size_t plugged = desk.registry.liveObjects();
    IOObject found = driver->getOruHWService();
    const io_service_t service = found.get();
    ASSERT_NE(service, 0u);
    EXPECT_THAT(
        takeTimeline(),
        ElementsAre("RBIOS n:289 char: 3", "sleep 500000", "RBIOS n:292 interface number :3",
                    "Event n:2198 found defice: " + std::to_string(service) + ", interface number = 3"));
    unplug();
    EXPECT_EQ(pathOf(service), "IOService:/unit/IOUSBInterface@3") << "it lives as long as it is held";
    found = {};
    EXPECT_EQ(pathOf(service), "");
    EXPECT_EQ(desk.registry.liveObjects(), objectsBefore);
    EXPECT_EQ(plugged, objectsBefore + 2) << "the search keeps no other object";
}

class InterfaceOrderTest : public HIDInterfaceTest, public testing::WithParamInterface<std::vector<int>> {};

TEST_P(InterfaceOrderTest, InterfaceThreeIsTakenWhereverItIsListed) {
    ScriptedUnit::Shape shape;
    shape.interfaces = GetParam();
    ScriptedUnit other(desk, shape);
    other.plugIn();
    EXPECT_EQ(foundPath(), "IOService:/unit/IOUSBInterface@3");
    // Half a second for each interface that is looked at, and no look beyond the third.
    std::vector<Microseconds> expected;
    for (const int interface : GetParam()) {
        expected.push_back(std::chrono::milliseconds(500));
        if (interface == 3)
            break;
    }
    EXPECT_EQ(desk.clock.takeSleeps(), expected);
    other.unplug();
    desk.runLoop.runFor(ServiceRegistry::kRemovalDelay);
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
    publish(0x1209, 3, "IOService:/third/IOUSBInterface@3");
    publish(0x120A, 1, "IOService:/vendor/IOUSBInterface@3");
    publish(1, 0x1209, "IOService:/swapped/IOUSBInterface@3");
    EXPECT_EQ(foundPath(), "none");
    publish(0x1209, 2, "IOService:/second/IOUSBInterface@3");
    EXPECT_EQ(foundPath(), "IOService:/second/IOUSBInterface@3");
    publish(0x1209, 1, "IOService:/first/IOUSBInterface@3");
    EXPECT_EQ(foundPath(), "IOService:/second/IOUSBInterface@3") << "the registry's order decides";
}

TEST_F(HIDInterfaceTest, ServicesOfOtherVendorsAreNotEvenLookedAt) {
    publish(0x120A, 1, "IOService:/vendor/IOUSBInterface@3");
    EXPECT_EQ(foundPath(), "none");
    EXPECT_THAT(desk.clock.takeSleeps(), IsEmpty());
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
    EXPECT_EQ(driver->getOruHWService().get(), 0u);
    EXPECT_EQ(broken.liveObjects(), 0u);
    Platform::setCurrent(&desk.platform);
}

// Making, opening, closing and releasing the interface

TEST_F(HIDInterfaceTest, TheInterfaceIsMade) {
    plugIn();
    driver->_hidDevice = driver->getOruHWService();
    clearTimeline();
    driver->createHIDDeviceInterface();
    EXPECT_THAT(takeTimeline(), ElementsAre("out: Event n:2254 Found device type IOHIDDevice\n",
                                            "Event n:2774 create hid interface done."));
    EXPECT_NE(driver->_pphidDeviceInterface.load(), nullptr);
}

TEST_F(HIDInterfaceTest, WithoutAPlugInNothingMoreIsSaid) {
    unit.withoutPlugIn = true;
    plugIn();
    driver->_hidDevice = driver->getOruHWService();
    clearTimeline();
    driver->createHIDDeviceInterface();
    EXPECT_THAT(takeTimeline(), ElementsAre("out: Event n:2254 Found device type IOHIDDevice\n"));
    EXPECT_EQ(driver->_pphidDeviceInterface.load(), nullptr);
}

TEST_F(HIDInterfaceTest, APlugInWithoutADeviceInterfaceIsLogged) {
    unit.withoutInterface = true;
    plugIn();
    driver->_hidDevice = driver->getOruHWService();
    clearTimeline();
    driver->createHIDDeviceInterface();
    EXPECT_THAT(takeTimeline(), ElementsAre("out: Event n:2254 Found device type IOHIDDevice\n",
                                            "Event n:2270 Couldn't create HID class device interface"));
    EXPECT_EQ(driver->_pphidDeviceInterface.load(), nullptr);
}

TEST_F(HIDInterfaceTest, AServiceThatIsGoneHasNoInterface) {
    plugIn();
    driver->_hidDevice = driver->getOruHWService();
    unplug();
    driver->createHIDDeviceInterface();
    EXPECT_EQ(driver->_pphidDeviceInterface.load(), nullptr);
}

TEST_F(HIDInterfaceTest, OpeningPrintsAndReturnsItsResult) {
    openUnit();
    clearTimeline();
    EXPECT_EQ(driver->openHIDInterface(), kIOReturnSuccess);
    unit.script().answer("device.open", kIOReturnNotPrivileged);
    EXPECT_EQ(driver->openHIDInterface(), kIOReturnNotPrivileged);
    EXPECT_THAT(takeTimeline(),
                ElementsAre("device.open(0)", "out: Event n:2285 Open result = 0\n", "device.open(0)",
                            "out: Event n:2285 Open result = -536870207\n"));
}

TEST_F(HIDInterfaceTest, OpeningWithoutAnInterfaceIsAnError) {
    EXPECT_EQ(driver->openHIDInterface(), kIOReturnNoDevice);
    EXPECT_THAT(takeTimeline(), ElementsAre("out: Event n:2285 Open result = -536870208\n"));
}

TEST_F(HIDInterfaceTest, ClosingNeedsAUnitThatIsPluggedIn) {
    openUnit();
    EXPECT_EQ(driver->closeHIDInterface(), kIOReturnSuccess);
    EXPECT_THAT(takeTimeline(), IsEmpty()) << "no unit is plugged in";
    plugIn();
    EXPECT_EQ(driver->closeHIDInterface(), kIOReturnSuccess);
    unit.script().answer("device.close", kIOReturnNotOpen);
    EXPECT_EQ(driver->closeHIDInterface(), kIOReturnNotOpen);
    EXPECT_THAT(takeTimeline(), ElementsAre("device.close()", "device.close()"));
}

TEST_F(HIDInterfaceTest, ClosingWithoutAnInterfaceDoesNothing) {
    plugIn();
    EXPECT_EQ(driver->closeHIDInterface(), kIOReturnSuccess);
    EXPECT_THAT(takeTimeline(), IsEmpty());
}

TEST_F(HIDInterfaceTest, ReleasingGivesUpInterfaceServiceAndHeldButtons) {
    plugIn();
    const std::size_t plugged = desk.registry.liveObjects();
    driver->_hidDevice = driver->getOruHWService();
    driver->createHIDDeviceInterface();
    const std::weak_ptr<IOHIDDeviceInterface122> device = driver->_pphidDeviceInterface.load();
    driver->releaseHIDInterface();
    EXPECT_TRUE(device.expired());
    EXPECT_EQ(driver->_pphidDeviceInterface.load(), nullptr);
    EXPECT_EQ(driver->_hidDevice.get(), 0u);
    EXPECT_EQ(desk.registry.liveObjects(), plugged);
    EXPECT_EQ(desk.pointer.releases, 1);
    driver->releaseHIDInterface(); // releases nothing twice
    EXPECT_EQ(desk.registry.liveObjects(), plugged);
}

// Input report elements

TEST_F(HIDInterfaceTest, ElementsAreTheServicesProperty) {
    plugIn();
    const IOObject service = driver->getOruHWService();
    clearTimeline();
    const InputReportElementsRef elements = driver->fetchInputReportElements(service.get());
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:2314 Fetch input report elements"));
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

TEST_F(HIDInterfaceTest, TheCookieOfAReportIsLookedUpAndLogged) {
    EXPECT_EQ(
        cookieOf(5, {element(std::int64_t{4}, std::int64_t{40}), element(std::int64_t{5}, std::int64_t{50}),
                     element(std::int64_t{6}, std::int64_t{60})}),
        50u);
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:2323 Input report element for 5", "Event n:2349 "));
}

TEST_F(HIDInterfaceTest, TheLastOfTwoElementsForAReportWins) {
    EXPECT_EQ(
        cookieOf(0, {element(std::int64_t{0}, std::int64_t{21}), element(std::int64_t{0}, std::int64_t{9}),
                     element(std::int64_t{1}, std::int64_t{30})}),
        9u);
}

TEST_F(HIDInterfaceTest, ElementsWithOtherThingsThanNumbersDoNotCount) {
    EXPECT_EQ(cookieOf(0, {element(std::int64_t{0}, std::int64_t{21}), element(std::int64_t{0}, "22"),
                           element("0", std::int64_t{23}), element(InputReportElements{}, std::int64_t{24})}),
              21u);
    EXPECT_EQ(cookieOf(0, {{{{"ReportID", std::int64_t{0}}}}, {{{"ElementCookie", std::int64_t{8}}}}, {}}),
              0u);
}

TEST_F(HIDInterfaceTest, WithoutAMatchTheCookieIsZero) {
    EXPECT_EQ(cookieOf(1, {element(std::int64_t{0}, std::int64_t{21})}), 0u);
    EXPECT_EQ(cookieOf(0, {}), 0u);
    driver->_inputReportElements = nullptr;
    clearTimeline();
    EXPECT_EQ(driver->inputReportElementCookieFromReportID(-1), 0u);
    EXPECT_THAT(takeTimeline(), ElementsAre("Event n:2323 Input report element for -1", "Event n:2349 "));
}

TEST_F(HIDInterfaceTest, CookiesUseAllTheir32Bits) {
    EXPECT_EQ(cookieOf(0, {element(std::int64_t{0}, std::int64_t{0xFFFFFFFE})}), 0xFFFFFFFEu);
}

// Diagnosis

TEST_F(HIDInterfaceTest, PropertiesAreShownWithThePath) {
    plugIn();
    const IOObject service = driver->getOruHWService();
    clearTimeline();
    EventGeneratorNX7::showHIDProperties(service.get());
    EXPECT_THAT(takeTimeline(),
                ElementsAre("out: Event n:2157 [ IOService:/unit/IOUSBInterface@3 ]\n",
                            "out: {InputReportElements = ({ElementCookie = 17; ReportID = 0; }); "
                            "Manufacturer = Scripted 3; ProductID = 1; VendorID = 4617; }\n",
                            "out: \n"));
}

TEST_F(HIDInterfaceTest, PropertiesAreShownWithoutAPathToo) {
    EventGeneratorNX7::showHIDProperties(0);
    EXPECT_THAT(takeTimeline(), ElementsAre("out: {}\n", "out: \n"));
}

} // namespace
} // namespace lightpen
