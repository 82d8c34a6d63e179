// SPDX-License-Identifier: MIT
#include "measure/MappingRecord.h"

#include <gmock/gmock.h>

namespace lightpen {
namespace {

class MappingRecordTest : public testing::Test {
protected:
    struct Log final : LogSink {
        void logLine(std::string_view line) override { lines.emplace_back(line); }
        void standardOutput(std::string_view text) override { output += text; }
        std::vector<std::string> lines;
        std::string output;
    };

    Log log;
    MappingRecord record{log};
};

TEST_F(MappingRecordTest, KnowsNothingAtFirst) {
    EXPECT_FALSE(record.stroke());
}

TEST_F(MappingRecordTest, KeepsTheLastPointOfAStrokeToAllDigits) {
    record.logLine("Event n:1759 mappedPoint: (512.00,77.00)");
    record.logLine("Event n:1763 mappedPoint: {170.25, 75}, in Region: 0");
    record.logLine("Event n:1759 mappedPoint: (511.00,-3.00)");
    record.logLine("Calibr n:503 map point result: {1, 2}");
    record.logLine("Event n:1763 mappedPoint: {169.12345678901234, -0.0625}, in Region: 3");
    const auto stroke = record.stroke();
    ASSERT_TRUE(stroke);
    EXPECT_EQ(stroke->reported, (CameraPoint{511, -3}));
    EXPECT_EQ(stroke->mapped, (ScreenPoint{169.12345678901234, -0.0625}));
    EXPECT_FALSE(stroke->lifted);
}

TEST_F(MappingRecordTest, KnowsWhenThePenIsLifted) {
    record.logLine("Event n:1737 state down to up 0"); // of a stroke that was before
    EXPECT_FALSE(record.stroke());
    record.logLine("Event n:1759 mappedPoint: (5.00,6.00)");
    record.logLine("Event n:1763 mappedPoint: {7, 8}, in Region: 0");
    record.logLine("Event n:1737 state down to up 0");
    EXPECT_TRUE(record.stroke()->lifted);
    record.clear();
    EXPECT_FALSE(record.stroke());
}

TEST_F(MappingRecordTest, OtherLinesMeanNothing) {
    for (const char* line :
         {"", "Event n:1763 mappedPoint: ", "Event n:1763 mappedPoint: {1, }, in Region: 0", "Event n:1763",
          "Event n:1806 state mouse drag", "{1, 2}"})
        record.logLine(line);
    EXPECT_FALSE(record.stroke());
    for (const char* line :
         {"Event n:1759 mappedPoint: ", "Event n:1759 mappedPoint: (1", "Event n:1759 mappedPoint: (1)"})
        record.logLine(line);
    record.logLine("Event n:1763 mappedPoint: {7, 8}, in Region: 0");
    EXPECT_EQ(record.stroke()->reported, (CameraPoint{}));
}

TEST_F(MappingRecordTest, HandsEverythingOn) {
    record.logLine("Event n:1763 mappedPoint: {7, 8}, in Region: 0");
    record.logLine("another");
    record.standardOutput("text\n");
    EXPECT_THAT(log.lines, testing::ElementsAre("Event n:1763 mappedPoint: {7, 8}, in Region: 0", "another"));
    EXPECT_EQ(log.output, "text\n");
}

} // namespace
} // namespace lightpen
