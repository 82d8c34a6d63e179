// SPDX-License-Identifier: MIT
// Z and Delete at the keyboard of a desktop, with a unit for wireless pens: the real driver, in a process of
// its own, sends its pairing file to the unit and ends.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <QApplication>

#include "kit/Eventually.h"
#include "kit/Pipe.h"
#include "kit/linux/WindowManager.h"
#include "kit/linux/XNeighbour.h"
#include "on_screen/DriverStage.h"

namespace lightpen {
namespace {

// What the driver's process leaves in its folder, and says when the unit is in use.
constexpr const char* kLog = "driver.log";
constexpr const char* kCommands = "commands"; // each "S" that the unit took: index and record
constexpr const char* kTable = "table";       // the unit's table, as of its last answer to one
constexpr const char* kReady = "ready\n";

constexpr std::size_t kTableBytes = PairingTable::kRecords * PairingTable::kRecordBytes;
constexpr std::size_t kCommandBytes = 1 + PairingTable::kRecordBytes;

std::string tableOf(CameraUnit& unit) {
    std::string table;
    for (unsigned index = 0; index < PairingTable::kRecords; ++index) {
        const auto record = unit.pairingTable()->record(index);
        table.append(record->begin(), record->end());
    }
    return table;
}

// The driver with a unit in use, until keys end it. The unit writes down what becomes of it as it goes, since
// nothing of the process is left to ask at its end.
int runProgramUnderTest(const std::filesystem::path& folder, int readyDescriptor) {
    setUpQtMessages();
    int count = 1;
    std::string name = "PairingKeysTest";
    char* arguments[] = {name.data(), nullptr};
    const QApplication application(count, arguments);
    setUpQtApplication();
    DriverStage& driven = *new DriverStage(folder); // as in a program that leaves by exitProcess
    CameraUnit& unit = driven.bus.add<CameraUnit>({.information = {.wireless = 0}},
                                                  Optics::strongKeystone(DriverStage::kScreen));
    DriverStage::calibrate(unit);
    std::ofstream commands(folder / kCommands, std::ios::binary);
    unit.onOutput([&](Microseconds, std::span<const std::uint8_t> report) {
        if (report.size() > kCommandBytes && report[0] == 'S')
            for (const std::uint8_t byte : report.subspan(1, kCommandBytes))
                commands.put(static_cast<char>(byte)).flush();
    });
    unit.onReport([&](const UnitReport& report) {
        if (!report.bytes.empty() && report.bytes[0] == 'S')
            writeFile(folder / kTable, tableOf(unit));
    });
    if (driven.plugIn(unit) && ::write(readyDescriptor, kReady, 6) == 6)
        driven.platform().runLoop.exitProcess(driven.desktop.real.run());
    driven.platform().runLoop.exitProcess(EXIT_FAILURE);
    return EXIT_FAILURE;
}

struct Keyboard {
    bool managed; // whether there is a window manager
    std::uint8_t remove;
    const char* name;
};

class PairingKeysTest : public testing::TestWithParam<Keyboard> {
protected:
    PairingKeysTest() {
        if (GetParam().managed)
            manager = std::make_unique<WindowManager>(server.display());
        backdrop = neighbour.openWindow({0, 0, 1920, 1080, 0x0000FF});
        EXPECT_TRUE(eventually([&] { return neighbour.pixelAt(1900, 1000) == 0x0000FF; }));
        neighbour.setFocus(backdrop);
        EXPECT_TRUE(eventually([&] { return neighbour.focus() == backdrop; }));
    }
    void TearDown() override {
        if (HasFailure())
            std::printf("--- the driver's log:\n%s--- end of the driver's log\n", contents(kLog).c_str());
    }

