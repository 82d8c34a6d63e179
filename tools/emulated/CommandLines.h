// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <QSocketNotifier>
#include <QTimer>

namespace lightpen {

// Reads lines from a descriptor while the main loop runs and has each performed, in order, the next one when
// the one before is done. Main thread.
class CommandLines {
public:
    // What is done with the lines; called on the main loop.
    struct Ends {
        // None: not done yet; it is asked again a little later.
        std::function<std::optional<std::string>(std::string_view line)> perform;
        // Takes the answer to each line.
        std::function<void(const std::string& answer)> answer;
        // The input has ended, or cannot be read any more; lines before have been performed.
        std::function<void()> ended;
    };
    // A line that grows longer than this ends the input.
    static constexpr std::size_t kLongestLine = 4096;

    // The descriptor stays its owner's, who keeps it open for as long as this lives.
    CommandLines(int descriptor, Ends ends);

private:
    void read();
    void performNext();
    void end();

    const int descriptor_;
    const Ends ends_;
    QSocketNotifier input_;
    QTimer again_;
    std::string partial_;
    std::deque<std::string> waiting_;
    bool performing_ = false;
    bool ended_ = false;
};

} // namespace lightpen
