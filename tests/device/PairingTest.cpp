// SPDX-License-Identifier: MIT
// The pairing table between a unit and its file: the bytes both ways, the lines, and what never ends.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kFile = "NX9_Wireless.bin";

// The table of a unit, written out: no two records begin alike, and none is sorted.
const std::vector<ReportBytes> kTable{
    {0x11, 0x00, 0xFF, 0x52, 0x01, 0x80, 0x7F, 0x20}, {0x12, 0xA1, 0x00, 0x53, 0xC3, 0x04, 0x05, 0x06},
    {0x13, 0x99, 0x98, 0x97, 0x96, 0x95, 0x94, 0x93}, {0x14, 0x01, 0x02, 0x03, 0x05, 0x08, 0x0D, 0x15},
    {0x15, 0x22, 0x44, 0x66, 0x88, 0xAA, 0xCC, 0xEE}, {0x16, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00},
    {0x17, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, {0x18, 0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70},
    {0x19, 0x07, 0x0E, 0x15, 0x1C, 0x23, 0x2A, 0x31}, {0x1A, 0xDE, 0xAD, 0xBE, 0xEF, 0xCA, 0xFE, 0xF0},
    {0x1B, 0x03, 0x01, 0x04, 0x01, 0x05, 0x09, 0x02}, {0x1C, 0x02, 0x07, 0x01, 0x08, 0x02, 0x08, 0x01},
    {0x1D, 0x01, 0x04, 0x09, 0x10, 0x19, 0x24, 0x31}, {0x1E, 0x7E, 0x81, 0x18, 0xE7, 0x42, 0xBD, 0x5A}};

ReportBytes wholeTable() {
    ReportBytes bytes;
    for (const ReportBytes& record : kTable)
        bytes.insert(bytes.end(), record.begin(), record.end());
    return bytes;
}

ReportBytes withRecord(std::uint8_t letter, int index, const ReportBytes& record) {
    ReportBytes report{letter, static_cast<std::uint8_t>(index)};
    report.insert(report.end(), record.begin(), record.end());
    return report;
}

std::string hex(unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", value);
    return text;
}

class PairingTest : public UnitFixture {
protected:
    PairingTest() {
        openUnit();
        clearTimeline();
        desk.dataFiles.put(kFile, ReportBytes(112, 0xEE));
        onSend = [this](const SentReport& report, int) { return answer(report); };
    }
    // A unit with the table, which keeps what it is sent.
    IOReturn answer(const SentReport& report) {
        const std::size_t index = report.bytes.at(1);
        if (report.bytes[0] == 'R')
            unit.sendReport(withRecord('R', static_cast<int>(index), kTable.at(index)));
        if (report.bytes[0] == 'S') {
            received.emplace_back(report.bytes.begin(), report.bytes.begin() + 10);
            unit.sendReport({'S', 0x77});
        }
        return kIOReturnSuccess;
    }
    // Every send of a test that would otherwise go on for ever.
    IOReturn endAfter(int sends, int number) {
        if (number == sends)
            desk.runLoop.terminate(0);
        return kIOReturnSuccess;
    }
    std::vector<std::string> linesStartingWith(const std::string& start) {
        auto timeline = takeTimeline();
        std::erase_if(timeline, [&](const std::string& what) { return !what.starts_with(start); });
        return timeline;
    }
    std::optional<ReportBytes> file() const { return desk.dataFiles.contents(kFile); }

    std::vector<ReportBytes> received;
};

// Saving

TEST_F(PairingTest, ASavedTableIsTheUnitsTable) {
    driver->Nx9commd('R');
    EXPECT_EQ(file(), wholeTable());
    EXPECT_EQ(file()->size(), 112u);
    EXPECT_EQ(driver->_RetPairingData.load(), nullptr);
}

TEST_F(PairingTest, EachStepOfSaving) {
    driver->Nx9commd('R');
    std::vector<std::string> expected{
        "device.allocQueue()",   "queue1.create(0, 1)",   "Event n:2323 Input report element for 0",
        "Event n:2349 ",         "queue1.hasElement(17)", "queue1.addElement(17, 0)",
        "Event n:2696 result:0", "queue1.start()"};
    for (int i = 0; i < 14; ++i) {
        expected.push_back(sentText({IOHIDReportType::output, 0,
                                     [i] {
                                         ReportBytes command(32);
                                         command[0] = 0x52;
                                         command[1] = static_cast<std::uint8_t>(i);
                                         return command;
                                     }(),
                                     0xFFFFFFFF}));
        expected.push_back("out: Event n:2897 ID_code:52 indexValue " + std::to_string(i) + "\n");
        expected.emplace_back("sleep 100000");
        const std::string index = std::to_string(i);
        expected.push_back("out: Event n:2941 indexNumber:" + index + " j 0 : 52 \n");
        expected.push_back("out: Event n:2941 indexNumber:" + index + " j 1 : " + hex(unsigned(i)) + " \n");
        for (std::size_t j = 2; j < 10; ++j) {
            const std::string byte = hex(kTable[static_cast<std::size_t>(i)][j - 2]);
            expected.push_back("out: Event n:2937 daCont:" + std::to_string(i * 8 + int(j) - 2) + " j " +
                               std::to_string(j) + " : " + byte + " DataArray[" + byte + "]\n");
        }
    }
    expected.emplace_back("Event n:2749 file:/user/NX9_Wireless.bin");
    EXPECT_EQ(takeTimeline(), expected);
}

TEST_F(PairingTest, AWrongIndexOrLetterIsPrintedAndAskedForAgain) {
    const std::vector<ReportBytes> wrong{withRecord('R', 1, kTable[0]), withRecord('S', 0, kTable[0]),
                                         withRecord('r', 0, kTable[0]), ReportBytes{}};
    onSend = [&](const SentReport& report, int number) {
        if (static_cast<std::size_t>(number) > wrong.size())
            return answer(report);
        unit.sendReport(wrong[static_cast<std::size_t>(number) - 1]);
        return kIOReturnSuccess;
    };
    driver->Nx9commd('R');
    EXPECT_EQ(file(), wholeTable());
    const auto printed = linesStartingWith("out: ");
    EXPECT_THAT(
        std::vector(printed.begin(), printed.begin() + 12),
        ElementsAre(
            "out: Event n:2897 ID_code:52 indexValue 0\n", "out: Event n:2941 indexNumber:0 j 0 : 52 \n",
            "out: Event n:2941 indexNumber:0 j 1 : 1 \n", "out: Event n:2941 indexNumber:0 j 2 : 11 \n",
            "out: Event n:2941 indexNumber:0 j 3 : 0 \n", "out: Event n:2941 indexNumber:0 j 4 : ff \n",
            "out: Event n:2941 indexNumber:0 j 5 : 52 \n", "out: Event n:2941 indexNumber:0 j 6 : 1 \n",
            "out: Event n:2941 indexNumber:0 j 7 : 80 \n", "out: Event n:2941 indexNumber:0 j 8 : 7f \n",
            "out: Event n:2941 indexNumber:0 j 9 : 20 \n", "out: Event n:2897 ID_code:52 indexValue 0\n"));
}

TEST_F(PairingTest, ASilentUnitIsAskedEvery100MillisecondsForEver) {
    onSend = [this](const SentReport& report, int number) {
        return number < 500 ? kIOReturnSuccess : answer(report);
    };
    const Microseconds before = desk.clock.now();
    driver->Nx9commd('R');
    EXPECT_EQ(desk.clock.now() - before, milliseconds(100) * (499 + 14));
    EXPECT_EQ(file(), wholeTable());
}

TEST_F(PairingTest, AFailedRequestIsRepeatedWithoutAPause) {
    onSend = [this](const SentReport& report, int number) {
        return number <= 3 ? kIOReturnError : answer(report);
    };
    driver->Nx9commd('R');
    EXPECT_EQ(desk.clock.takeSleeps().size(), 14u);
    EXPECT_THAT(linesStartingWith("Event n:2915"),
                ElementsAre("Event n:2915 erase flash with ID_code:0x52 failed",
                            "Event n:2915 erase flash with ID_code:0x52 failed",
                            "Event n:2915 erase flash with ID_code:0x52 failed"));
    EXPECT_EQ(file(), wholeTable());
}

TEST_F(PairingTest, AQueueErrorIsLoggedAndTheRequestRepeated) {
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    onSend = [this](const SentReport& report, int number) {
        if (number == 3)
            unit.script().carryOut("queue.getNextEvent");
        return answer(report);
    };
    driver->Nx9commd('R');
    EXPECT_THAT(linesStartingWith("Event n:2927"),
                ElementsAre("Event n:2927 error : e00002cd", "Event n:2927 error : e00002cd"));
    EXPECT_EQ(file(), wholeTable());
}

TEST_F(PairingTest, OnlyTheLowByteOfTheCodeIsTheLetter) {
    onSend = [this](const SentReport& report, int) {
        unit.sendReport(withRecord(report.bytes[0], report.bytes[1], kTable.at(report.bytes[1])));
        return kIOReturnSuccess;
    };
    driver->Nx9commd(0x12345651);
    EXPECT_EQ(unit.takeSent().front().bytes[0], 0x51);
    EXPECT_THAT(takeTimeline(), Contains("out: Event n:2897 ID_code:12345651 indexValue 0\n"));
    EXPECT_EQ(file(), wholeTable());
}

TEST_F(PairingTest, AQueueThatIsThereIsUsedAndForgottenUndisposed) {
    driver->Nx9commd('R');
    auto queue = unit.makeQueue();
    queue->create(0, 1);
    queue->addElement(unit.shape().cookie, 0);
    driver->_RetPairingData = queue;
    clearTimeline();
    driver->Nx9commd('R');
    const auto timeline = takeTimeline();
    EXPECT_EQ(timeline.at(0), "Event n:2687 alloc points queue failed");
    EXPECT_EQ(timeline.at(1), "queue2.start()");
    EXPECT_THAT(timeline, Not(Contains("queue2.stop()")));
    EXPECT_THAT(timeline, Not(Contains("queue2.dispose()")));
    EXPECT_EQ(driver->_RetPairingData.load(), nullptr);
}

TEST_F(PairingTest, TheFileSaysWhereItIsAndWhetherItCouldBeWritten) {
    desk.dataFiles.full = true;
    driver->Nx9commd('R');
    EXPECT_THAT(linesStartingWith("Event n:27"),
                ElementsAre("Event n:2749 file:/user/NX9_Wireless.bin", "Event n:2755 Error"));
    EXPECT_EQ(file(), ReportBytes(112, 0xEE)) << "the old one is still there";
}

TEST_F(PairingTest, WithoutAFileNothingIsSaved) {
    MemoryDataFiles none;
    Platform withoutFiles{desk.registry,      desk.pointer,   desk.runLoop, desk.clock,    desk.threads,
                          desk.notifications, desk.broadcast, desk.desktop, desk.defaults, desk.systemUI,
                          desk.sounds,        none,           desk.shell};
    Platform::setCurrent(&withoutFiles);
    driver->Nx9commd('R');
    Platform::setCurrent(&desk.platform);
    EXPECT_THAT(linesStartingWith("Event n:27"),
                ElementsAre("Event n:2749 file:(null)", "Event n:2755 Error"));
    EXPECT_EQ(none.contents(kFile), std::nullopt);
}

TEST_F(PairingTest, AUnitThatLeavesWhileItIsReadSavesNothing) {
    for (int leaves = 1; leaves <= 14; ++leaves) {
        SCOPED_TRACE(leaves);
        onSend = [&, sends = 0](const SentReport& report, int) mutable {
            if (++sends == leaves)
                unit.unplug();
            return answer(report);
        };
        desk.clock.takeSleeps();
        driver->Nx9commd('R');
        EXPECT_EQ(file(), ReportBytes(112, 0xEE));
        EXPECT_EQ(driver->_RetPairingData.load(), nullptr);
        EXPECT_EQ(desk.clock.takeSleeps().size(), std::size_t(leaves)) << "the next request fails at once";
        const auto lines = linesStartingWith("Event n:2");
        EXPECT_EQ(lines.back(), "Event n:2915 erase flash with ID_code:0x52 failed");
        unit.plugIn();
        openUnit();
        clearTimeline();
    }
}

TEST_F(PairingTest, AUnitThatIsReplacedEndsTheReading) {
    onSend = [this](const SentReport&, int number) {
        if (number == 4)
            driver->_pphidDeviceInterface = unit.openDevice();
        return kIOReturnSuccess;
    };
    driver->Nx9commd('R');
    EXPECT_EQ(file(), ReportBytes(112, 0xEE));
}

TEST_F(PairingTest, WithoutAnInterfaceOrAtTheEndOfTheProgramNothingIsRead) {
    onSend = [this](const SentReport&, int number) { return endAfter(7, number); };
    driver->Nx9commd('R');
    EXPECT_EQ(file(), ReportBytes(112, 0xEE));
    driver->_pphidDeviceInterface = nullptr;
    clearTimeline();
    driver->Nx9commd('R');
    EXPECT_THAT(takeTimeline(),
                ElementsAre("Event n:2323 Input report element for 0", "Event n:2349 ",
                            "Event n:2696 result:-536870208",
                            "Event n:1367 doCommandFromOutputBuffer error. command size is ZERO.",
                            "out: Event n:2897 ID_code:52 indexValue 0\n", StartsWith("Pairing: ")));
}

// Sending

TEST_F(PairingTest, AFileIsSentRecordByRecord) {
    desk.dataFiles.put(kFile, wholeTable());
    driver->Nx9inPairing();
    ASSERT_EQ(received.size(), 14u);
    for (int i = 0; i < 14; ++i)
        EXPECT_EQ(received[std::size_t(i)], withRecord('S', i, kTable[std::size_t(i)]));
    EXPECT_NE(driver->_PairingData.load(), nullptr) << "it stays";
}

TEST_F(PairingTest, EachStepOfSending) {
    desk.dataFiles.put(kFile, wholeTable());
    driver->Nx9inPairing();
    std::vector<std::string> expected{"Event n:2764 file:/shipped/NX9_Wireless.bin",
                                      "device.allocQueue()",
                                      "queue1.create(0, 1)",
                                      "Event n:2323 Input report element for 0",
                                      "Event n:2349 ",
                                      "queue1.hasElement(17)",
                                      "queue1.addElement(17, 0)",
                                      "Event n:2789 result:0",
                                      "queue1.start()"};
    for (int i = 0; i < 14; ++i) {
        const ReportBytes& record = kTable[std::size_t(i)];
        for (std::size_t j = 2; j < 10; ++j)
            expected.push_back("out: Event n:2661 (53 , " + hex(unsigned(i)) + ") , (" + std::to_string(j) +
                               " , " + hex(record[j - 2]) + ")\n");
        ReportBytes command = withRecord('S', i, record);
        command.resize(32);
        expected.push_back(sentText({IOHIDReportType::output, 0, command, 0xFFFFFFFF}));
        expected.emplace_back("sleep 100000");
        expected.emplace_back("out: Event n:2790 (53 , 119)\n");
    }
    EXPECT_EQ(takeTimeline(), expected);
}

TEST_F(PairingTest, AnUnconfirmedRecordIsSentAgain) {
    onSend = [this](const SentReport& report, int number) {
        if (number == 2)
            unit.sendReport({'R', 0x0C});
        return number < 4 ? kIOReturnSuccess : answer(report);
    };
    driver->Nx9inPairing();
    const auto confirmations = linesStartingWith("out: Event n:2790");
    ASSERT_EQ(confirmations.size(), 17u);
    EXPECT_EQ(confirmations[0], "out: Event n:2790 (0 , 0)\n");
    EXPECT_EQ(confirmations[1], "out: Event n:2790 (52 , 12)\n");
    EXPECT_EQ(confirmations[2], "out: Event n:2790 (0 , 0)\n");
    EXPECT_EQ(confirmations[3], "out: Event n:2790 (53 , 119)\n");
    EXPECT_EQ(desk.clock.takeSleeps(), std::vector<Microseconds>(17, milliseconds(100)));
    EXPECT_EQ(received.size(), 14u);
}

TEST_F(PairingTest, AFailedSendIsNotLookedAt) {
    onSend = [this](const SentReport& report, int number) {
        answer(report);
        return number % 2 ? kIOReturnError : kIOReturnSuccess;
    };
    driver->Nx9inPairing();
    EXPECT_EQ(received.size(), 14u);
}

TEST_F(PairingTest, AQueueErrorWhileSendingIsLogged) {
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    onSend = [this](const SentReport& report, int number) {
        if (number == 2)
            unit.script().carryOut("queue.getNextEvent");
        return answer(report);
    };
    driver->Nx9inPairing();
    EXPECT_THAT(linesStartingWith("Event n:2817"),
                ElementsAre("Event n:2817 error when get calibration points from flash, e00002cd"));
}

TEST_F(PairingTest, TheQueueOfAnEarlierSendingIsUsedAgain) {
    driver->Nx9inPairing();
    clearTimeline();
    driver->Nx9inPairing();
    const auto timeline = takeTimeline();
    EXPECT_EQ(timeline.at(1), "Event n:2780 alloc points queue failed");
    EXPECT_EQ(timeline.at(2), "queue1.start()");
}

struct FileCase {
    const char* name;
    std::optional<std::size_t> length; // none: cannot be read
};

class PairingFileTest : public PairingTest, public testing::WithParamInterface<FileCase> {};

TEST_P(PairingFileTest, SendsWhatItHoldsAndZerosBehind) {
    const auto length = GetParam().length;
    ReportBytes contents(length.value_or(0));
    for (std::size_t i = 0; i < contents.size(); ++i)
        contents[i] = static_cast<std::uint8_t>(1 + i % 250);
    desk.dataFiles.put(kFile, length ? std::optional(contents) : std::nullopt);
    driver->Nx9inPairing();
    ASSERT_EQ(received.size(), 14u);
    for (std::size_t r = 0; r < 14; ++r)
        for (std::size_t j = 0; j < 8; ++j)
            EXPECT_EQ(received[r][2 + j], 8 * r + j < contents.size() ? contents[8 * r + j] : 0);
    const auto lines = linesStartingWith("Event n:2644");
    EXPECT_EQ(lines.size(), length ? 0u : 1u);
    EXPECT_EQ(file(), length ? std::optional(contents) : std::nullopt) << "sending changes nothing";
}

INSTANTIATE_TEST_SUITE_P(, PairingFileTest,
                         testing::Values(FileCase{"Unreadable", std::nullopt}, FileCase{"Empty", 0},
                                         FileCase{"OneByte", 1}, FileCase{"OneShort", 111},
                                         FileCase{"Exact", 112}, FileCase{"Longer", 113},
                                         FileCase{"Limit", 560}, FileCase{"BeyondTheLimit", 5000}),
                         [](const auto& file) { return file.param.name; });

TEST_F(PairingTest, AUnitThatLeavesWhileItIsSentToEndsIt) {
    for (int leaves = 1; leaves <= 14; ++leaves) {
        SCOPED_TRACE(leaves);
        onSend = [&, sends = 0](const SentReport& report, int) mutable {
            if (++sends == leaves)
                unit.unplug();
            return answer(report);
        };
        desk.clock.takeSleeps();
        driver->Nx9inPairing();
        EXPECT_LE(desk.clock.takeSleeps().size(), std::size_t(leaves) + 1);
        EXPECT_THAT(linesStartingWith("Pairing: ").size(), 1u);
        driver->_PairingData = nullptr;
        unit.plugIn();
        openUnit();
        clearTimeline();
    }
}

// The removal is reported on the main thread while this one waits.
TEST_F(PairingTest, ARemovedOrReplacedInterfaceEndsTheSending) {
    for (const bool replaced : {false, true}) {
        openUnit();
        onSend = [&, sends = 0](const SentReport&, int) mutable {
            if (++sends == 5)
                driver->_pphidDeviceInterface = replaced ? unit.openDevice() : nullptr;
            return kIOReturnSuccess;
        };
        unit.takeSent();
        driver->Nx9inPairing();
        EXPECT_EQ(unit.takeSent().size(), 5u);
    }
}

TEST_F(PairingTest, TheEndOfTheProgramEndsTheSending) {
    onSend = [this](const SentReport&, int number) { return endAfter(6, number); };
    driver->Nx9inPairing();
    EXPECT_EQ(unit.takeSent().size(), 6u);
}

} // namespace
} // namespace lightpen
