// SPDX-License-Identifier: MIT
// One exchange with the unit: a question is sent, and the reports that come back are looked through for its
// answer. Flash read, light test and both directions of the pairing table differ only in what they ask, how
// long they pause and what they take for an answer.
#pragma once

#include <optional>

#include "platform/IOHID.h"
#include "platform/Platform.h"

namespace lightpen {

// Where replies come from, and how they are looked for.
struct ReplyQueue {
    // Looks again until a reply comes or the program ends.
    static constexpr int kUntilItComes = 0;

    IOHIDQueueRef queue;               // null: no reply ever comes
    void (*logFailure)(unsigned code); // called each time the queue fails
    int looks;                         // for one reply; a limited number of looks is made without pauses

    // The next reply; empty when no reply has come.
    std::optional<IOHIDEventStruct> next() const;
};

// How an exchange goes on: after its question (goOn: look for the reply), and after its reply (goOn: that was
// the answer).
enum class Turn { goOn, askAgain, over };

// Between two turns of a wait that may be without end, so that it leaves the processor to others.
inline constexpr Microseconds kTurnPause = std::chrono::milliseconds(1);

// Asks, pauses and looks for the reply, until one is the answer or the exchange is over; true when it was
// answered. `ask` sends the question; `take` is given the reply, or nothing. Runs in the caller's thread.
template <class Ask, class Take>
bool exchange(const ReplyQueue& replies, Microseconds pause, Ask ask, Take take) {
    for (;;) {
        Turn turn = ask();
        if (turn == Turn::goOn) {
            Platform::current().clock.sleep(pause);
            turn = take(replies.next());
        } else if (turn == Turn::askAgain) {
            Platform::current().clock.sleep(kTurnPause);
        }
        if (turn != Turn::askAgain)
            return turn == Turn::goOn;
    }
}

} // namespace lightpen
