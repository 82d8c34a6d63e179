// SPDX-License-Identifier: MIT
// Any bytes as a report descriptor: what is accepted must keep the parser's promises.
#include <span>

#include "kit/AnyBytes.h"
#include "linux_desktop/hid/HidDescriptor.h"

namespace {

using lightpen::require;

void checkReports(const std::vector<lightpen::HidReport>& reports, bool usesReportIDs) {
    require(reports.size() <= (usesReportIDs ? 255U : 1U));
    for (const auto& report : reports) {
        require(report.length >= 1 && report.length <= lightpen::kLongestHidReport);
        require((report.reportID != 0) == usesReportIDs);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto result = lightpen::parseHidDescriptor(std::span(data, size));
    if (const auto* descriptor = std::get_if<lightpen::HidDescriptor>(&result)) {
        checkReports(descriptor->inputReports, descriptor->usesReportIDs);
        checkReports(descriptor->outputReports, descriptor->usesReportIDs);
        require(lightpen::inputReportElements(*descriptor).size() == descriptor->inputReports.size());
    } else {
        require(!std::get<lightpen::HidDescriptorError>(result).text.empty());
    }
    return 0;
}
