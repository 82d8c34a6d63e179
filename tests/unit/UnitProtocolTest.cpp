// SPDX-License-Identifier: MIT
// docs/unit-protocol.md, its first part: the unit in software does what it says. The exchanges are played,
// and each section has a test of its name for what stands around them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>

#include "kernel/gadget/GadgetComposition.h"
#include "kit/TestPlatform.h"
#include "kit/UnitProtocolDocument.h"
#include "unit/CameraUnit.h"
#include "unit/ExchangePlayer.h"
#include "unit/FirmwareBench.h"
#include "unit/PluggedHost.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using test::FirmwareBench;
using test::front;
using test::gaps;
using test::kinds;
using test::ofKind;
using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

const UnitProtocolDocument& document() {
    static const UnitProtocolDocument read;
    return read;
}

int number(const char* section, const char* row) {
    return document().section(section).number(row).value();
}
Microseconds milliseconds(const char* section, const char* row) {
    return std::chrono::milliseconds(number(section, row));
}

// The exchanges

class UnitProtocolExchangeTest : public testing::TestWithParam<const ProtocolSection*> {};

TEST_P(UnitProtocolExchangeTest, IsPlayedAsItIsWritten) {
    for (const Exchange& exchange : GetParam()->exchanges)
        test::ExchangePlayer().play(exchange);
}

std::vector<const ProtocolSection*> sectionsWithExchanges() {
    std::vector<const ProtocolSection*> found;
    for (const ProtocolSection& section : document().sections)
        if (!section.exchanges.empty())
            found.push_back(&section);
    return found;
}

INSTANTIATE_TEST_SUITE_P(, UnitProtocolExchangeTest, testing::ValuesIn(sectionsWithExchanges()),
                         [](const auto& section) {
                             std::string name = section.param->title;
                             std::erase(name, ' ');
                             return name;
                         });

// The sections

struct UnitProtocolTest : testing::Test {
    FirmwareBench bench;
    Firmware& firmware = bench.firmware;

    std::vector<UnitReport> answersTo(std::initializer_list<int> command, Microseconds wait = 250ms) {
        bench.command(command);
        return ofKind(bench.run(wait), ReportKind::answer);
    }
};

TEST_F(UnitProtocolTest, HasATestForEachSection) {
    EXPECT_TRUE(document().isCoveredByThisSuite("The unit", 15));
}

TEST_F(UnitProtocolTest, USBDevice) {
    TestPlatform platform;
    EmulatedBus bus{platform.registry, platform.runLoop, platform.clock};
    bus.add<CameraUnit>({.reportLength = 32}).plug();
    test::PluggedHost host{platform.registry};
    const int interfaces = number("USB device", "HID interfaces");
    const int pen = number("USB device", "interface of the pen");
    EXPECT_EQ(interfaces, pen + 1) << "from 0 up to it";
    const auto paths = host.paths("IOHIDDevice");
    ASSERT_THAT(paths, SizeIs(interfaces));
    EXPECT_THAT(paths.front(), testing::HasSubstr("IOUSBInterface@" + std::to_string(pen)));
    const io_service_t usb = host.services("IOUSBDevice").at(0);
    const auto properties = platform.registry.IORegistryEntryCreateCFProperties(usb).entries;
    platform.registry.IOObjectRelease(usb);
    EXPECT_EQ(std::get<std::int64_t>(properties.at("idVendor")), number("USB device", "vendor"));
    EXPECT_EQ(std::get<std::int64_t>(properties.at("idProduct")), number("USB device", "first product"));
    EXPECT_EQ(kUnitSecondProductID, number("USB device", "second product"));
    EXPECT_EQ(kUnitPenInterfaceNumber, pen);
}

TEST_F(UnitProtocolTest, Reports) {
    const auto length =
        static_cast<std::size_t>(number("Reports", "input reports that carry a whole picture"));
    const auto output = static_cast<std::size_t>(number("Reports", "output reports beside them"));
    EXPECT_EQ(length, UnitDescription().reportLength);
    EXPECT_EQ(output, length & 0xFFU);
    const std::string descriptor = gadgetReportDescriptor(length, output);
    EXPECT_EQ(document().section("Reports").dumps.at(0),
              std::vector<std::uint8_t>(descriptor.begin(), descriptor.end()));
}

