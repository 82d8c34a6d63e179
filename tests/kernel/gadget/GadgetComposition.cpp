// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetComposition.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <initializer_list>
#include <system_error>
#include <utility>

#include "platform/Log.h"

namespace lightpen {

namespace {

// So many units of this machine at most, those included that a program left behind.
constexpr int kMostGadgets = 64;

[[noreturn]] void refuse(const std::string& what, int error) {
    throw GadgetError(what + ": " + errorText(error));
}

std::string hexadecimal(std::int32_t identifier) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "0x%04x", static_cast<unsigned>(identifier) & 0xFFFFU);
    return text.data();
}

void append(std::string& bytes, std::initializer_list<int> items) {
    for (const int item : items)
        bytes.push_back(static_cast<char>(item));
}

void appendReport(std::string& bytes, std::size_t length, int mainItem) {
    const auto count = static_cast<int>(length);
    append(bytes, {0x09, 0x01, 0x75, 0x08, 0x96, count & 0xFF, count >> 8, mainItem, 0x02});
}

} // namespace

std::string gadgetReportDescriptor(std::size_t inputLength, std::size_t outputLength) {
    std::string bytes;
    append(bytes, {0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01}); // an application of the maker's own
    append(bytes, {0x15, 0x00, 0x26, 0xFF, 0x00});             // each byte from 0 to 255
    appendReport(bytes, inputLength, 0x81);
    appendReport(bytes, outputLength, 0x91);
    append(bytes, {0xC0});
    return bytes;
}

GadgetComposition::GadgetComposition(GadgetFiles& files, GadgetPaths paths, const UnitDescription& unit,
                                     const GadgetDescription& gadget)
    : files_(files), paths_(std::move(paths)) {
    try {
        makeDevice(unit, gadget);
        for (int number = 0; number < gadget.interfaces; ++number) {
            const bool pens = number == gadget.penInterface;
            makeFunction(number, pens ? unit.reportLength : gadget.otherReportLength,
                         pens ? gadget.outputLength : gadget.otherReportLength, gadget);
        }
    } catch (const GadgetError&) {
        removeAll();
        throw;
    }
}

GadgetComposition::~GadgetComposition() {
    unplug();
    removeAll();
}

void GadgetComposition::makeOwnFolder() {
    for (int number = 0; number < kMostGadgets; ++number) {
        folder_ = paths_.gadgets + "/lightpen" + std::to_string(number);
        const int error = files_.makeFolder(folder_);
        if (error == 0) {
            made_.push_back({false, folder_});
            return;
        }
        if (error == ENOENT)
            throw GadgetError(paths_.gadgets +
                              " is missing: configfs is not mounted, or libcomposite is not loaded");
        if (error != EEXIST)
            refuse(folder_ + " cannot be made", error);
    }
    throw GadgetError(paths_.gadgets + " is full of units");
}

void GadgetComposition::makeFolder(const std::string& path) {
    if (const int error = files_.makeFolder(path); error != 0)
        refuse(path + " cannot be made", error);
    made_.push_back({false, path});
}

void GadgetComposition::write(const std::string& path, const std::string& content) {
    if (const int error = files_.write(path, content); error != 0)
        refuse(path + " cannot be written", error);
}

void GadgetComposition::makeDevice(const UnitDescription& unit, const GadgetDescription& gadget) {
    makeOwnFolder();
    write(folder_ + "/idVendor", hexadecimal(unit.vendorID) + "\n");
    write(folder_ + "/idProduct", hexadecimal(unit.productID) + "\n");
    const std::string strings = folder_ + "/strings/0x409";
    makeFolder(strings);
    write(strings + "/manufacturer", unit.vendorName + "\n");
    write(strings + "/product", gadget.productName + "\n");
    write(strings + "/serialnumber", gadget.serialNumber + "\n");
    makeFolder(folder_ + "/configs/c.1");
}

// Interface numbers follow the order in which functions are linked.
void GadgetComposition::makeFunction(int number, std::size_t input, std::size_t output,
                                     const GadgetDescription& gadget) {
    const std::string name = "hid.usb" + std::to_string(number);
    const std::string function = folder_ + "/functions/" + name;
    makeFolder(function);
    write(function + "/subclass", "0\n");
    write(function + "/protocol", "0\n");
    if (gadget.output == GadgetDescription::Output::setReport)
        write(function + "/no_out_endpoint", "1\n");
    // The size of a packet in both directions: what a report needs at most, so that none comes in parts.
    write(function + "/report_length", std::to_string(std::max(input, output)) + "\n");
    write(function + "/report_desc", gadgetReportDescriptor(input, output));
    const std::string link = folder_ + "/configs/c.1/" + name;
    if (const int error = files_.makeLink(function, link); error != 0)
        refuse(link + " cannot be linked", error);
    made_.push_back({true, link});
    if (number == gadget.penInterface)
        penFunction_ = function;
}

void GadgetComposition::removeAll() {
    for (; !made_.empty(); made_.pop_back()) {
        const Made& last = made_.back();
        const int error = last.link ? files_.removeLink(last.path) : files_.removeFolder(last.path);
        if (error != 0)
            logLine("Gadget: %s cannot be removed: %s", last.path.c_str(), errorText(error).c_str());
    }
}

// That of the last time first, then as a person would count them.
std::vector<std::string> GadgetComposition::controllers() const {
    std::vector<std::string> names = files_.list(paths_.controllers);
    std::sort(names.begin(), names.end(), [&](const std::string& left, const std::string& right) {
        if ((left == lastController_) != (right == lastController_))
            return left == lastController_;
        return std::pair(left.size(), left) < std::pair(right.size(), right);
    });
    return names;
}

void GadgetComposition::plug() {
    const std::vector<std::string> names = controllers();
    if (names.empty())
        throw GadgetError("there is no device controller in " + paths_.controllers +
                          ": dummy_hcd is not loaded");
    for (const std::string& name : names) {
        const int error = files_.write(folder_ + "/UDC", name + "\n");
        if (error == 0) {
            controller_ = lastController_ = name;
            return;
        }
        if (error != EBUSY)
            refuse(folder_ + " cannot be bound to " + name, error);
    }
    throw GadgetError("each device controller of " + paths_.controllers + " is taken (" +
                      std::to_string(names.size()) + " in all)");
}

void GadgetComposition::unplug() {
    if (std::exchange(controller_, {}).empty())
        return;
    if (const int error = files_.write(folder_ + "/UDC", "\n"); error != 0)
        logLine("Gadget: %s cannot be unbound: %s", folder_.c_str(), errorText(error).c_str());
}

// The function says which device it is, as "236:3"; the second number is the node's.
std::string GadgetComposition::penNode() const {
    if (penFunction_.empty())
        return {};
    std::string device;
    if (const int error = files_.read(penFunction_ + "/dev", device); error != 0)
        refuse(penFunction_ + "/dev cannot be read", error);
    const std::string text = device.substr(device.find(':') + 1); // all of it when there is no colon
    unsigned number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc() || text == device)
        throw GadgetError(penFunction_ + "/dev names no device: " + device);
    return paths_.devices + "/hidg" + std::to_string(number);
}

} // namespace lightpen
