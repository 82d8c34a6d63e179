// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <umockdev.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/HidDescriptors.h"

namespace lightpen::test {

// A USB bus of umockdev's. The programs that use it run under umockdev-wrapper.
class SimulatedBus {
public:
    // One USB device with one HID interface and its hidraw node, by sysfs path.
    struct Paths {
        std::string device, interface, hid, node;
    };
    struct Unit {
        std::string socket = "1-2";
        std::string vendorID = "1209", productID = "0001";
        std::string vendorName = "Lightpen Works";
        std::string interfaceNumber = "03";
        std::string serial = "0007"; // of the HID device; the kernel counts on with each one
        std::string hidraw = "hidraw4";
        Bytes descriptor = unitDescriptor(804, 32);
    };

    // umockdev answers by what it sees the first time it is asked, so there must be a bus by then.
    SimulatedBus() : bed_(umockdev_testbed_new()) {
        EXPECT_TRUE(umockdev_in_mock_environment()) << "to be run as: umockdev-wrapper <program>";
    }

    // Each device reports itself as added, the node last.
    Paths plugIn(const Unit& unit) { return addInterface(unit, addUsbDevice(unit)); }
    // A further interface of a device that is there.
    Paths addInterface(const Unit& unit, const std::string& device) {
        Paths paths;
        paths.device = device;
        paths.interface = add("usb", unit.socket + ":1." + unit.interfaceNumber.substr(1), paths.device,
                              {"bInterfaceNumber", unit.interfaceNumber}, {"DEVTYPE", "usb_interface"});
        paths.hid = add("hid", "0003:" + unit.vendorID + ":" + unit.productID + "." + unit.serial,
                        paths.interface, {}, {});
        Bytes descriptor = unit.descriptor;
        umockdev_testbed_set_attribute_binary(bed_.get(), paths.hid.c_str(), "report_descriptor",
                                              descriptor.data(), static_cast<int>(descriptor.size()));
        paths.node = addNode(unit.hidraw, paths.hid);
        return paths;
    }
    std::string addUsbDevice(const Unit& unit) {
        std::vector<std::string> attributes{"idVendor", unit.vendorID, "product", "NX7", "serial", "LW-0042"};
        if (!unit.productID.empty())
            attributes.insert(attributes.end(), {"idProduct", unit.productID});
        if (!unit.vendorName.empty())
            attributes.insert(attributes.end(), {"manufacturer", unit.vendorName});
        return add("usb", unit.socket, "", attributes, {"DEVTYPE", "usb_device"});
    }
    std::string addNode(const std::string& name, const std::string& parent) {
        return add("hidraw", name, parent, {}, {"DEVNAME", "/dev/" + name});
    }
    std::string add(const char* subsystem, const std::string& name, const std::string& parent,
                    const std::vector<std::string>& attributes, const std::vector<std::string>& properties) {
        auto attributeList = pointers(attributes), propertyList = pointers(properties);
        gchar* path = umockdev_testbed_add_devicev(bed_.get(), subsystem, name.c_str(),
                                                   parent.empty() ? nullptr : parent.c_str(),
                                                   attributeList.data(), propertyList.data());
        EXPECT_NE(path, nullptr) << name;
        const std::string added = path ? path : "";
        g_free(path);
        return added;
    }
    void event(const std::string& path, const char* action) {
        umockdev_testbed_uevent(bed_.get(), path.c_str(), action);
    }
    // As the kernel does: from the node down to the device, each gone before anybody hears of it.
    void unplug(const Paths& paths) {
        for (const auto& path : {paths.node, paths.hid, paths.interface, paths.device})
            event(path, "remove");
        for (const auto& path : {paths.node, paths.hid, paths.interface, paths.device})
            umockdev_testbed_remove_device(bed_.get(), path.c_str());
    }

private:
    struct Unref {
        void operator()(UMockdevTestbed* bed) const { g_object_unref(bed); }
    };
    static std::vector<gchar*> pointers(const std::vector<std::string>& texts) {
        std::vector<gchar*> list;
        for (const auto& text : texts)
            list.push_back(const_cast<gchar*>(text.c_str()));
        list.push_back(nullptr);
        return list;
    }
    std::unique_ptr<UMockdevTestbed, Unref> bed_;
};

} // namespace lightpen::test
