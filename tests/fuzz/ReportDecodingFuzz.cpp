// SPDX-License-Identifier: MIT
// Any bytes as an input report, through the queue that delivers it to the point that comes of it.
#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "device/EventGeneratorNX7.h"
#include "kit/AnyBytes.h"
#include "platform/IOHID.h"
#include "platform/Log.h"

namespace {

using namespace lightpen;

class CheckingLog final : public LogSink {
public:
    void logLine(std::string_view line) override {
        ++lines;
        penUp = line == "Event n:1537 ( 0, 0)";
        require(penUp || line.starts_with("Event n:1505 ( "));
    }
    void standardOutput(std::string_view) override {}
    int lines = 0;
    bool penUp = false;
};

// The declared lengths that units have, one that ends within the position, and none.
constexpr std::array<std::size_t, 5> kDeclaredLengths{804, 32, 8, 4, 0};

int wordAt(std::span<const std::uint8_t> report, std::size_t index) {
    const auto byte = [&](std::size_t i) { return i < report.size() ? int{report[i]} : 0; };
    return byte(index) | byte(index + 1) << 8;
}

int asSigned(int word) {
    return word >= 0x8000 ? word - 0x10000 : word;
}

// What the convention says of these bytes, worked out apart from the decoder.
CameraPoint expectedPoint(std::span<const std::uint8_t> report) {
    const int x = asSigned(wordAt(report, 1));
    const int y = asSigned(wordAt(report, 3));
    if ((x & 0xFF) == 0)
        return {-1, -1};
    if (x > 2560 || y > 1920)
        return {4294967295.0, 4294967295.0};
    return {static_cast<double>(x), static_cast<double>(y)};
}

void checkDecoding(EventGeneratorNX7& driver, const IOHIDEventStruct& event,
                   std::span<const std::uint8_t> sent) {
    CheckingLog log;
    setLogSink(&log);
    const CameraPoint point = driver.pointFromHIDEvent(event);
    require(log.lines == 1);
    require(point == expectedPoint(sent));
    require(!log.penUp || point == CameraPoint{-1, -1});
    setLogSink(nullptr);
}

} // namespace

// The first byte chooses the declared length, the rest is the report.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static EventGeneratorNX7 driver;
    if (size == 0)
        return 0;
    const std::span report(data + 1, size - 1);
    const std::size_t declared = kDeclaredLengths[data[0] % kDeclaredLengths.size()];
    const auto queue = std::make_shared<IOHIDQueueInterface>();
    require(queue->create(0, 1) == kIOReturnSuccess);
    require(queue->addElement(17, 0) == kIOReturnSuccess);
    require(queue->start() == kIOReturnSuccess);
    require(queue->push(inputReportEvent(17, report, declared, 0)));
    IOHIDEventStruct event;
    require(queue->getNextEvent(event, 0, 0) == kIOReturnSuccess);
    require(event.longValueSize == declared);
    checkDecoding(driver, event, report.first(std::min(report.size(), declared)));
    return 0;
}
