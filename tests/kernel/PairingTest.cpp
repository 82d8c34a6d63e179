// SPDX-License-Identifier: MIT
// The pairing table of a wireless unit, read over a real bus into its file and sent back from it, and the
// plug pulled in the middle of either. The driver is a process of its own, since sending the table ends it.
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include <QApplication>
#include <QTimer>

#include "app/LightPenNX7Controller.h"
#include "device/SharedState.h"
#include "emulator/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/HostNodes.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/QtApplicationSetup.h"
#include "linux_desktop/SystemClock.h"

namespace lightpen::test {
namespace {

using namespace std::chrono_literals;
using When = UnplugPoint::When;

// Makes this program the driver, which does on a signal what its user would have it do.
constexpr const char* kRole = "LIGHTPEN_TEST_IS_DRIVER";
constexpr int kSave = SIGUSR1; // read the table, as after a calibration
constexpr int kSend = SIGUSR2; // press Z and Delete
volatile sig_atomic_t asked = 0;

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
            sharedState.keyZPressed = sharedState.keyDeletePressed = 1;
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
    void expectToSave(const Table& table) {
        ask(kSave);
        EXPECT_TRUE(waitUntil([&] { return inFile() == table; }));
        EXPECT_EQ(inUnit(), table);
    }
    void expectToSend(const Table& table) {
        ask(kSend);
        EXPECT_TRUE(waitUntil([&] { return !driver_->running(); }));
        EXPECT_EQ(driver_->end(), 0);
        EXPECT_EQ(inUnit(), table);
        EXPECT_EQ(inFile(), table);
    }

    const Table first_ = tableOf(3);
    const Table second_ = tableOf(5);
    TemporaryDirectory data_;
    const std::string file_ = data_.file("LightPenNX7/NX9_Wireless.bin");
    SystemClock clock_;
    GadgetBus bus_{clock_};
    CameraUnit& unit_ = bus_.addUnit({.reportLength = 804});
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
    ask(kSend);
    ASSERT_TRUE(driver_->waitFor("Pairing: the table could not be sent whole; 7 of its records were"));
    EXPECT_TRUE(waitUntil([this] { return !driver_->running(); }));
    EXPECT_EQ(driver_->end(), 0);
    EXPECT_EQ(inFile(), second_);
    // The unit took the eighth record, and never said so.
    EXPECT_EQ(inUnit(), second_.substr(0, 64) + first_.substr(64));
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
