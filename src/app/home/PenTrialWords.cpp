// SPDX-License-Identifier: MIT
#include "app/home/PenTrialWords.h"

#include <QStringList>

#include "app/home/PenTrial.h"

namespace lightpen {

// A cross that is far off says enough; that all is well takes every cross.
QString penTrialWords(const PenTrial& trial, double pixelsPerPoint, const HomeTexts& text) {
    const auto outcome = trial.outcome();
    if (!outcome)
        return {};
    QStringList lines;
    if (!trial.isComplete())
        lines << text("Crosses touched: %1 of %2").arg(outcome->touched).arg(PenTrial::kCrosses);
    lines << text("Pixels between cross and touch: %1 (median), %2 (worst)")
                 .arg(qRound(outcome->median * pixelsPerPoint))
                 .arg(qRound(outcome->worst * pixelsPerPoint));
    if (!outcome->isGood())
        lines << text("The pen is more than a few pixels off. Calibrate again.");
    else if (trial.isComplete())
        lines << text("The pen is where it should be.");
    if (const int enlargement = trial.enlargement(); enlargement > 1)
        lines << text("The arrows are enlarged: ×%1").arg(enlargement);
    return lines.join('\n');
}

} // namespace lightpen
