// SPDX-License-Identifier: MIT
// The pairing table of a wireless unit, read over a real bus into its file and sent back from it, and the
// plug pulled in the middle of either. The driver is a process of its own, since sending the table ends it.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <QApplication>
#include <QKeyEvent>
#include <QTimer>

#include "app/LightPenNX7Controller.h"
#include "device/ChTwoPoint.h"
#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/TakenReports.h"
#include "kernel/support/UnitPriority.h"
#include "kit/Eventually.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "linux_desktop/process/SystemClock.h"
#include "unit/CameraUnit.h"

namespace lightpen::test {
namespace {

using namespace std::chrono_literals;
using When = UnplugPoint::When;

// Makes this program the driver, which does on a signal what its user would have it do.
constexpr const char* kRole = "LIGHTPEN_TEST_IS_DRIVER";
constexpr int kSave = SIGUSR1; // read the table, as after a calibration
constexpr int kSend = SIGUSR2; // press Z and Delete
volatile sig_atomic_t asked = 0;

// Z and Delete, in the key window that each start with a wired unit makes.
void pressBothKeys() {
    for (QWidget* window : QApplication::topLevelWidgets())
        if (dynamic_cast<ChTwoPoint*>(window))
            for (const int key : {Qt::Key_Z, Qt::Key_Delete}) {
                QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
                QApplication::sendEvent(window, &press);
            }
}

int beDriver(int argc, char** argv) {
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    LinuxPlatformSettings settings;
    settings.applicationFolder = std::filesystem::path(LIGHTPEN_PROGRAM).parent_path();
    LinuxPlatform linuxPlatform(std::move(settings));
    Platform::setCurrent(&linuxPlatform.platform());
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [] {
        const int what = std::exchange(asked, 0);
        if (what == kSave)
            EventGeneratorNX7::sharedEventGeneratorNX7()->Nx9commd('R');
        if (what == kSend)
            pressBothKeys();
    });
    for (const int number : {kSave, kSend})
        ::signal(number, [](int signal) { asked = signal; });
    timer.start(20);
    const auto controller = std::make_shared<LightPenNX7Controller>();
    controller->awakeFromNib();
    linuxPlatform.platform().runLoop.exitProcess(linuxPlatform.run());
    return EXIT_FAILURE;
}

using Table = std::string;

// No two records alike, and each begins as those of a unit do.
Table tableOf(int step) {
    Table table;
    for (int record = 0; record < 14; ++record) {
        table += static_cast<char>(0x10 + (record * step) % 0x70);
        for (int byte = 1; byte < 8; ++byte)
            table += static_cast<char>(record * 31 + byte * step + record * byte);
    }
    return table;
}

class PairingTest : public testing::Test {
protected:
    PairingTest() {
        priority_.reset();
        unit_.information()->wireless = 0;
        std::filesystem::create_directories(std::filesystem::path(file_).parent_path());
        startDriver();
    }
    void TearDown() override {
        if (HasFailure())
            std::printf("--- the driver's log:\n%s--- end of the driver's log\n", driver_->log().c_str());
    }

