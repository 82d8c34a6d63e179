// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetComposition.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <utility>

#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// Bytes of the reports of the interfaces that are not the pen's, in and out.
constexpr std::size_t kOtherReportLength = 8;

[[noreturn]] void refuse(const std::string& what, int error) {
    throw GadgetError(what + ": " + errorText(error));
}

// The whole content in one write, since each write counts for itself in configfs; 0 or the error number.
int writeTo(const std::string& path, std::string_view content) {
    const FileDescriptor file(
        retryInterrupted([&] { return ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC); }));
    if (!file)
        return errno;
    const auto written =
        retryInterrupted([&] { return ::write(file.get(), content.data(), content.size()); });
    if (written < 0)
        return errno;
    return written == static_cast<ssize_t>(content.size()) ? 0 : EIO;
}

void write(const std::string& path, const std::string& content) {
    if (const int error = writeTo(path, content); error != 0)
        refuse(path + " cannot be written", error);
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

GadgetComposition::GadgetComposition(const UnitDescription& unit, const GadgetDescription& gadget,
                                     GadgetPaths paths)
    : paths_(std::move(paths)), folder_(paths_.gadgets + "/lightpen") {
    try {
        makeDevice(unit);
        for (int number = 0; number < gadget.interfaces; ++number) {
            const bool pens = number == kUnitPenInterfaceNumber;
            makeFunction(number, pens ? unit.reportLength : kOtherReportLength,
                         pens ? gadget.outputLength : kOtherReportLength, gadget.output);
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

void GadgetComposition::makeFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0755) != 0)
        refuse(path + " cannot be made", errno);
    made_.push_back({false, path});
}

void GadgetComposition::makeDevice(const UnitDescription& unit) {
    if (!std::filesystem::exists(paths_.gadgets))
        throw GadgetError(paths_.gadgets +
                          " is missing: configfs is not mounted, or libcomposite is not loaded");
    makeFolder(folder_);
    write(folder_ + "/idVendor", hexadecimal(unit.vendorID) + "\n");
    write(folder_ + "/idProduct", hexadecimal(unit.productID) + "\n");
    const std::string strings = folder_ + "/strings/0x409";
    makeFolder(strings);
    write(strings + "/manufacturer", unit.vendorName + "\n");
    write(strings + "/product", "Camera unit\n");
    write(strings + "/serialnumber", "1\n");
    makeFolder(folder_ + "/configs/c.1");
}

// Interface numbers follow the order in which functions are linked.
void GadgetComposition::makeFunction(int number, std::size_t input, std::size_t output,
                                     GadgetDescription::Output way) {
    const std::string name = "hid.usb" + std::to_string(number);
    const std::string function = folder_ + "/functions/" + name;
    makeFolder(function);
    write(function + "/subclass", "0\n");
    write(function + "/protocol", "0\n");
    if (way == GadgetDescription::Output::setReport)
        write(function + "/no_out_endpoint", "1\n");
    // The size of a packet in both directions: what a report needs at most, so that none comes in parts.
    write(function + "/report_length", std::to_string(std::max(input, output)) + "\n");
    write(function + "/report_desc", gadgetReportDescriptor(input, output));
    const std::string link = folder_ + "/configs/c.1/" + name;
    if (::symlink(function.c_str(), link.c_str()) != 0)
        refuse(link + " cannot be linked", errno);
    made_.push_back({true, link});
    if (number == kUnitPenInterfaceNumber)
        penFunction_ = function;
}

void GadgetComposition::removeAll() {
    for (; !made_.empty(); made_.pop_back()) {
        const Made& last = made_.back();
        if ((last.link ? ::unlink(last.path.c_str()) : ::rmdir(last.path.c_str())) != 0)
            logLine("Gadget: %s cannot be removed: %s", last.path.c_str(), errorText(errno).c_str());
    }
}

void GadgetComposition::plug() {
    std::vector<std::string> controllers;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(paths_.controllers, none))
        controllers.push_back(entry.path().filename());
    if (controllers.empty())
        throw GadgetError("there is no device controller in " + paths_.controllers +
                          ": dummy_hcd is not loaded");
    write(folder_ + "/UDC", *std::ranges::min_element(controllers) + "\n");
    plugged_ = true;
}

void GadgetComposition::unplug() {
    if (!std::exchange(plugged_, false))
        return;
    if (const int error = writeTo(folder_ + "/UDC", "\n"); error != 0)
        logLine("Gadget: %s cannot be unbound: %s", folder_.c_str(), errorText(error).c_str());
}

// The function says which device it is, as "236:3"; the second number is the node's.
std::string GadgetComposition::penNode() const {
    if (penFunction_.empty())
        return {};
    std::ifstream file(penFunction_ + "/dev");
    unsigned major = 0, number = 0;
    char colon = 0;
    if (!(file >> major >> colon >> number))
        throw GadgetError(penFunction_ + "/dev names no device");
    return "/dev/hidg" + std::to_string(number);
}

} // namespace lightpen