// Further tests of what the sections say.
struct UnitProtocolDetailTest : UnitProtocolTest {};

TEST_F(UnitProtocolDetailTest, EveryReportHasTheDeclaredLength) {
    const auto shortest = static_cast<std::size_t>(
        number("Reports", "shortest input report that carries a calibration record"));
    for (const std::size_t declared : {shortest, std::size_t{32}, UnitDescription().reportLength}) {
        FirmwareBench other(declared);
        other.firmware.flash.store({1, 2}, {3, 4}, {5, 6}, {7, 0x0809});
        other.command({'H', 1});
        const ReportBytes answer = other.run(100ms).at(0).bytes;
        EXPECT_THAT(answer, SizeIs(declared));
        EXPECT_EQ(answer.at(9), 0x08) << "the record's last byte";
    }
}

int wordAt(const ReportBytes& bytes, std::size_t index) {
    return bytes.at(index) | bytes.at(index + 1) << 8;
}

// The X that a report may have for a spot in view.
std::vector<int> sentFor(int x) {
    if (x % 256 != 0)
        return {x};
    return x == 0 ? std::vector{1} : x == 2560 ? std::vector{2559} : std::vector{x - 1, x + 1};
}

TEST_F(UnitProtocolTest, PenReports) {
    bench.run(1us); // the picture of the beginning
    for (int x = 0; x <= 2560; ++x) {
        bench.scene.pen = CameraPoint{double(x), 1920};
        const ReportBytes bytes = bench.run(PenStream::kFrame).at(0).bytes;
        EXPECT_THAT(sentFor(x), testing::Contains(wordAt(bytes, 1)));
        EXPECT_EQ(wordAt(bytes, 3), 1920);
        EXPECT_LE(bytes[0], 1);
        EXPECT_THAT(ReportBytes(bytes.begin() + 5, bytes.end()), Each(0));
    }
}

