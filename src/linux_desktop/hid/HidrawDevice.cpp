// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/HidrawDevice.h"

#include <fcntl.h>

#include <utility>

#include "platform/Log.h"

namespace lightpen {

IOReturn resultOfOpenError(int error) {
    switch (error) {
    case EACCES:
    case EPERM:
        return kIOReturnNotPrivileged;
    case ENOENT:
    case ENODEV:
    case ENXIO:
    case EIO:
        return kIOReturnNoDevice;
    default:
        return kIOReturnError;
    }
}

int openHidrawNode(const std::string& devnode, FileDescriptor& node) {
    FileDescriptor opened(
        retryInterrupted([&] { return ::open(devnode.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC); }));
    if (!opened)
        return errno;
    node = std::move(opened);
    return 0;
}

HidrawDevice::HidrawDevice(HidrawNode node, Clock& clock)
    : node_(std::move(node)),
      fanOut_(std::make_shared<ReportFanOut>(clock, node_.input.cookie, node_.input.length)) {}

HidrawDevice::~HidrawDevice() {
    close();
}

IOReturn HidrawDevice::open(std::uint32_t) {
    const std::lock_guard hold(opening_);
    if (fanOut_->vanished())
        return kIOReturnNoDevice;
    if (reader_->load())
        return kIOReturnSuccess;
    FileDescriptor file;
    if (const int error = node_.open(node_.devnode, file); error != 0) {
        logLine("HID: %s cannot be opened: %s", node_.devnode.c_str(), errorText(error).c_str());
        return resultOfOpenError(error);
    }
    return start(std::make_shared<const FileDescriptor>(std::move(file)));
}

IOReturn HidrawDevice::start(std::shared_ptr<const FileDescriptor> file) {
    const std::shared_ptr<HidrawWriter> writer = HidrawWriter::start(file, node_.terminating);
    if (!writer)
        return kIOReturnError;
    // A queue's drain may make this call after the device's end, so it holds what it needs itself.
    const auto reader = HidrawReader::start(std::move(file), fanOut_, [writer, gone = node_.gone] {
        writer->stop(kIOReturnNoDevice);
        if (gone)
            gone();
    });
    if (!reader)
        return kIOReturnError;
    writer_ = writer;
    *reader_ = reader;
    return kIOReturnSuccess;
}

IOReturn HidrawDevice::close() {
    const std::lock_guard hold(opening_);
    const auto reader = reader_->load();
    if (!reader)
        return kIOReturnNotOpen;
    *reader_ = nullptr;
    reader->stop();
    if (const auto writer = writer_.load())
        writer->stop(kIOReturnNotOpen);
    writer_ = nullptr;
    return kIOReturnSuccess;
}

IOReturn HidrawDevice::setReport(IOHIDReportType type, std::uint32_t reportID,
                                 std::span<const std::uint8_t> report, std::uint32_t timeoutMs) {
    const auto writer = writer_.load();
    if (fanOut_->vanished())
        return kIOReturnNoDevice;
    if (!writer)
        return kIOReturnNotOpen;
    if (type != IOHIDReportType::output || reportID != 0)
        return kIOReturnUnsupported;
    if (report.empty()) // which the kernel refuses
        return kIOReturnSuccess;
    // The node wants a report ID first, also where the unit itself does not number its reports.
    std::vector<std::uint8_t> bytes{0};
    bytes.insert(bytes.end(), report.begin(), report.end());
    return writer->send(std::move(bytes), timeoutMs);
}

IOHIDQueueRef HidrawDevice::allocQueue() {
    return fanOut_->add(std::make_shared<IOHIDQueueInterface>([current = reader_] {
        if (const auto reader = current->load())
            reader->drain();
    }));
}

void HidrawDevice::vanish() {
    if (const auto reader = reader_->load())
        reader->vanish();
    fanOut_->vanish();
    if (const auto writer = writer_.load())
        writer->stop(kIOReturnNoDevice);
}

} // namespace lightpen
