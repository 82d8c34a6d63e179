// SPDX-License-Identifier: MIT
// The pairing table between a unit and its file: the bytes both ways, the lines, and what never ends.
#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::SizeIs;

constexpr const char* kFile = "NX9_Wireless.bin";
const ReportBytes kOldFile(112, 0xEE);

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

ReportBytes withRecord(std::uint8_t letter, std::size_t index, const ReportBytes& record) {
    ReportBytes report{letter, static_cast<std::uint8_t>(index)};
    report.insert(report.end(), record.begin(), record.end());
    return report;
}

// A unit with the table, which keeps what it is sent.
class PairingTest : public UnitFixture {
protected:
    PairingTest() {
        openInterface();
        desk.dataFiles.put(kFile, kOldFile);
        answerAfter(0);
    }
    // The unit answers from the send behind this one on; before it, this is done at each.
    void answerAfter(int sends, std::function<IOReturn(const SentReport&, int number)> before = {}) {
        unitAnswers.then = [this, sends, before, number = 0](const SentReport& report) mutable {
            if (++number <= sends)
                return before ? before(report, number) : kIOReturnSuccess;
            return answer(report);
        };
    }
    IOReturn answer(const SentReport& report) {
        const std::size_t index = report.bytes.at(1);
        if (report.bytes[0] == 'R')
            unit.sendReport(withRecord('R', index, kTable.at(index)));
        if (report.bytes[0] == 'S') {
            received.emplace_back(report.bytes.begin(), report.bytes.begin() + 10);
            unit.sendReport({'S', 0x77});
        }
        return kIOReturnSuccess;
    }
    // At this send the unit leaves, or the program ends.
    void endAt(int send, const std::function<void()>& end) {
        unitAnswers.then = [this, send, end, number = 0](const SentReport& report) mutable {
            if (++number == send)
                end();
            return answer(report);
        };
    }
    void openAnew() {
        unplug();
        openInterface();
    }
    std::optional<ReportBytes> file() const { return desk.dataFiles.contents(kFile); }

    std::vector<ReportBytes> received;
};

// Saving

TEST_F(PairingTest, ASavedTableIsTheUnitsTable) {
    driver->Nx9commd('R');
    EXPECT_TRUE(matchesTranscript("pairing_save"));
    EXPECT_EQ(file(), wholeTable());
    EXPECT_EQ(unit.heldQueues(), 0);
}

TEST_F(PairingTest, AWrongIndexOrLetterIsPrintedAndAskedForAgain) {
    const std::vector<ReportBytes> wrong{withRecord('R', 1, kTable[0]), withRecord('S', 0, kTable[0]),
                                         withRecord('r', 0, kTable[0]), ReportBytes{}};
    answerAfter(4, [&](const SentReport&, int number) {
        unit.sendReport(wrong.at(static_cast<std::size_t>(number) - 1));
        return kIOReturnSuccess;
    });
    driver->Nx9commd('R');
    EXPECT_TRUE(matchesTranscript("pairing_save_wrong_answers"));
    EXPECT_EQ(file(), wholeTable());
}

TEST_F(PairingTest, ASilentUnitIsAskedEvery100MillisecondsForEver) {
    answerAfter(499);
    int looks = 0;
    unit.script().onPoll = [&] { ++looks; };
    EXPECT_EQ(timeOf([this] { driver->Nx9commd('R'); }), milliseconds(100) * (499 + 14));
    EXPECT_EQ(looks, 499 + 14) << "one for each question";
    EXPECT_EQ(file(), wholeTable());
}

TEST_F(PairingTest, FailuresAreLoggedAndTheRequestRepeated) {
    answerAfter(3, [](const SentReport&, int) { return kIOReturnError; });
    EXPECT_EQ(timeOf([this] { driver->Nx9commd('R'); }), milliseconds(100 * 14 + 3));
    EXPECT_EQ(file(), wholeTable());
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    endAt(3, [this] { unit.script().carryOut("queue.getNextEvent"); });
    desk.dataFiles.full = true;
    driver->Nx9commd('R');
    EXPECT_TRUE(matchesTranscript("pairing_save_failures"));
}

TEST_F(PairingTest, OnlyTheLowByteOfTheCodeIsTheLetter) {
    unitAnswers.then = [this](const SentReport& report) {
        unit.sendReport(withRecord(report.bytes[0], report.bytes[1], kTable.at(report.bytes[1])));
        return kIOReturnSuccess;
    };
    driver->Nx9commd(0x12345651);
    EXPECT_EQ(unit.takeSent().front().bytes[0], 0x51);
    EXPECT_EQ(file(), wholeTable());
}

TEST_F(PairingTest, WithoutAFileNothingIsSaved) {
    MemoryDataFiles none;
    Platform withoutFiles{desk.registry,      desk.pointer,   desk.runLoop, desk.clock,    desk.threads,
                          desk.notifications, desk.broadcast, desk.desktop, desk.defaults, desk.systemUI,
                          desk.sounds,        none,           desk.shell};
    Platform::setCurrent(&withoutFiles);
    driver->Nx9commd('R');
    Platform::setCurrent(&desk.platform);
    EXPECT_EQ(none.contents(kFile), std::nullopt);
    EXPECT_EQ(file(), kOldFile);
}

