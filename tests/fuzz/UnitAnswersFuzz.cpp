// SPDX-License-Identifier: MIT
// Any bytes as what a unit answers: to the reading of its flash, whose points then map any pen reports to a
// pointer; to both directions of the pairing table, with any file; and as the reports of a picture.
#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <span>

#include "calibration/KVRCalibrationCenter.h"
#include "device/PreviewImage.h"
#include "device/Reports.h"
#include "kit/AnyBytes.h"
#include "kit/device/OffscreenApplication.h"
#include "kit/device/PenFixture.h"

namespace {

using namespace lightpen;

constexpr Size kScreen{1280, 800};
constexpr const char* kFile = "NX9_Wireless.bin";
constexpr std::size_t kTableBytes = kPairingRecords * kPairingRecordBytes;
// Of 256 the driver takes the low byte alone, so that its commands are empty.
constexpr std::array<std::size_t, 5> kInputLengths{32, 804, 8, 5, 256};
constexpr int kMostGoodAnswers = 60; // then it leaves, which ends whatever waits for it

// A driver with a unit that answers as the bytes say, and well once they are used up.
class AnsweringUnit : public PenFixture {
public:
    AnsweringUnit(std::size_t inputLength, Bytes bytes) : bytes_(bytes) {
        ScriptedUnit::Shape shape = unit.shape();
        shape.inputLength = inputLength;
        unit.reshape(shape);
        desk.desktop.frame = ScreenRect{{0, 0}, kScreen};
        desk.dataFiles.put(kFile, std::nullopt);
        unit.onSetReport = [this](const SentReport& report) { return sent(report); };
        deviceDelegate->then = [this](const std::string& what) {
            if (what == "add")
                calibrate();
        };
    }
    ~AnsweringUnit() override {
        endThreads();
        unit.onSetReport = nullptr;
    }

    void readFlashAndDraw() {
        openArmed();
        while (!bytes_.empty())
            check(passOn(bytes_.take(5)));
        check(lift());
        require(!down_);
    }
    void readPairingTable() {
        openWell();
        const ReportBytes before(3, 0xEE);
        desk.dataFiles.put(kFile, before);
        table_.emplace();
        driver->Nx9commd('R');
        const auto file = desk.dataFiles.contents(kFile).value();
        require(table_->size() <= kTableBytes);
        require(file == (table_->size() == kTableBytes ? *table_ : before));
    }
    void sendPairingFile() {
        openWell();
        ReportBytes file = bytes_.take(bytes_.next() * 4U);
        desk.dataFiles.put(kFile, file);
        unit.takeSent();
        driver->Nx9inPairing();
        file.resize(kTableBytes);
        ReportBytes kept(kTableBytes);
        for (const SentReport& report : unit.takeSent())
            if (report.bytes.at(0) == kStorePairingCommand)
                std::copy_n(report.bytes.begin() + kPairingRecordOffset, kPairingRecordBytes,
                            kept.begin() +
                                static_cast<std::ptrdiff_t>(report.bytes.at(1) * kPairingRecordBytes));
        require(kept == file);
    }

private:
    void TestBody() override {}

    void openWell() {
        const Bytes later = std::exchange(bytes_, Bytes({}));
        openArmed();
        bytes_ = later;
        goodAnswers_ = 0;
    }

    void calibrate() {
        const auto center =
            std::make_shared<KVRCalibrationCenter>(0, kClearColor, 2, Screen{"main", {{0, 0}, kScreen}});
        const auto points = driver->calibrationPointsFromFlash();
        for (const CameraPoint point : points ? *points : PointList())
            require(point.x >= 0 && point.x <= 65535 && point.y >= 0 && point.y <= 65535);
        center->setTotalPoints(4);
        center->setCalibrationPoints(points);
        driver->setCalibrationCenter(center);
    }

    IOReturn sent(const SentReport& report) {
        const std::uint8_t letter = report.bytes.empty() ? std::uint8_t{'H'} : report.bytes[0];
        const std::uint8_t index = report.bytes.size() > 1 ? report.bytes[1] : std::uint8_t{0};
        if (letter != 'H' && letter != 'R' && letter != 'S')
            return kIOReturnSuccess;
        ReportBytes last;
        // A length with its highest bit set is followed by one more report.
        for (bool more = true; more;) {
            const std::uint8_t length = bytes_.next();
            more = length & 0x80 && !bytes_.empty();
            last = bytes_.empty() ? goodAnswer(letter, index) : bytes_.take(length & 0x7F);
            unit.sendReport(last);
        }
        last.resize(unit.shape().inputLength);
        last.resize(kReadableReportBytes);
        if (table_ && letter == 'R' && last[0] == 'R' && last[1] == index)
            table_->insert(table_->end(), last.begin() + kPairingRecordOffset,
                           last.begin() + kPairingRecordOffset + kPairingRecordBytes);
        if (goodAnswers_ > kMostGoodAnswers)
            unit.unplug();
        return goodAnswers_ > kMostGoodAnswers ? kIOReturnNoDevice : kIOReturnSuccess;
    }

    ReportBytes goodAnswer(std::uint8_t letter, std::uint8_t index) {
        ++goodAnswers_;
        if (letter == 'H')
            return {'N', 0, 1, 0x35, 0x12, 7, 0};
        return {letter, index, 1, 2, 3, 4, 5, 6, 7, 8};
    }

    // The button goes down and up in turns, on the screen.
    void check(const Deeds& deeds) {
        for (const auto& posted : desk.pointer.takePosted()) {
            require(posted.location.x >= 0 && posted.location.x <= kScreen.width);
            require(posted.location.y >= 0 && posted.location.y <= kScreen.height);
            if (posted.type == kLeftMouseDown || posted.type == kLeftMouseUp)
                require(std::exchange(down_, posted.type == kLeftMouseDown) != down_);
            require(posted.type != kLeftMouseDragged || down_);
        }
        for (const std::string& deed : deeds)
            if (deed == "release buttons")
                down_ = false;
    }

    Bytes bytes_;
    int goodAnswers_ = 0;
    std::optional<ReportBytes> table_; // as the answers to "R" would have it
    bool down_ = false;
};

void assemblePicture(Bytes bytes) {
    PictureAssembly assembly;
    while (!bytes.empty()) {
        const int copyLength = static_cast<std::int16_t>(bytes.next() | bytes.next() << 8);
        const int index = assembly.nextIndex();
        require(index >= 0 && index < PictureAssembly::kCountModulus);
        const bool complete = assembly.take(bytes.take(bytes.next() * 4U), copyLength);
        require(complete == (index == PictureAssembly::kReports - 1));
        require(assembly.imageAssemblyBuffer.size() == kPreviewPictureBytes);
        if (complete && bytes.next() & 1) {
            require(previewImageOf(assembly.picture())->rgba[3] == 255);
            require(assembly.release() && !assembly.release());
        }
    }
}

} // namespace

// The first byte chooses what the bytes are, and how long the unit's reports.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    ensureOffscreenApplication();
    const Bytes bytes(std::span(data, size).subspan(1));
    const std::size_t length = kInputLengths[data[0] / 4 % kInputLengths.size()];
    switch (data[0] % 4) {
    case 0:
        AnsweringUnit(length, bytes).readFlashAndDraw();
        break;
    case 1:
        AnsweringUnit(length, bytes).readPairingTable();
        break;
    case 2: // only then do the commands have room for a record
        AnsweringUnit(std::max<std::size_t>(length % 256, 32), bytes).sendPairingFile();
        break;
    default:
        assemblePicture(bytes);
    }
    return 0;
}
