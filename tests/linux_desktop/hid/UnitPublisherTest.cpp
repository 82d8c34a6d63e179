// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UnitPublisher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "kit/CameraUnits.h"
#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

using namespace test;

// Follows arrivals and removals of units as the system does, and keeps each as "+" or "-".
class Observer {
public:
    explicit Observer(ServiceRegistry& registry) : registry_(registry) {
        port_ = registry.IONotificationPortCreate(0);
        MatchingDictionary units = IOServiceMatching("IOUSBDevice");
        units.numbers["idVendor"] = kUnitVendorID;
        follow<'+'>(kIOFirstMatchNotification, units);
        follow<'-'>(kIOTerminatedNotification, units);
    }
    RunLoopSourceRef source() { return port_->IONotificationPortGetRunLoopSource(); }
    std::string seen;

private:
    template <char mark>
    void follow(std::string_view type, const MatchingDictionary& units) {
        io_iterator_t iterator = 0;
        registry_.IOServiceAddMatchingNotification(port_, type, units, drain<mark>, this, iterator);
        drain<mark>(this, iterator);
    }
    template <char mark>
    static void drain(void* observer, io_iterator_t iterator) {
        auto& self = *static_cast<Observer*>(observer);
        while (const io_object_t unit = self.registry_.IOIteratorNext(iterator)) {
            self.seen += mark;
            self.registry_.IOObjectRelease(unit);
        }
    }
    ServiceRegistry& registry_;
    std::shared_ptr<IONotificationPort> port_;
};

class UnitPublisherTest : public testing::Test {
protected:
    UnitPublisherTest() { desktop_.runLoop.addSource(observer_.source(), kCFRunLoopCommonModes); }
    int open(const std::string& devnode, FileDescriptor& node) {
        opened_ += devnode + " ";
        if (openError_ == 0 && socket_)
            node = socket_->takeHost();
        return openError_;
    }
    // The readiness test takes a host's end; the next opening gets the unit's connection again.
    void plugIn(int serial = 1) {
        socket_ = std::make_unique<SocketNode>();
        publisher_->nodeSeen(unitNode(0, serial));
        publisher_->nodeSeen(unitNode(3, serial));
        socket_ = std::make_unique<SocketNode>();
    }
    // The interface of the first HID service, as the system opens it.
    IOHIDDeviceInterfaceRef openPen() {
        const io_service_t service = firstHidService();
        IOCFPlugInInterface plugIn;
        if (desktop_.registry.IOCreatePlugInInterfaceForService(service, plugIn) != kIOReturnSuccess)
            return nullptr;
        desktop_.registry.IOObjectRelease(service);
        auto pen = plugIn();
        return pen && pen->open(0) == kIOReturnSuccess ? pen : nullptr;
    }
    static IOHIDQueueRef startQueue(IOHIDDeviceInterface122& pen) {
        IOHIDQueueRef queue = pen.allocQueue();
        queue->create(0, 1);
        queue->addElement(1, 0);
        queue->start();
        return queue;
    }
    std::vector<std::string> listed(std::string_view className) {
        return pathsOf(desktop_.registry, IOServiceMatching(className));
    }
    io_service_t firstHidService() {
        return desktop_.registry.IOServiceGetMatchingService(0, IOServiceMatching("IOHIDDevice"));
    }

    // What is listed, as short text: the interfaces' numbers in their order, then "unit" for each unit.
    std::string shown() {
        std::string text;
        for (const std::string& path : listed("IOHIDDevice"))
            text += path.substr(path.find('@') + 1, 1) + " ";
        for (std::size_t unit = 0; unit < listed("IOUSBDevice").size(); ++unit)
            text += "unit ";
        return text;
    }
    void seePen(int openError, int serial = 1) {
        openError_ = openError;
        publisher_->nodeSeen(unitNode(3, serial));
    }

