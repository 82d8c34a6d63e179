// SPDX-License-Identifier: MIT
// After a calibration on a unit for wireless pens, the real driver keeps the unit's pairing table in a file.
#include <gmock/gmock.h>

#include <optional>
#include <string>

#include "emulated/ScreenWatch.h"
#include "measure/PlayedSession.h"
#include "on_screen/DriverStage.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Stores a table that no factory makes in the unit; its bytes.
std::string fillTable(CameraUnit& unit) {
    std::string table;
    for (unsigned index = 0; index < PairingTable::kRecords; ++index) {
        PairingTable::Record record{};
        for (unsigned i = 0; i < record.size(); ++i)
            record[i] = static_cast<std::uint8_t>(i == 0 ? 0x7F - index : 255 - 16 * i - index);
        EXPECT_TRUE(unit.pairingTable()->store(index, record, true));
        table.append(record.begin(), record.end());
    }
    return table;
}

TEST(PairingAfterCalibrationTest, TheFileHoldsTheUnitsTable) {
    const auto file = stage->folder / "user" / "LightPenNX7" / "NX9_Wireless.bin";
    std::filesystem::create_directories(stage->folder / "shipped");
    const std::string shipped(112, 'x');
    writeFile(stage->folder / "shipped" / "NX9_Wireless.bin", shipped);
    std::optional<Microseconds> pause; // from the last command before the first "R" to that
    CameraUnit& unit = stage->bus.add<CameraUnit>({.information = {.wireless = 0}},
                                                  Optics::strongKeystone(DriverStage::kScreen));
    const std::string table = fillTable(unit);
    const auto eyes = stage->look();
    const ScreenWatch watch(stage->look(), unit);
    ASSERT_TRUE(stage->plugIn(unit));
    EXPECT_FALSE(std::filesystem::exists(file));
    unit.onOutput([&, before = std::optional<Microseconds>()](Microseconds when,
                                                              std::span<const std::uint8_t> report) mutable {
        if (!pause && before && !report.empty() && report[0] == 'R')
            pause = when - *before;
        before = when;
    });

    stage->platform().defaults.setObject("Auto Calibration", true);
    PlayedSession session(stage->platform(), unit, *eyes);
    EXPECT_EQ(session.run(
                  SessionKind::automatic, [] { stage->controller->calibration("the test"); },
                  (stage->folder / "target.png").string()),
              "");
    EXPECT_TRUE(waitUntil(
        stage->platform(), [&] { return std::filesystem::exists(file); }, seconds(10)));
    EXPECT_TRUE(unit.flash()->calibrated());
    EXPECT_EQ(readFile(file), table);
    EXPECT_EQ(readFile(stage->folder / "shipped" / "NX9_Wireless.bin"), shipped);
    unit.onOutput({});
    ASSERT_TRUE(pause);
    EXPECT_GE(*pause, milliseconds(500));
    EXPECT_TRUE(stage->unplug(unit));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    lightpen::runTestsOnDriverStage(argc, argv);
}