    std::filesystem::path pairingFile() const { return folder.file("user/LightPenNX7/NX9_Wireless.bin"); }
    std::string contents(const std::string& name) const { return readFile(folder.path() / name); }
    bool logs(const std::string& text) const {
        return eventually([&] { return contents(kLog).find(text) != std::string::npos; });
    }
    // Presses the key until the driver says so: a window manager may put the focus elsewhere for a moment.
    bool logsOnceTyped(std::uint8_t key, const std::string& text) {
        return eventually(
            [&] {
                neighbour.pressKey(key);
                return contents(kLog).find(text) != std::string::npos;
            },
            [] { std::this_thread::sleep_for(std::chrono::milliseconds(50)); });
    }
    // Puts a table into the user's file that no unit comes with; its bytes, and more behind them.
    std::string fillFile() const {
        std::string table;
        for (std::size_t i = 0; i < kTableBytes; ++i)
            table += static_cast<char>(i % PairingTable::kRecordBytes == 0 ? 0x11 + i / 3 : 251 - 2 * i);
        std::filesystem::create_directories(pairingFile().parent_path());
        writeFile(pairingFile(), table + "behind the table");
        return table;
    }
    // The driver, with a unit in use and the keyboard taken by its key window.
    void startDriver() {
        Pipe ready;
        program = std::make_unique<ChildProcess>(
            std::vector<std::string>{"/proc/self/exe", "--drive", folder.path().string(),
                                     std::to_string(ready.writeEnd())},
            ready.writeEnd(),
            std::map<std::string, std::string>{{"DISPLAY", server.display()},
                                               {"XDG_DATA_HOME", folder.file("user")}});
        ASSERT_EQ(ready.readUntil(kReady, std::chrono::seconds(60)), kReady);
        ASSERT_TRUE(eventually([&] { return neighbour.focus() != backdrop; }));
    }
    // The commands in the order in which the unit took them; one that was repeated because its answer came
    // late on a busy machine counts once.
    std::string takenByTheUnit() const {
        const std::string all = contents(kCommands);
        std::string taken;
        for (std::size_t at = 0; at < all.size(); at += kCommandBytes)
            if (const std::string command = all.substr(at, kCommandBytes); !taken.ends_with(command))
                taken += command;
        return taken;
    }

    const TemporaryDirectory folder;
    const Xvfb server{"1920x1080"};
    XNeighbour neighbour{server.display()};
    std::unique_ptr<WindowManager> manager;
    xcb_window_t backdrop = 0;
    std::unique_ptr<ChildProcess> program;
};

TEST_P(PairingKeysTest, SendTheFileToTheUnitAndEndTheProgram) {
    const std::string table = fillFile();
    startDriver();
    ASSERT_TRUE(logsOnceTyped(XNeighbour::kZ, "Event n:111 keyCode : (1 , 0 , 0 , 0)\n"));
    EXPECT_EQ(takenByTheUnit(), "") << "one of the two keys is enough";
    ASSERT_TRUE(logsOnceTyped(GetParam().remove, "Event n:1715 keyCode : (1 , 0) exit\n"));
    EXPECT_EQ(program->wait(), 0);

    std::string commands;
    for (unsigned index = 0; index < PairingTable::kRecords; ++index)
        commands += static_cast<char>(index) +
                    table.substr(index * PairingTable::kRecordBytes, PairingTable::kRecordBytes);
    EXPECT_EQ(takenByTheUnit(), commands);
    EXPECT_EQ(contents(kTable), table);
    EXPECT_EQ(readFile(pairingFile()), table + "behind the table");
    EXPECT_TRUE(logs("Light n:883 \n")) << "the controller shows the unit as absent";
    EXPECT_TRUE(logs("Event n:2764 file:" + pairingFile().string() + "\n"));
    EXPECT_TRUE(eventually([&] { return neighbour.keyboardIsFree(); }));
}

INSTANTIATE_TEST_SUITE_P(On, PairingKeysTest,
                         testing::Values(Keyboard{false, XNeighbour::kDelete, "Unmanaged"},
                                         Keyboard{true, XNeighbour::kDelete, "Managed"},
                                         Keyboard{true, XNeighbour::kBackspace, "ManagedByBackspace"}),
                         [](const auto& tested) { return tested.param.name; });

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const lightpen::NoBus none;
    none.enter();
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    if (argc == 4 && std::string_view(argv[1]) == "--drive")
        return lightpen::runProgramUnderTest(
            argv[2],
            std::atoi(argv[3])); // NOLINT(cert-err34-c): the test's own number
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