    RecordingLog log_;
    TestPlatform desktop_;
    Observer observer_{desktop_.registry};
    std::string opened_;
    int openError_ = 0;
    std::unique_ptr<SocketNode> socket_;
    std::unique_ptr<UnitPublisher> publisher_ = std::make_unique<UnitPublisher>(
        desktop_.registry, desktop_.runLoop, desktop_.clock,
        [this](const std::string& devnode, FileDescriptor& node) { return open(devnode, node); });
};

TEST_F(UnitPublisherTest, AReadyUnitIsListedAndReportedOnce) {
    plugIn();
    EXPECT_EQ(listed("IOUSBDevice"), std::vector<std::string>{"IOService:/devices/pci0000:00/usb1/1-2"});
    const auto hid = listed("IOHIDDevice");
    ASSERT_EQ(hid.size(), 2U);
    EXPECT_NE(hid[0].find("IOUSBInterface@3"), std::string::npos);
    EXPECT_NE(hid[1].find("IOUSBInterface@0"), std::string::npos);
    publisher_->nodeSeen(unitNode(3));
    desktop_.runLoop.runPending();
    EXPECT_EQ(observer_.seen, "+");
    EXPECT_EQ(opened_, "/dev/hidraw13 ") << "only the pen's node, and only once";
}

// One sighting of a pen node on an otherwise empty bus.
struct Sighting {
    const char* name;
    std::function<void(HidNode&)> change;
    int openError;
    bool ready;
    const char* message; // part of the only line; null: none
};

const HidNode kNumberedNode = [] {
    HidNode node = unitNode(4);
    node.descriptor =
        kVendorCollection + Bytes{0x85, 0x01} + reportSize(8) + reportCount(4) + kInput + kEndCollection;
    return node;
}();

const Sighting kSightings[] = {
    {"ready", [](HidNode&) {}, 0, true, nullptr},
    {"secondProduct", [](HidNode& node) { node.device.productID = kUnitSecondProductID; }, 0, true, nullptr},
    {"notInitialised", [](HidNode& node) { node.initialised = false; }, 0, false, nullptr},
    {"noPermission", [](HidNode&) {}, EACCES, false,
     "HID: no permission to open the camera unit's /dev/hidraw13: install 70-lightpen-nx7.rules in "
     "/etc/udev/rules.d, then unplug the unit and plug it in again"},
    {"notPermitted", [](HidNode&) {}, EPERM, false, "70-lightpen-nx7.rules"},
    {"otherFault", [](HidNode&) {}, EMFILE, false, "/dev/hidraw13 cannot be opened: Too many open files"},
    {"leaving", [](HidNode&) {}, ENODEV, false, nullptr},
    {"left", [](HidNode&) {}, ENOENT, false, nullptr},
    {"noNode", [](HidNode& node) { node.devnode.clear(); }, 0, false, nullptr},
    {"otherInterface", [](HidNode& node) { node.interfaceNumber = 2; }, 0, false, nullptr},
    {"otherProduct", [](HidNode& node) { node.device.productID = 3; }, 0, false, nullptr},
    {"otherVendor", [](HidNode& node) { ++node.device.vendorID; }, 0, false, nullptr},
    {"emptyDescriptor", [](HidNode& node) { node.descriptor.clear(); }, 0, false,
     "/dev/hidraw13: the report descriptor cannot be used: it is empty"},
    {"cutDescriptor", [](HidNode& node) { node.descriptor.pop_back(); }, 0, false,
     "a collection is not ended"},
    {"numberedReports", [](HidNode& node) { node.descriptor = kNumberedNode.descriptor; }, 0, false,
     "HID: /dev/hidraw13: the report descriptor has no input report without an ID"},
};

class OneSighting : public UnitPublisherTest, public testing::WithParamInterface<Sighting> {};

INSTANTIATE_TEST_SUITE_P(Cases, OneSighting, testing::ValuesIn(kSightings),
                         [](const auto& test) { return test.param.name; });

