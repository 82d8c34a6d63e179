// SPDX-License-Identifier: MIT
// From a queue's event to a camera point, with what the log says.
#include "kit/device/DriverFixture.h"

namespace lightpen {
namespace {

class DecodingTest : public DriverFixture {
protected:
    CameraPoint decode(const ReportBytes& report, std::size_t declaredLength = 32) {
        return driver->pointFromHIDEvent(inputReportEvent(unit.shape().cookie, report, declaredLength, 0));
    }
};

TEST_F(DecodingTest, EachKindOfReportIsToldLikeThis) {
    happened.clear();
    EXPECT_EQ(decode({0, 0xF4, 0x01, 0x90, 0x01}), (CameraPoint{500, 400}));
    EXPECT_EQ(decode({0, 0x00, 0x05, 0x00, 0x03}), kPenUpPoint);
    EXPECT_EQ(decode({0, 0xFF, 0x09, 0x80, 0x07}), (CameraPoint{2559, 1920}));
    EXPECT_EQ(decode({0, 0x01, 0x0A, 0x80, 0x07}), kFarAwayPoint);
    EXPECT_EQ(decode({0, 0x01, 0x00, 0x81, 0x07}), kFarAwayPoint);
    EXPECT_EQ(decode({0, 0xFF, 0xFF, 0x10, 0x00}), (CameraPoint{-1, 16}));
    EXPECT_EQ(decode({0, 0xFF, 0xFF, 0xFF, 0xFF}), kPenUpPoint);
    EXPECT_TRUE(matchesTranscript("decoding"));
}

TEST_F(DecodingTest, ShortReportsReadAsIfPaddedWithZerosAndBytesBehindThePositionAreNotRead) {
    EXPECT_EQ(decode({}, 0), kPenUpPoint);
    EXPECT_EQ(decode({0}, 1), kPenUpPoint);
    EXPECT_EQ(decode({0, 7}, 2), (CameraPoint{7, 0}));
    EXPECT_EQ(decode({0, 7, 1, 9}, 4), (CameraPoint{263, 9}));
    EXPECT_EQ(decode({0, 7, 1, 9, 2}, 3), (CameraPoint{263, 0})) << "cut at the declared length";
    ReportBytes report(804, 0xFF);
    report[1] = 3;
    report[2] = report[3] = report[4] = 0;
    EXPECT_EQ(decode(report, 804), (CameraPoint{3, 0}));
}

} // namespace
} // namespace lightpen