class LeavingUnitTest : public PairingTest, public testing::WithParamInterface<int> {
protected:
    LeavingUnitTest() {
        endAt(GetParam(), [this] { unit.unplug(); });
    }
};

TEST_P(LeavingUnitTest, SavesNothing) {
    EXPECT_EQ(timeOf([this] { driver->Nx9commd('R'); }), milliseconds(100) * GetParam())
        << "the next request fails at once";
    EXPECT_EQ(file(), kOldFile);
    EXPECT_EQ(unit.heldQueues(), 0);
}

TEST_P(LeavingUnitTest, EndsTheSending) {
    EXPECT_LE(timeOf([this] { driver->Nx9inPairing(); }), milliseconds(100) * (GetParam() + 1));
    EXPECT_EQ(received.size(), static_cast<std::size_t>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(, LeavingUnitTest, testing::Range(1, 15));

// The removal, and then the arrival, is reported while this one waits.
TEST_F(PairingTest, AUnitThatIsReplacedEndsEitherExchange) {
    for (const bool saving : {true, false}) {
        openAnew();
        unitAnswers.then = [this, number = 0](const SentReport&) mutable {
            if (++number == 4) {
                driver->releaseHIDInterface();
                driver->startHIDMode();
            }
            return kIOReturnSuccess;
        };
        startNoThreads();
        if (saving)
            driver->Nx9commd('R');
        else
            driver->Nx9inPairing();
        const auto sent = lettersSent();
        EXPECT_EQ(std::count(sent.begin(), sent.end(), saving ? "R0" : "S0"), 4);
        EXPECT_EQ(file(), kOldFile);
    }
}

TEST_F(PairingTest, WithoutAnInterfaceOrAtTheEndOfTheProgramNothingIsRead) {
    driver->releaseHIDInterface();
    happened.clear();
    driver->Nx9commd('R');
    EXPECT_TRUE(matchesTranscript("pairing_without_interface"));
    openAnew();
    endAt(7, [this] { desk.runLoop.terminate(0); });
    driver->Nx9commd('R');
    EXPECT_EQ(file(), kOldFile);
}

// Sending

TEST_F(PairingTest, AFileIsSentRecordByRecord) {
    desk.dataFiles.put(kFile, wholeTable());
    driver->Nx9inPairing();
    ASSERT_THAT(received, SizeIs(14));
    for (std::size_t i = 0; i < 14; ++i)
        EXPECT_EQ(received[i], withRecord('S', i, kTable[i]));
    EXPECT_EQ(unit.heldQueues(), 1) << "it stays, and is used again";
    desk.dataFiles.put(kFile, std::nullopt);
    driver->Nx9inPairing();
    EXPECT_TRUE(matchesTranscript("pairing_send"));
    EXPECT_EQ(unit.heldQueues(), 1);
}

TEST_F(PairingTest, AnUnconfirmedRecordIsSentAgain) {
    answerAfter(3, [this](const SentReport&, int number) {
        if (number == 2)
            unit.sendReport({'R', 0x0C});
        return kIOReturnSuccess;
    });
    int looks = 0;
    unit.script().onPoll = [&] { ++looks; };
    EXPECT_EQ(timeOf([this] { driver->Nx9inPairing(); }), milliseconds(100) * 17);
    EXPECT_EQ(looks, 17) << "one for each record that is sent";
    EXPECT_TRUE(matchesTranscript("pairing_send_unconfirmed"));
    EXPECT_THAT(received, SizeIs(14));
}

TEST_F(PairingTest, AFailedSendIsNotLookedAtAndAQueueErrorIsLogged) {
    unitAnswers.then = [this, number = 0](const SentReport& report) mutable {
        answer(report);
        return ++number % 2 ? kIOReturnError : kIOReturnSuccess;
    };
    driver->Nx9inPairing();
    EXPECT_THAT(received, SizeIs(14));
    log.clear();
    unit.script().answer("queue.getNextEvent", kIOReturnNotOpen);
    endAt(2, [this] { unit.script().carryOut("queue.getNextEvent"); });
    driver->Nx9inPairing();
    EXPECT_THAT(log.lines(), Contains("Event n:2817 error when get calibration points from flash, e00002cd"));
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
    ASSERT_THAT(received, SizeIs(14));
    for (std::size_t r = 0; r < 14; ++r)
        for (std::size_t j = 0; j < 8; ++j)
            EXPECT_EQ(received[r][2 + j], 8 * r + j < contents.size() ? contents[8 * r + j] : 0);
    EXPECT_EQ(file(), length ? std::optional(contents) : std::nullopt) << "sending changes nothing";
}

INSTANTIATE_TEST_SUITE_P(, PairingFileTest,
                         testing::Values(FileCase{"Unreadable", std::nullopt}, FileCase{"Empty", 0},
                                         FileCase{"OneByte", 1}, FileCase{"OneShort", 111},
                                         FileCase{"Exact", 112}, FileCase{"Longer", 113},
                                         FileCase{"Limit", 560}, FileCase{"BeyondTheLimit", 5000}),
                         [](const auto& file) { return file.param.name; });

TEST_F(PairingTest, TheEndOfTheProgramEndsTheSending) {
    endAt(6, [this] { desk.runLoop.terminate(0); });
    driver->Nx9inPairing();
    EXPECT_THAT(received, SizeIs(6));
}

} // namespace
} // namespace lightpen
