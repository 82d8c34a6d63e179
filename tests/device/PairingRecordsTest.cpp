// SPDX-License-Identifier: MIT
#include "device/Reports.h"

#include <array>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

TEST(PairingRecordsTest, ARecordIsEightBytesOfTheFile) {
    Bytes file(560);
    for (std::size_t i = 0; i < file.size(); ++i)
        file[i] = static_cast<std::uint8_t>(i);
    Bytes command(12);
    writePairingRecord(command, 0, file);
    EXPECT_THAT(command, ElementsAre(0x53, 0, 0, 1, 2, 3, 4, 5, 6, 7, 0, 0));
    writePairingRecord(command, 13, file);
    EXPECT_THAT(command, ElementsAre(0x53, 13, 104, 105, 106, 107, 108, 109, 110, 111, 0, 0));
}

TEST(PairingRecordsTest, AFileOfAllRecordsIsLongEnough) {
    const Bytes file(112, 0xAB);
    std::array<std::uint8_t, 10> command{};
    writePairingRecord(command, 13, file);
    EXPECT_THAT(command, ElementsAre(0x53, 13, 0xAB, 0xAB, 0xAB, 0xAB, 0xAB, 0xAB, 0xAB, 0xAB));
}

TEST(PairingRecordsTest, AnAnswerHasTheLetterAndTheIndex) {
    const auto answers = [](std::uint8_t first, std::uint8_t second) {
        return answersPairingRequest(std::array{first, second}, 'R', 4);
    };
    EXPECT_TRUE(answers('R', 4));
    EXPECT_FALSE(answers('R', 3));
    EXPECT_FALSE(answers('S', 4));
    EXPECT_FALSE(answers(4, 'R'));
    EXPECT_FALSE(answers(0, 0));
}

} // namespace
} // namespace lightpen
