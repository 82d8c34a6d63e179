// SPDX-License-Identifier: MIT
#include "app/home/PenTrialWords.h"

#include <gtest/gtest.h>

#include "app/home/PenTrial.h"

namespace lightpen {
namespace {

QString key(std::string_view text) {
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

PenTrial touched(std::size_t crosses, double miss) {
    PenTrial trial({1000, 800});
    for (std::size_t i = 0; i < crosses; ++i)
        trial.touch({trial.crosses()[i].x + miss, trial.crosses()[i].y});
    return trial;
}

std::string wordsOf(const PenTrial& trial, double pixelsPerPoint = 1) {
    return penTrialWords(trial, pixelsPerPoint, key).toStdString();
}

TEST(PenTrialWordsTest, ThereAreNoneBeforeTheFirstTouch) {
    EXPECT_EQ(wordsOf(touched(0, 0)), "");
}

TEST(PenTrialWordsTest, AllIsWellWithEveryCrossAlone) {
    EXPECT_EQ(wordsOf(touched(8, 2)), "Crosses touched: 8 of 9\n"
                                      "Pixels between cross and touch: 2 (median), 2 (worst)\n"
                                      "The arrows are enlarged: ×20");
    EXPECT_EQ(wordsOf(touched(9, 2)), "Pixels between cross and touch: 2 (median), 2 (worst)\n"
                                      "The pen is where it should be.\n"
                                      "The arrows are enlarged: ×20");
}

TEST(PenTrialWordsTest, ACrossThatIsFarOffSaysEnough) {
    EXPECT_EQ(wordsOf(touched(1, 100)), "Crosses touched: 1 of 9\n"
                                        "Pixels between cross and touch: 100 (median), 100 (worst)\n"
                                        "The pen is more than a few pixels off. Calibrate again.");
}

TEST(PenTrialWordsTest, PixelsAreThoseOfTheScreen) {
    PenTrial trial = touched(9, 2);
    trial.touch({trial.crosses()[4].x, trial.crosses()[4].y - 4.4});
    EXPECT_EQ(wordsOf(trial, 2), "Pixels between cross and touch: 4 (median), 9 (worst)\n"
                                 "The pen is where it should be.\n"
                                 "The arrows are enlarged: ×20");
}

} // namespace
} // namespace lightpen