    void startDriver() {
        driver_ = std::make_unique<DriverProcess>(DriverOptions{
            .user = 0,
            .groups = {},
            .environment = {{"QT_QPA_PLATFORM", "offscreen"},
                            {"XDG_DATA_HOME", data_.path().string()},
                            {kRole, "1"}},
            .program = std::filesystem::read_symlink("/proc/self/exe").string(),
        });
    }
    // Until the driver has told its controller of the unit.
    void plugIn() {
        driver_->skipLog();
        unit_.plug();
        ASSERT_TRUE(driver_->waitFor(kFlashRead));
        ASSERT_TRUE(driver_->waitFor("Light n:794"));
    }
    void ask(int what) { ASSERT_EQ(::kill(driver_->pid(), what), 0); }
    Table inFile() const { return readFile(file_); }
    void putIntoFile(const Table& table) const { writeFile(file_, table); }
    Table inUnit() {
        Table table;
        for (unsigned index = 0; index < PairingTable::kRecords; ++index) {
            const auto record = unit_.pairingTable()->record(index);
            table.append(record->begin(), record->end());
        }
        return table;
    }
    void putIntoUnit(const Table& table) {
        for (unsigned index = 0; index < PairingTable::kRecords; ++index) {
            PairingTable::Record record{};
            table.copy(reinterpret_cast<char*>(record.data()), record.size(), index * record.size());
            ASSERT_TRUE(unit_.pairingTable()->store(index, record, true));
        }
    }
    void pullAt(char command, int occurrence, When when) {
        unit_.faults()->unplug = UnplugPoint{
            .command = static_cast<std::uint8_t>(command), .occurrence = occurrence, .when = when};
    }
    // How many records the driver says it has sent of a table that was cut off; -1 when it says nothing.
    int sentBeforeTheEnd() {
        const std::string words = "Pairing: the table could not be sent whole; ";
        if (!driver_->waitFor(words))
            return -1;
        const std::string log = driver_->log();
        return std::stoi(log.substr(log.rfind(words) + words.size()));
    }
    // The record that the unit took last, of these output reports; -1 when there was none.
    static int lastRecordOf(const std::vector<ReportBytes>& reports) {
        int last = -1;
        for (const ReportBytes& report : reports)
            if (report[0] == 'S')
                last = report[1];
        return last;
    }
    void expectToSave(const Table& table) {
        ask(kSave);
        EXPECT_TRUE(eventually([&] { return inFile() == table; }));
        EXPECT_EQ(inUnit(), table);
    }
    void expectToSend(const Table& table) {
        ask(kSend);
        EXPECT_TRUE(eventually([&] { return !driver_->running(); }));
        EXPECT_EQ(driver_->end(), 0);
        EXPECT_EQ(inUnit(), table);
        EXPECT_EQ(inFile(), table);
    }

    const Table first_ = tableOf(3);
    const Table second_ = tableOf(5);
    TemporaryDirectory data_;
    const std::string file_ = data_.file("LightPenNX7/NX9_Wireless.bin");
    SystemClock clock_;
    std::optional<UnitPriority> priority_{std::in_place};
    GadgetBus bus_{clock_};
    CameraUnit& unit_ = bus_.add<CameraUnit>({.reportLength = 804});
    std::unique_ptr<DriverProcess> driver_;
};

TEST_F(PairingTest, TheTableIsSavedAndAnotherOneSentBack) {
    putIntoUnit(first_);
    putIntoFile(second_);
    ASSERT_NO_FATAL_FAILURE(plugIn());
    expectToSave(first_);
    putIntoFile(second_);
    expectToSend(second_);
}

TEST_F(PairingTest, APlugThatIsPulledBeforeTheLastRecordLeavesTheOldFile) {
    putIntoUnit(first_);
    putIntoFile(second_);
    ASSERT_NO_FATAL_FAILURE(plugIn());
    pullAt('R', 14, When::beforeReply);
    ask(kSave);
    ASSERT_TRUE(driver_->waitFor("Pairing: the table could not be read whole"));
    ASSERT_TRUE(driver_->waitFor(kRemoved));
    EXPECT_EQ(inFile(), second_);
    ASSERT_NO_FATAL_FAILURE(plugIn());
    expectToSave(first_);
    EXPECT_EQ(driver_->end(), 0);
}

TEST_F(PairingTest, APlugThatIsPulledWhileTheTableIsSentEndsTheProgram) {
    putIntoUnit(first_);
    putIntoFile(second_);
    ASSERT_NO_FATAL_FAILURE(plugIn());
    pullAt('S', 8, When::beforeReply);
    const TakenReports taken(unit_);
    ask(kSend);
    const int sent = sentBeforeTheEnd();
    EXPECT_TRUE(eventually([this] { return !driver_->running(); }));
    EXPECT_EQ(driver_->end(), 0);
    EXPECT_EQ(inFile(), second_);
    // The unit took this record, and never said so. It is the eighth, unless a reply was late: the driver
    // sends a record again then, and takes the first one's second reply for that of the next record.
    const int last = lastRecordOf(taken.reports());
    EXPECT_GE(last, 1);
    EXPECT_LE(last, 7);
    EXPECT_GE(sent, last);
    EXPECT_LE(sent, std::min(last + 1, 7));
    const auto changed = static_cast<std::size_t>(last + 1) * 8;
    EXPECT_EQ(inUnit(), second_.substr(0, changed) + first_.substr(changed));
    startDriver();
    ASSERT_NO_FATAL_FAILURE(plugIn());
    expectToSend(second_);
}

} // namespace
} // namespace lightpen::test

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsSet(lightpen::test::kRole))
        return lightpen::test::beDriver(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