TEST_F(UnitProtocolDetailTest, SpotsBesideTheView) {
    bench.run(1us);
    const std::vector<CameraPoint> outside{{-3, 700}, {2561, 700}, {80'000, 700}, {700, -1}, {700, 1921}};
    for (const CameraPoint& beside : outside) {
        bench.scene.pen = beside;
        const ReportBytes bytes = bench.run(PenStream::kFrame).at(0).bytes;
        const int x = wordAt(bytes, 1), y = wordAt(bytes, 3);
        EXPECT_TRUE(x > 2560 || y > 1920);
        EXPECT_LE(std::max(x, y), 32767);
        EXPECT_NE(bytes[1], 0) << "it is a spot all the same";
    }
}

TEST_F(UnitProtocolTest, Pace) {
    bench.scene.pen = FirmwareBench::kPen;
    const auto touched = bench.run(1s);
    EXPECT_GE(touched.size(),
              static_cast<std::size_t>(number("Pace", "pen reports in a second of a touch, at least")));
    EXPECT_THAT(gaps(touched), Each(Le(milliseconds("Pace", "longest gap within a touch"))));
    const auto least = static_cast<std::size_t>(number("Pace", "idle reports in a second, at least"));
    const auto most = static_cast<std::size_t>(number("Pace", "idle reports in a second, at most"));
    const Microseconds follow = milliseconds("Pace", "idle reports follow for");
    bench.scene.pen.reset();
    const auto after = bench.run(5s);
    EXPECT_THAT(after, SizeIs(AllOf(Ge(least), Le(most))));
    EXPECT_THAT(kinds(after), Each(ReportKind::penUp));
    EXPECT_LE(after.back().time - after.front().time, follow);
    EXPECT_GT(after.back().time - after.front().time, follow - 40ms);
    bench.command({'T'});
    const auto behindCommand = bench.run(5s);
    EXPECT_THAT(behindCommand, SizeIs(AllOf(Ge(least), Le(most))));
    EXPECT_LE(behindCommand.back().time - behindCommand.front().time, follow);
}

// A command of each kind; the erasing one begins with 00.
ReportBytes commandOf(int letter) {
    return test::reportOf({letter, letter == 'W' ? 'W' : std::min(letter, 1), letter == 0 ? 0 : 0x20});
}

TEST_F(UnitProtocolTest, Commands) {
    int commands = 0;
    for (const ProtocolRow& row : document().section("Commands").rows) {
        if (row.size() != 3)
            continue;
        ++commands;
        const int letter = hexadecimalBytes(row[0]).at(0);
        FirmwareBench fresh;
        fresh.calibrate();
        fresh.scene.strayLight = CameraPoint{300, 400};
        fresh.firmware.handleOutput(commandOf(letter), fresh.now);
        std::vector<std::uint8_t> answered;
        for (const UnitReport& answer :
             ofKind(fresh.run(milliseconds("Commands", "an answer comes within")), ReportKind::answer))
            answered.assign(1, answer.bytes[0]);
        EXPECT_EQ(answered, hexadecimalBytes(row[2].substr(0, 2))) << row[1];
    }
    EXPECT_EQ(commands, 8);
}

TEST_F(UnitProtocolDetailTest, IdleReportsFollowEachCommandThatIsTaken) {
    for (const ProtocolRow& row : document().section("Commands").rows) {
        if (row.size() != 3)
            continue;
        FirmwareBench fresh;
        fresh.firmware.handleOutput(commandOf(hexadecimalBytes(row[0]).at(0)), fresh.now);
        EXPECT_FALSE(ofKind(fresh.run(3s), ReportKind::penUp).empty()) << row[1];
    }
}

TEST_F(UnitProtocolDetailTest, CommandsOfAnyLength) {
    const auto shortest = static_cast<std::size_t>(number("Commands", "shortest command"));
    const auto longest = static_cast<std::size_t>(number("Commands", "longest command"));
    for (const std::size_t length : {shortest - 1, shortest, longest, longest + 1}) {
        bench.command({'H'}, length);
        const bool taken = length >= shortest && length <= longest;
        EXPECT_THAT(ofKind(bench.run(100ms), ReportKind::answer), SizeIs(taken ? 1 : 0)) << length;
    }
    // Bytes that a command does not have.
    bench.command({'C', 0, 1, 2, 3, 4, 5}, 7);
    bench.command({'C', 1, 1, 2, 3, 4, 5}, 7);
    EXPECT_THAT(*firmware.flash.record(1), testing::ElementsAre(0x0201, 0x0403, 0x0005, 0));
}

// The bits of a settings command that are set, as the unit has understood them.
std::vector<int> bitsOf(const ReceivedSettings& settings) {
    const std::pair<int, bool> all[] = {{0, settings.imageProcessMode},
                                        {1, settings.imageShrinkTrigger},
                                        {2, settings.filterOut},
                                        {3, settings.maskCalibration},
                                        {4, settings.mask},
                                        {5, settings.brightness},
                                        {7, settings.freshUnit}};
    std::vector<int> set;
    for (const auto& [bit, isSet] : all)
        if (isSet)
            set.push_back(bit);
    return set;
}

TEST_F(UnitProtocolTest, Settings) {
    bench.command({0, 0xFC, 0x34, 0x12, 0x02, 0x19, 0});
    EXPECT_EQ(std::pair(firmware.settings().threshold, firmware.settings().exposure),
              std::pair(0x1234, 0x19));
    EXPECT_THAT(bitsOf(firmware.settings()), testing::ElementsAre(2, 3, 4, 5, 7));
    for (const int bit : {0, 1, 2, 3, 4, 5, 7}) {
        bench.settings(1 << bit);
        EXPECT_THAT(bitsOf(firmware.settings()), testing::ElementsAre(bit));
    }
    bench.run(10s);
    EXPECT_THAT(bitsOf(firmware.settings()), testing::ElementsAre(7)) << "they hold";
    firmware.powerUp(bench.now);
    EXPECT_THAT(bitsOf(firmware.settings()), IsEmpty());
}

TEST_F(UnitProtocolTest, Erasing) {
    bench.calibrate();
    for (const int bit : {0, 1, 2, 3, 4, 5, 7})
        EXPECT_THAT(answersTo({0, 1 << bit}), IsEmpty());
    ReportBytes almost(36);
    almost.back() = 1;
    firmware.handleOutput(almost, bench.now);
    EXPECT_TRUE(firmware.flash.calibrated());
    EXPECT_THAT(answersTo({0}), IsEmpty());
    EXPECT_FALSE(firmware.flash.calibrated());
}

TEST_F(UnitProtocolTest, CalibrationRecords) {
    bench.calibrate();
    bench.touch();
    EXPECT_THAT(answersTo({'C', 1, 9, 0, 9, 0, 9, 0, 9, 0}, 10ms), IsEmpty());
    EXPECT_EQ((*firmware.flash.record(1))[0], 5) << "the ones before hold";
    EXPECT_FALSE(ofKind(bench.run(10ms), ReportKind::spot).empty()) << "pen reports go on";
    bench.command({'C', 0, 0xFF, 0xFF, 7, 0, 7, 0, 7, 0});
    EXPECT_THAT(*firmware.flash.record(0), testing::ElementsAre(0xFFFF, 7, 7, 7));
    EXPECT_THAT(*firmware.flash.record(1), testing::ElementsAre(9, 9, 9, 9));
    EXPECT_EQ(firmware.flash.points()->at(2), (CameraPoint{9, 9})) << "the lower left one";
}

TEST_F(UnitProtocolDetailTest, OtherCalibrationRecordsAreNotKept) {
    for (const int index : {2, 3, 255})
        bench.command({'C', index, 8, 0, 8, 0, 8, 0, 8, 0});
    bench.command({'C', 0, 9, 0, 9, 0, 9, 0, 9, 0});
    EXPECT_FALSE(firmware.flash.record(0) || firmware.flash.record(1));
}

TEST_F(UnitProtocolTest, ReadingTheFlash) {
    firmware.information = {
        .NX9Ver = 0x35, .wireless = 0x42, .cmosVer = 0x53, .GainValue = 0x64, .OPmode = 0x75};
    const std::map<std::string, int> values{{"gain", 0x64},
                                            {"operating mode", 0x75},
                                            {"wireless", 0x42},
                                            {"version of the board", 0x35},
                                            {"version of the sensor", 0x53}};
    const ReportBytes none = answersTo({'H', 0}).at(0).bytes;
    bench.calibrate();
    const ReportBytes stored = answersTo({'H', 2}).at(0).bytes;
    EXPECT_EQ(none[0], 'N');
    EXPECT_EQ(stored[0], 'Y');
    std::map<std::string, int> inStored, inNone;
    for (const ProtocolRow& row : document().section("Reading the flash").rows) {
        inStored[row.at(0)] = stored.at(std::stoul(row.at(1)));
        inNone[row.at(0)] = none.at(std::stoul(row.at(2)));
    }
    EXPECT_EQ(inStored, values);
    EXPECT_EQ(inNone, values);
    bench.command({'W', 'W'});
    EXPECT_THAT(answersTo({'T'}), IsEmpty());
    EXPECT_EQ(firmware.operatingModeAcknowledges() + firmware.wirelessAcknowledges(), 2);
}

TEST_F(UnitProtocolTest, QuietAroundCommands) {
    const Microseconds quiet = milliseconds("Quiet around commands", "after \"H\", \"K\", \"R\" and \"S\"");
    const Microseconds patience =
        milliseconds("Quiet around commands", "a read that the host gives up ends after");
    bench.calibrate();
    bench.touch();
    for (const int letter : {int{'H'}, int{'K'}, int{'R'}, int{'S'}}) {
        bench.command({letter, 2, 0x20});
        EXPECT_THAT(kinds(bench.run(quiet - 1us)), Each(ReportKind::answer)) << letter;
        EXPECT_THAT(kinds(bench.run(PenStream::kFrame)), testing::ElementsAre(ReportKind::spot)) << letter;
    }
    bench.command({'H', 0});
    EXPECT_THAT(kinds(bench.run(patience - 1us)), Each(ReportKind::answer)) << "a read under way";
    EXPECT_FALSE(bench.run(2 * PenStream::kFrame).empty());
    bench.command({'H', 0});
    bench.run(quiet);
    bench.command({'T'});
    EXPECT_FALSE(bench.run(2 * PenStream::kFrame).empty()) << "another command ends it";
}

TEST_F(UnitProtocolTest, LightTest) {
    bench.scene.pen = FirmwareBench::kPen;
    EXPECT_THAT(answersTo({'K'}), IsEmpty());
    bench.run(3s);
    bench.scene.strayLight = CameraPoint{300, 400};
    const Microseconds sent = bench.now;
    const auto answers = answersTo({'K'});
    ASSERT_GE(answers.size(),
              static_cast<std::size_t>(number("Light test", "answers where there is light, at least")));
    EXPECT_LE(answers.back().time, sent + milliseconds("Light test", "all of them within"));
    for (const UnitReport& answer : answers)
        EXPECT_EQ(answer.bytes[0], 's');
}

// The pixels of a picture's reports, which must be full.
std::vector<std::uint8_t> pixelsOf(const std::vector<UnitReport>& reports) {
    std::vector<std::uint8_t> pixels;
    for (const UnitReport& report : ofKind(reports, ReportKind::picture))
        pixels.insert(pixels.end(), report.bytes.begin() + 1,
                      report.bytes.end() - number("Pictures", "bytes of a report that carry no pixel") + 1);
    return pixels;
}

struct UnitProtocolPictureTest : testing::Test {
    const std::size_t width = static_cast<std::size_t>(number("Pictures", "width"));
    const std::size_t height = static_cast<std::size_t>(number("Pictures", "height"));
    FirmwareBench bench{UnitDescription().reportLength};

    std::vector<UnitReport> nextPicture() {
        bench.settings(0x03);
        return bench.run(400ms);
    }
};

TEST_F(UnitProtocolTest, Pictures) {
    bench.scene.pen = FirmwareBench::kPen;
    bench.settings(0x01);
    EXPECT_FALSE(bench.run(40ms).empty()) << "either bit alone is no image mode";
    bench.settings(0x03);
    EXPECT_THAT(bench.run(200ms), IsEmpty());
    bench.settings(0x03);
    const auto reports = bench.run(400ms);
    EXPECT_THAT(ofKind(reports, ReportKind::picture), SizeIs(number("Pictures", "reports")));
    EXPECT_FALSE(ofKind(reports, ReportKind::penUp).empty()) << "idle reports behind it";
    for (const int letter : {int{'H'}, int{'K'}}) {
        bench.settings(0x03);
        bench.command({letter});
        EXPECT_FALSE(firmware.imageMode());
    }
}

TEST_F(UnitProtocolPictureTest, IsWholeAndItsLeftColumnBlack) {
    bench.scene.pen = CameraPoint{1616, 976};
    bench.settings(0x03);
    for (int picture = 0; picture < 2; ++picture) {
        const auto pixels = pixelsOf(nextPicture());
        ASSERT_EQ(pixels.size(), width * height);
        EXPECT_EQ(pixels[30 * width + 50], 255) << "the pen";
        std::vector<std::uint8_t> leftColumn;
        for (std::size_t row = 0; row < height; ++row)
            leftColumn.push_back(pixels[row * width]);
        EXPECT_THAT(leftColumn, Each(0));
    }
}

TEST_F(UnitProtocolPictureTest, HasNoSpotAmongItsReports) {
    bench.scene.pen = CameraPoint{100, 100};
    bench.settings(0x03);
    for (const UnitReport& report : nextPicture())
        EXPECT_EQ(report.bytes[1], 0);
}

TEST_F(UnitProtocolTest, InfraredFilter) {
    const Microseconds move = milliseconds("Infrared filter", "it takes, to move");
    const Microseconds darkness = milliseconds("Infrared filter", "darkness after a jump");
    const int jump = number("Infrared filter", "a jump is further than");
    bench.scene = {.blobs = {{600, 500}}, .darkPicture = true};
    EXPECT_THAT(bench.run(1s), IsEmpty()) << "the filter is in";
    bench.settings(0x04);
    EXPECT_THAT(kinds(bench.run(move - 1us)), testing::ElementsAre(ReportKind::penUp));
    EXPECT_FALSE(ofKind(bench.run(2 * PenStream::kFrame), ReportKind::spot).empty());
    bench.scene.blobs[0].x += jump;
    EXPECT_THAT(kinds(bench.run(40ms)), Each(ReportKind::spot)) << "no jump";
    bench.scene.blobs[0].x += jump + 1;
    EXPECT_THAT(ofKind(bench.run(darkness), ReportKind::spot), IsEmpty());
    EXPECT_FALSE(ofKind(bench.run(2 * PenStream::kFrame), ReportKind::spot).empty());
    bench.scene.darkPicture = false;
    EXPECT_THAT(ofKind(bench.run(1s), ReportKind::spot), IsEmpty()) << "a bright picture";
    bench.scene.darkPicture = true;
    bench.scene.blobs.push_back({1500, 1500});
    EXPECT_THAT(ofKind(bench.run(1s), ReportKind::spot), IsEmpty()) << "two blobs";
    bench.scene.pen = FirmwareBench::kPen;
    const auto pens = ofKind(bench.run(40ms), ReportKind::spot);
    ASSERT_FALSE(pens.empty());
    EXPECT_EQ(pens[0].bytes[1] | pens[0].bytes[2] << 8, 900) << "the pen's light wins";
}

TEST_F(UnitProtocolTest, PairingTable) {
    const int records = number("Pairing table", "records");
    const int least = number("Pairing table", "first byte of a record, at least");
    EXPECT_EQ(static_cast<std::size_t>(number("Pairing table", "bytes of a record")),
              PairingTable::kRecordBytes);
    for (int index = 0; index < records; ++index) {
        EXPECT_THAT(front(answersTo({'S', index, least + index, 2, 3, 4, 5, 6, 7, 8}).at(0).bytes, 4),
                    testing::ElementsAre('S', index, 0x7F, 0));
        EXPECT_THAT(front(answersTo({'R', index}).at(0).bytes, 11),
                    testing::ElementsAre('R', index, least + index, 2, 3, 4, 5, 6, 7, 8, 0));
    }
    EXPECT_THAT(answersTo({'R', records}), IsEmpty());
    EXPECT_THAT(answersTo({'S', records, least}), IsEmpty());
}

TEST_F(UnitProtocolDetailTest, PairingRecordsThatAreKept) {
    const int least = number("Pairing table", "first byte of a record, at least");
    const int most = number("Pairing table", "first byte of a record, at most");
    const auto kept = [&](int first) {
        EXPECT_THAT(answersTo({'S', 0, first}), SizeIs(1));
        return (*firmware.pairingTable.record(0))[0] == first;
    };
    EXPECT_TRUE(kept(least) && kept(most));
    EXPECT_FALSE(kept(least - 1) || kept(most + 1));
}

TEST_F(UnitProtocolTest, Power) {
    bench.calibrate();
    answersTo({'S', 3, 0x44});
    bench.settings(0x37);
    bench.command({'C', 0, 9, 9, 9, 9, 9, 9, 9, 9});
    bench.command({'H'});
    firmware.powerUp(bench.now);
    EXPECT_THAT(bench.run(10s), IsEmpty());
    EXPECT_FALSE(firmware.settings().filterOut || firmware.settings().mask || firmware.imageMode());
    EXPECT_TRUE(firmware.flash.calibrated());
    EXPECT_EQ((*firmware.pairingTable.record(3))[0], 0x44);
    bench.command({'C', 1, 9, 9, 9, 9, 9, 9, 9, 9});
    EXPECT_EQ((*firmware.flash.record(1))[0], 5) << "its neighbour is gone";
    bench.touch();
    EXPECT_FALSE(bench.run(20ms).empty());
}

} // namespace
} // namespace lightpen
