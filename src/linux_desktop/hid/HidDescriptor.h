// SPDX-License-Identifier: MIT
// What a HID report descriptor says about the reports of one interface: pure, bytes in and a value out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/ServiceRegistry.h"

namespace lightpen {

// The longest report that is believed, in bytes; the longest that the camera unit is built for is 804.
inline constexpr std::size_t kLongestHidReport = 4096;
// The longest descriptor that is read, in bytes; the kernel takes no longer ones either.
inline constexpr std::size_t kLongestHidDescriptor = 4096;

// One report of an interface.
struct HidReport {
    std::uint8_t reportID = 0;     // 0 when the interface does not number its reports
    std::size_t length = 0;        // bytes, the byte for the report ID not counted; at least 1
    IOHIDElementCookie cookie = 0; // of the element that stands for the whole report: 1, 2, ...
    std::uint32_t usagePage = 0;   // of the application collection that the report belongs to
    std::uint32_t usage = 0;
};

// A whole descriptor.
struct HidDescriptor {
    bool usesReportIDs = false;
    std::vector<HidReport> inputReports;  // in the order in which they are first named
    std::vector<HidReport> outputReports; // as above
    // The input report with this ID; null when there is none. Valid while the descriptor lives.
    const HidReport* inputReport(std::uint8_t reportID) const;
};

// Why a descriptor cannot be used, as one line for the log.
struct HidDescriptorError {
    std::string text;
};

// Reads a descriptor. Whatever the bytes are, nothing is read outside them and no more is allocated than a
// few values for each report; a descriptor that is empty, cut short, unbalanced or beyond the limits above
// yields the error.
std::variant<HidDescriptor, HidDescriptorError> parseHidDescriptor(std::span<const std::uint8_t> bytes);

// The registry's "InputReportElements": one dictionary for each input report, with the numbers "ReportID",
// "ElementCookie", "Size" (bits), "UsagePage" and "Usage".
std::vector<PropertyDictionary> inputReportElements(const HidDescriptor& descriptor);

} // namespace lightpen
