// SPDX-License-Identifier: MIT
#include "webcam/CameraMemory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "kit/OrdinaryUser.h"
#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "linux_desktop/files/XdgDataFiles.h"

namespace lightpen::webcam {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

class CameraMemoryTest : public testing::Test {
protected:
    static UnitMemory calibrated(double first) {
        UnitMemory memory;
        memory.flash.store({first, 180}, {2210, 202}, {233, 1709}, {2291, 1688});
        memory.pairingTable.store(3, {0x20, 1, 2, 3, 4, 5, 6, 255}, false);
        memory.correction = {.lens = -0.0315, .lamp = {12.5, -7.25}};
        return memory;
    }
    static void expectSame(const UnitMemory& one, const UnitMemory& other) {
        EXPECT_TRUE(one.flash.holdsSameAs(other.flash));
        EXPECT_EQ(one.pairingTable, other.pairingTable);
        EXPECT_NEAR(one.correction.lens, other.correction.lens, 1e-6);
        EXPECT_NEAR(one.correction.lamp.x, other.correction.lamp.x, 1e-3);
        EXPECT_NEAR(one.correction.lamp.y, other.correction.lamp.y, 1e-3);
    }

    RecordingLog log;
    TemporaryDirectory folder;
    XdgDataFiles files{folder.path().string(), ""};
    const CameraMemory memory{files, folder.path().string()};
};

TEST_F(CameraMemoryTest, ACameraThatNobodyKnowsHasAnEmptyFlash) {
    expectSame(memory.load("046d_0825-A"), {});
    EXPECT_THAT(log.takeLines(), IsEmpty());
}

TEST_F(CameraMemoryTest, EachCameraHasItsOwn) {
    ASSERT_TRUE(memory.save("046d_0825-A", calibrated(300)));
    ASSERT_TRUE(memory.save("046d_0825-B", calibrated(400)));
    expectSame(memory.load("046d_0825-A"), calibrated(300));
    expectSame(memory.load("046d_0825-B"), calibrated(400));
    ASSERT_TRUE(memory.save("046d_0825-A", {}));
    expectSame(memory.load("046d_0825-A"), {});
}

TEST_F(CameraMemoryTest, IdentitiesOfFullLengthDifferInTheirLastLetter) {
    const std::string longest(99, 'A');
    ASSERT_TRUE(memory.save(longest + "A", calibrated(300)));
    ASSERT_TRUE(memory.save(longest + "B", calibrated(400)));
    expectSame(memory.load(longest + "A"), calibrated(300));
    expectSame(memory.load(longest + "B"), calibrated(400));
}

TEST_F(CameraMemoryTest, ANameLeadsOutOfNoFolder) {
    ASSERT_TRUE(memory.save("../../etc/a b", calibrated(300)));
    EXPECT_TRUE(fs::exists(folder.file("camera-unit-.._.._etc_a_b")));
    expectSame(memory.load("../../etc/a b"), calibrated(300));
}

// A loss of power within the writing leaves the file before; whatever else there is instead is no
// calibration.
TEST_F(CameraMemoryTest, WhatIsNotWholeIsEmptyAndTold) {
    const std::string text = textOfMemory(calibrated(300));
    const std::string path = folder.file("camera-unit-a");
    for (std::size_t length = 0; length < text.size(); ++length) {
        writeFile(path, text.substr(0, length));
        expectSame(memory.load("a"), {});
        EXPECT_THAT(log.takeLines(), Contains(HasSubstr("damaged"))) << length;
    }
    for (const std::string& damaged :
         {text + "x", std::string(1, '\0') + text, std::string(5000, 'a'), "camera unit 2" + text.substr(13),
          std::string("camera unit 1\ncalibration 1 2 3 4\n") + text.substr(text.find("pairing")),
          std::string("camera unit 1\ncalibration 1 2 3 70000\n") + text.substr(text.find("calibration"))}) {
        writeFile(path, damaged);
        expectSame(memory.load("a"), {});
        EXPECT_THAT(log.takeLines(), Contains(HasSubstr("damaged"))) << damaged;
    }
}

TEST_F(CameraMemoryTest, ALensBeyondReasonIsDamage) {
    std::string text = textOfMemory({});
    const auto place = text.find("lens 0");
    ASSERT_NE(place, std::string::npos);
    EXPECT_TRUE(memoryOfText(text.replace(place, 6, "lens 500000")));
    EXPECT_FALSE(memoryOfText(text.replace(place, 11, "lens 500001")));
}

TEST_F(CameraMemoryTest, WhatIsOlderThanLampsHasNone) {
    const UnitMemory with = calibrated(300);
    std::string text = textOfMemory(with);
    const auto lamp = text.find("lamp 12500 -7250\n");
    ASSERT_NE(lamp, std::string::npos);
    UnitMemory without = with;
    without.correction.lamp = {};
    text.erase(lamp, text.find("end") - lamp);
    EXPECT_EQ(textOfMemory(without), text);
    ASSERT_TRUE(memoryOfText(text));
    expectSame(*memoryOfText(text), without);
}

TEST_F(CameraMemoryTest, ALampBeyondAnyPictureIsDamage) {
    UnitMemory lamp;
    lamp.correction.lamp = {-2560, 2560};
    EXPECT_TRUE(memoryOfText(textOfMemory(lamp)));
    lamp.correction.lamp = {-2560.1, 0};
    EXPECT_FALSE(memoryOfText(textOfMemory(lamp)));
    lamp.correction.lamp = {0, 2560.1};
    EXPECT_FALSE(memoryOfText(textOfMemory(lamp)));
}

TEST_F(CameraMemoryTest, AFolderThatMayNotBeUsedLeavesALine) {
    ASSERT_TRUE(memory.save("a", calibrated(300)));
    fs::permissions(folder.path(), fs::perms::none);
    {
        const OrdinaryUser user;
        EXPECT_FALSE(memory.save("a", calibrated(400)));
        EXPECT_THAT(log.takeLines(), Contains(HasSubstr("camera-unit-a")));
        expectSame(memory.load("a"), {});
        EXPECT_THAT(log.takeLines(), Contains(HasSubstr("camera-unit-a")));
    }
    fs::permissions(folder.path(), fs::perms::owner_all);
    expectSame(memory.load("a"), calibrated(300));
}

} // namespace
} // namespace lightpen::webcam