TEST_P(OneSighting, MakesAUnitReadyOrNot) {
    HidNode node = unitNode(3);
    GetParam().change(node);
    openError_ = GetParam().openError;
    // Said and done once: the same sighting again changes nothing.
    for (int time = 0; time < 2; ++time) {
        publisher_->nodeSeen(node);
        EXPECT_EQ(shown(), GetParam().ready ? "3 unit " : "");
        ASSERT_EQ(log_.lines().size(), GetParam().message ? 1U : 0U);
    }
    if (GetParam().message) {
        EXPECT_THAT(log_.lines()[0], testing::HasSubstr(GetParam().message));
    }
}

TEST_F(UnitPublisherTest, NodesThatCameBeforeThePensAreListedBehindItAndLaterOnesAdded) {
    for (const int interface : {1, 0}) {
        publisher_->nodeSeen(unitNode(interface));
        EXPECT_EQ(shown(), "");
    }
    seePen(0);
    EXPECT_EQ(shown(), "3 1 0 unit ");
    HidNode late = unitNode(2);
    late.initialised = false;
    publisher_->nodeSeen(late);
    EXPECT_EQ(shown(), "3 1 0 unit ");
    late.initialised = true;
    publisher_->nodeSeen(late);
    EXPECT_EQ(shown(), "3 1 0 2 unit ");
    publisher_->nodeGone(late.path);
    EXPECT_EQ(shown(), "3 1 0 unit ") << "another node takes only itself along";
    late.descriptor = {0xC0};
    publisher_->nodeSeen(late);
    EXPECT_EQ(shown(), "3 1 0 unit ") << "unusable";
}

TEST_F(UnitPublisherTest, PermissionsAndTheDescriptorMayComeLater) {
    HidNode node = unitNode(3);
    node.initialised = false;
    publisher_->nodeSeen(node);
    EXPECT_EQ(opened_, "");
    seePen(EACCES);
    EXPECT_EQ(shown(), "");
    HidNode unreadable = unitNode(3);
    unreadable.descriptor.clear();
    openError_ = 0;
    publisher_->nodeSeen(unreadable);
    EXPECT_EQ(shown(), "");
    seePen(0);
    EXPECT_EQ(shown(), "3 unit ");
    desktop_.runLoop.runPending();
    EXPECT_EQ(observer_.seen, "+");
}

TEST_F(UnitPublisherTest, EachTimeItIsPluggedInTheMissingPermissionIsToldAnew) {
    for (int serial = 1; serial <= 3; ++serial) {
        seePen(EACCES, serial);
        EXPECT_EQ(log_.lines().size(), static_cast<std::size_t>(serial));
        publisher_->nodeGone(unitNode(3, serial).path);
        publisher_->deviceGone(cameraUnit().path);
    }
}

TEST_F(UnitPublisherTest, WithoutItsPenNodeAUnitIsNotListedUntilThatCanBeOpenedAgain) {
    publisher_->nodeSeen(unitNode(2));
    seePen(0);
    EXPECT_EQ(shown(), "3 2 unit ");
    for (int time = 0; time < 2; ++time) {
        publisher_->nodeGone(unitNode(3).path);
        EXPECT_EQ(shown(), "");
    }
    seePen(ENODEV);
    EXPECT_EQ(shown(), "");
    seePen(0);
    EXPECT_EQ(shown(), "3 2 unit ");
    publisher_->deviceGone("/sys/devices/other");
    EXPECT_EQ(shown(), "3 2 unit ");
    publisher_->deviceGone(cameraUnit().path);
    EXPECT_EQ(shown(), "");
}

