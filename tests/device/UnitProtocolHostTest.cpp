// SPDX-License-Identifier: MIT
// docs/unit-protocol.md, its second part: what the driver sends to a unit in software, and when.
#include "kit/UnitProtocolDocument.h"
#include "kit/device/EmulatedUnitFixture.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::SizeIs;

constexpr std::uint8_t kPairingLetter = 'R';

const UnitProtocolDocument& document() {
    static const UnitProtocolDocument read;
    return read;
}

// A command, without the zeros at its end, and when it came.
struct Command {
    Microseconds time{};
    std::vector<std::uint8_t> bytes;
    std::size_t length = 0;
};

std::vector<std::uint8_t> withoutZerosAtTheEnd(std::vector<std::uint8_t> bytes) {
    while (!bytes.empty() && bytes.back() == 0)
        bytes.pop_back();
    return bytes;
}

class UnitProtocolHostTest : public EmulatedUnitFixture {
public:
    ~UnitProtocolHostTest() override { camera.onOutput({}); }

protected:
    CameraUnit& camera = addCamera();

    void listen() {
        commands.clear();
        camera.onOutput([this](Microseconds time, std::span<const std::uint8_t> report) {
            commands.push_back({time, withoutZerosAtTheEnd({report.begin(), report.end()}), report.size()});
        });
    }
    // Whether these commands are the document's, at its times from this moment on. Virtual time moves a
    // little with each poll.
    static void expectTold(const char* title, const std::vector<Command>& sent, Microseconds begin) {
        const auto& rows = document().section(title).rows;
        ASSERT_EQ(sent.size(), rows.size());
        for (std::size_t index = 0; index < rows.size(); ++index) {
            EXPECT_EQ(sent[index].bytes, withoutZerosAtTheEnd(hexadecimalBytes(rows[index].at(1)))) << index;
            const double late = std::chrono::duration<double, std::milli>(sent[index].time - begin).count() -
                                std::stoi(rows[index].at(0));
            EXPECT_NEAR(late, 0, 2) << index;
        }
    }

    std::vector<Command> commands;
};

TEST_F(UnitProtocolHostTest, HasATestForEachSection) {
    EXPECT_TRUE(document().isCoveredByThisSuite("The host", 5));
}

TEST_F(UnitProtocolHostTest, FromThePlugToTheFirstTouch) {
    calibrate(camera);
    camera.plug();
    listen();
    const Microseconds opened = desk.clock.now();
    start();
    ASSERT_FALSE(commands.empty());
    EXPECT_LT(commands[0].time - opened, 1s);
    expectTold("From the plug to the first touch", commands, commands[0].time);
    const auto later =
        static_cast<std::size_t>(document().section("Reports").number("output reports beside them").value());
    for (std::size_t index = 0; index < commands.size(); ++index)
        EXPECT_EQ(commands[index].length, index == 0 ? std::size_t{32} : later);
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
}

TEST_F(UnitProtocolHostTest, ACalibrationThatIsStored) {
    camera.plug();
    start();
    listen();
    const Microseconds begin = desk.clock.now();
    driver->writeCalibrationToFlash(std::make_shared<const PointList>(
        PointList{{300.9, 200}, {2312, 250.5}, {280, 1801}, {2301, 1691.2}}));
    expectTold("A calibration that is stored", commands, begin);
    EXPECT_TRUE(camera.flash()->calibrated());
}

TEST_F(UnitProtocolHostTest, APictureThatIsFetched) {
    start();
    plugIn(camera);
    run(3s);
    listen();
    const Microseconds begin = desk.clock.now();
    EXPECT_TRUE(driver->previewImage());
    expectTold("A picture that is fetched", commands, begin);
}

TEST_F(UnitProtocolHostTest, APairingTableThatIsSaved) {
    camera.plug();
    start();
    listen();
    const Microseconds begin = desk.clock.now();
    driver->Nx9commd(kPairingLetter);
    ASSERT_THAT(commands, SizeIs(PairingTable::kRecords));
    expectTold("A pairing table that is saved", {commands[0], commands[1], commands.back()}, begin);
    for (std::size_t index = 0; index < commands.size(); ++index)
        EXPECT_EQ(commands[index].bytes,
                  withoutZerosAtTheEnd({kPairingLetter, static_cast<std::uint8_t>(index)}));
}

TEST_F(UnitProtocolHostTest, AGapInATouch) {
    calibrate(camera);
    camera.plug();
    start();
    const auto presses = [&] {
        run(1500ms);
        desk.pointer.takePosted();
        camera.touch({640, 400});
        run(500ms);
        camera.lift();
        run(100ms);
        int count = 0;
        for (const Posted& event : desk.pointer.takePosted())
            count += event.type == kLeftMouseDown ? 1 : 0;
        return count;
    };
    EXPECT_EQ(presses(), 1);
    camera.behaviour()->steadyReports = false;
    EXPECT_GT(presses(), 3);
}

// What the first part says of the host.
struct UnitProtocolHostDetailTest : UnitProtocolHostTest {
    void plugInCalibrated() {
        calibrate(camera);
        start();
        plugIn(camera);
    }
};

TEST_F(UnitProtocolHostDetailTest, AUnitWithoutIdleReportsIsNotHeard) {
    camera.behaviour()->idleReports = false;
    plugInCalibrated();
    EXPECT_FALSE(touchWorks(camera, {301, 622}));
}

TEST_F(UnitProtocolHostDetailTest, AUnitThatIsThereFirstIsHeardWithoutThem) {
    camera.behaviour()->idleReports = false;
    calibrate(camera);
    camera.plug();
    start();
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
}

TEST_F(UnitProtocolHostDetailTest, AUnitWhoseIdleReportsLeaveNoLookEmptyIsNotHeard) {
    camera.behaviour()->idleSlowly = false;
    camera.behaviour()->idleEnds = false;
    plugInCalibrated();
    EXPECT_FALSE(touchWorks(camera, {301, 622}));
}

} // namespace
} // namespace lightpen
