// SPDX-License-Identifier: MIT
// After a calibration on a unit for wireless pens, the real driver keeps the unit's pairing table in a file.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <mutex>
#include <vector>

#include "emulated/ScreenWatch.h"
#include "measure/PlayedSession.h"
#include "on_screen/DriverStage.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Bytes = std::vector<std::uint8_t>;

Bytes contentsOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Stores a table that no factory makes in the unit; its bytes.
Bytes fillTable(CameraUnit& unit) {
    Bytes table;
    for (unsigned index = 0; index < PairingTable::kRecords; ++index) {
        PairingTable::Record record{};
        for (unsigned i = 0; i < record.size(); ++i)
            record[i] = static_cast<std::uint8_t>(i == 0 ? 0x7F - index : 255 - 16 * i - index);
        EXPECT_TRUE(unit.pairingTable()->store(index, record));
        table.insert(table.end(), record.begin(), record.end());
    }
    return table;
}

// When the host sent what: the first byte of each command.
class SentCommands {
public:
    void add(Microseconds when, std::uint8_t letter) {
        const std::lock_guard hold(mutex_);
        sent_.push_back({when, letter});
    }
    // From the last command before the first one of this letter to that; none when there are no two such.
    std::optional<Microseconds> pauseBefore(std::uint8_t letter) {
        const std::lock_guard hold(mutex_);
        for (std::size_t i = 1; i < sent_.size(); ++i)
            if (sent_[i].letter == letter)
                return sent_[i].when - sent_[i - 1].when;
        return std::nullopt;
    }

private:
    struct Sent {
        Microseconds when;
        std::uint8_t letter;
    };
    std::mutex mutex_;
    std::vector<Sent> sent_;
};

TEST(PairingAfterCalibrationTest, TheFileHoldsTheUnitsTable) {
    const auto file = stage->folder / "user" / "LightPenNX7" / "NX9_Wireless.bin";
    std::filesystem::create_directories(stage->folder / "shipped");
    const std::string shipped(112, 'x');
    std::ofstream(stage->folder / "shipped" / "NX9_Wireless.bin") << shipped;
    SentCommands sent;
    CameraUnit& unit = stage->bus.add<CameraUnit>({.information = {.wireless = 0}},
                                                  Optics::strongKeystone(DriverStage::kScreen));
    const Bytes table = fillTable(unit);
    const auto eyes = stage->look();
    const ScreenWatch watch(stage->look(), unit);
    ASSERT_TRUE(stage->plugIn(unit));
    EXPECT_FALSE(std::filesystem::exists(file));
    unit.onOutput([&](Microseconds when, std::span<const std::uint8_t> report) {
        sent.add(when, report.empty() ? 0 : report[0]);
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
    EXPECT_EQ(contentsOf(file), table);
    EXPECT_EQ(contentsOf(stage->folder / "shipped" / "NX9_Wireless.bin"), Bytes(112, 'x'));
    const auto pause = sent.pauseBefore('R');
    ASSERT_TRUE(pause);
    EXPECT_GE(*pause, milliseconds(500));
    unit.onOutput({});
    EXPECT_TRUE(stage->unplug(unit));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    lightpen::runTestsOnDriverStage(argc, argv);
}