TEST_F(UnitPublisherTest, UnitsThatMayNotBeListedLeaveAndComeBack) {
    plugIn();
    const auto pen = openPen();
    ASSERT_TRUE(pen);
    desktop_.runLoop.runPending();
    publisher_->allowUnits(false);
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(pen->setReport(IOHIDReportType::output, 0, Bytes{'H'}, kIOHIDNoTimeout), kIOReturnNoDevice);
    publisher_->nodeSeen(unitNode(3));
    EXPECT_EQ(shown(), "");
    desktop_.runLoop.runFor(Microseconds(60'000));
    publisher_->allowUnits(true);
    publisher_->allowUnits(true);
    EXPECT_EQ(shown(), "3 0 unit ");
    desktop_.runLoop.runFor(Microseconds(60'000));
    EXPECT_EQ(observer_.seen, "+-+");
    EXPECT_TRUE(openPen()) << "anew";
}

TEST_F(UnitPublisherTest, AUnitThatComesWhileNoneMayBeListedIsNotEvenOpened) {
    publisher_->allowUnits(false);
    seePen(EACCES);
    publisher_->nodeSeen(unitNode(0));
    publisher_->nodeSeen(unitNode(3, 2, "1-4"));
    publisher_->deviceGone(cameraUnit("1-4").path);
    EXPECT_EQ(opened_, "");
    EXPECT_TRUE(log_.lines().empty()) << "it is another user's";
    EXPECT_FALSE(publisher_->hasShutNode());
    openError_ = 0;
    publisher_->allowUnits(true);
    EXPECT_EQ(shown(), "3 0 unit ");
}

TEST_F(UnitPublisherTest, ANodeThatIsOpenedToTheUserIsFoundByTryingAgain) {
    seePen(EACCES);
    EXPECT_TRUE(publisher_->hasShutNode());
    publisher_->retryShutNodes();
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(log_.lines().size(), 1U) << "told once";
    openError_ = 0;
    publisher_->retryShutNodes();
    EXPECT_EQ(shown(), "3 unit ");
    EXPECT_FALSE(publisher_->hasShutNode());
}

TEST_F(UnitPublisherTest, TwoUnitsAreKeptApart) {
    seePen(0);
    publisher_->nodeSeen(unitNode(3, 2, "1-4"));
    EXPECT_EQ(shown(), "3 3 unit unit ");
    publisher_->deviceGone(cameraUnit().path);
    EXPECT_EQ(listed("IOUSBDevice"), std::vector<std::string>{"IOService:/devices/pci0000:00/usb1/1-4"});
    EXPECT_EQ(shown(), "3 unit ");
}

TEST_F(UnitPublisherTest, TheInterfaceTalksToTheNode) {
    plugIn();
    const auto pen = openPen();
    ASSERT_TRUE(pen);
    const auto queue = startQueue(*pen);
    socket_->send(Bytes{0, 5, 1, 7, 2});
    IOHIDEventStruct event;
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValueSize, 804U);
    EXPECT_EQ(event.longValue[3], 7);
    EXPECT_EQ(pen->setReport(IOHIDReportType::output, 0, Bytes{'H', 0}, 60'000), kIOReturnSuccess);
    EXPECT_EQ(socket_->take(), (Bytes{0, 'H', 0}));
}

TEST_F(UnitPublisherTest, WhenTheBusReportsFirstTheDeviceVanishesAtOnceAndTheRemovalFollows) {
    plugIn();
    const auto pen = openPen();
    ASSERT_TRUE(pen);
    const auto queue = startQueue(*pen);
    desktop_.runLoop.runPending();
    publisher_->deviceGone(cameraUnit().path);
    IOHIDEventStruct event;
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    EXPECT_EQ(event.longValue, Bytes(804, 0));
    EXPECT_EQ(pen->setReport(IOHIDReportType::output, 0, Bytes{'H'}, kIOHIDNoTimeout), kIOReturnNoDevice);
    EXPECT_TRUE(listed("IOUSBDevice").empty());
    desktop_.runLoop.runPending();
    EXPECT_EQ(observer_.seen, "+") << "not before the last report can have been taken";
    socket_->unplug();
    desktop_.runLoop.runFor(Microseconds(60'000));
    EXPECT_EQ(observer_.seen, "+-");
}

TEST_F(UnitPublisherTest, WhenTheNodeHangsUpFirstTheUnitIsWithdrawnWithoutTheBus) {
    plugIn();
    const auto pen = openPen();
    ASSERT_TRUE(pen);
    desktop_.runLoop.runPending();
    socket_->unplug();
    EXPECT_TRUE(eventually([&] {
        desktop_.runLoop.runPending();
        return listed("IOUSBDevice").empty();
    }));
    EXPECT_TRUE(listed("IOHIDDevice").empty());
    desktop_.runLoop.runFor(Microseconds(60'000));
    for (const int interface : {0, 3})
        publisher_->nodeGone(unitNode(interface).path);
    publisher_->deviceGone(cameraUnit().path);
    desktop_.runLoop.runFor(Microseconds(60'000));
    EXPECT_EQ(observer_.seen, "+-");
}

TEST_F(UnitPublisherTest, AHangUpThatIsHeardLateDoesNotTouchTheUnitThatCameAfterwards) {
    plugIn();
    const auto pen = openPen();
    ASSERT_TRUE(pen);
    socket_->unplug();
    // The hang-up waits on the loop while the bus tells the whole story.
    IOHIDEventStruct event;
    startQueue(*pen)->getNextEvent(event, 0, 0);
    publisher_->deviceGone(cameraUnit().path);
    plugIn(); // the very same names again
    EXPECT_EQ(pen->close(), kIOReturnSuccess);
    desktop_.runLoop.runFor(Microseconds(60'000));
    EXPECT_EQ(listed("IOUSBDevice").size(), 1U);
}

TEST_F(UnitPublisherTest, AReplugWithinTheRemovalDelayIsARemovalAndAnArrival) {
    plugIn(1);
    desktop_.runLoop.runPending();
    publisher_->nodeGone(unitNode(3, 1).path);
    publisher_->nodeGone(unitNode(0, 1).path);
    publisher_->deviceGone(cameraUnit().path);
    desktop_.runLoop.runFor(Microseconds(20'000));
    plugIn(2);
    desktop_.runLoop.runFor(Microseconds(100'000));
    EXPECT_EQ(observer_.seen, "+-+");
    EXPECT_NE(listed("IOHIDDevice").at(0).find("hidraw23"), std::string::npos);
}

TEST_F(UnitPublisherTest, AFreshLookFindsAReplugWhoseEventsWereLost) {
    plugIn(1);
    desktop_.runLoop.runPending();
    socket_ = std::make_unique<SocketNode>();
    publisher_->allNodes({unitNode(0, 2), unitNode(3, 2)});
    desktop_.runLoop.runFor(Microseconds(100'000));
    EXPECT_EQ(observer_.seen, "+-+");
    EXPECT_EQ(listed("IOHIDDevice").size(), 2U);
    publisher_->allNodes({unitNode(0, 2), unitNode(3, 2)});
    desktop_.runLoop.runFor(Microseconds(100'000));
    EXPECT_EQ(observer_.seen, "+-+");
    publisher_->allNodes({});
    EXPECT_TRUE(listed("IOHIDDevice").empty());
}

TEST_F(UnitPublisherTest, TheInterfaceOfAUnitThatIsGoneCannotBeMade) {
    plugIn();
    const io_service_t service = firstHidService();
    IOCFPlugInInterface plugIn;
    ASSERT_EQ(desktop_.registry.IOCreatePlugInInterfaceForService(service, plugIn), kIOReturnSuccess);
    publisher_->deviceGone(cameraUnit().path);
    EXPECT_EQ(plugIn(), nullptr);
    EXPECT_EQ(desktop_.registry.IOCreatePlugInInterfaceForService(service, plugIn), kIOReturnNoDevice);
}

TEST_F(UnitPublisherTest, AnInterfaceWithNumberedReportsIsListedWithoutAPlugIn) {
    publisher_->nodeSeen(kNumberedNode);
    plugIn();
    EXPECT_THAT(listed("IOHIDDevice").at(0), testing::HasSubstr("IOUSBInterface@4"));
    IOCFPlugInInterface plugIn;
    EXPECT_EQ(desktop_.registry.IOCreatePlugInInterfaceForService(firstHidService(), plugIn),
              kIOReturnUnsupported);
}

TEST_F(UnitPublisherTest, AnOpenInterfaceOutlivesThePublisher) {
    plugIn();
    const auto pen = openPen();
    ASSERT_TRUE(pen);
    const auto queue = startQueue(*pen);
    publisher_.reset();
    socket_->send(Bytes{0, 5});
    IOHIDEventStruct event;
    EXPECT_EQ(queue->getNextEvent(event, 0, 0), kIOReturnSuccess);
    socket_->unplug();
    EXPECT_TRUE(eventually(
        [&] { return pen->setReport(IOHIDReportType::output, 0, Bytes{'H'}, 1000) == kIOReturnNoDevice; }));
    desktop_.runLoop.runPending();
}

// What the registry shows

ServiceDescription hidService(const HidNode& node) {
    return hidDeviceService(node, std::get<HidDescriptor>(parseHidDescriptor(node.descriptor)));
}

TEST(UnitServicesTest, AUsbDeviceTellsItsIdentifiersAndNames) {
    UsbDevice device = cameraUnit();
    device.productID = kUnitSecondProductID;
    const ServiceDescription service = usbDeviceService(device);
    EXPECT_EQ(service.className, "IOUSBDevice");
    EXPECT_EQ(service.path, "IOService:/devices/pci0000:00/usb1/1-2");
    EXPECT_EQ(describe(service.properties),
              "{USB Product Name = NX7; USB Vendor Name = Lightpen Works; idProduct = 2; idVendor = 4617; }");
    EXPECT_FALSE(service.plugIn);
}

TEST(UnitServicesTest, AHidDeviceTellsItsReportsToo) {
    const ServiceDescription service = hidService(unitNode(3));
    EXPECT_EQ(service.className, "IOHIDDevice");
    EXPECT_EQ(describe(service.properties),
              "{InputReportElements = ({ElementCookie = 1; ReportID = 0; Size = 6432; Usage = 1; UsagePage = "
              "65280; }); Manufacturer = Lightpen Works; MaxInputReportSize = 804; MaxOutputReportSize = 32; "
              "Product = NX7; ProductID = 1; SerialNumber = LW-0042; VendorID = 4617; }");
}

TEST(UnitServicesTest, NamesThatAUnitDoesNotGiveAreAbsent) {
    HidNode node = unitNode(0);
    node.device.vendorName.clear();
    node.device.productName.clear();
    node.device.serialNumber.clear();
    EXPECT_FALSE(hidService(node).properties.entries.contains("Manufacturer"));
    EXPECT_FALSE(hidService(node).properties.entries.contains("SerialNumber"));
    EXPECT_FALSE(usbDeviceService(node.device).properties.entries.contains("USB Vendor Name"));
}

TEST(UnitServicesTest, ThePathHoldsTheInterfaceNumberInItsPlace) {
    EXPECT_EQ(hidService(unitNode(3)).path,
              "IOService:/devices/pci0000:00/usb1/1-2/IOUSBInterface@3/0003:1209:0001.0013/hidraw/hidraw13");
    HidNode odd = unitNode(2);
    odd.interfacePath = "/sys/elsewhere";
    EXPECT_EQ(hidService(odd).path,
              "IOService:/devices/pci0000:00/usb1/1-2/1-2:1.2/0003:1209:0001.0012/hidraw/hidraw12"
              "/IOUSBInterface@2");
}

} // namespace
} // namespace lightpen
