// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LogQueue.h"

#include <atomic>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/Eventually.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

LogEntry line(std::string_view text) {
    return LogEntry::of(LogEntry::Sort::line, text);
}

std::string textOf(const LogEntry& entry) {
    std::string text(entry.print(nullptr, 0, entry) + 1, '\0');
    text.resize(entry.print(text.data(), text.size(), entry));
    return text;
}

std::vector<std::string> takeAll(LogQueue& queue) {
    std::vector<std::string> texts;
    queue.takeAll([&](const LogEntry& entry) {
        texts.push_back((entry.sort == LogEntry::Sort::text ? "text " : "") + textOf(entry));
    });
    return texts;
}

TEST(LogQueueTest, GivesEachEntryOnceAndInItsOrder) {
    LogQueue queue(1024);
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_TRUE(queue.put(line("one")));
    EXPECT_TRUE(queue.put(LogEntry::of(LogEntry::Sort::text, "two")));
    EXPECT_TRUE(queue.put(line("")));
    EXPECT_FALSE(queue.isEmpty());
    EXPECT_THAT(takeAll(queue), ElementsAre("one", "text two", ""));
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_THAT(takeAll(queue), IsEmpty());
}

TEST(LogQueueTest, TakesNoMoreThanItHasRoomFor) {
    LogQueue queue(128);
    for (const char* text : {"8 bytes.", "8 bytes!", "8 bytes?", "8 bytes:"}) // 32 each
        EXPECT_TRUE(queue.put(line(text)));
    EXPECT_FALSE(queue.put(line("")));
    EXPECT_THAT(takeAll(queue), ElementsAre("8 bytes.", "8 bytes!", "8 bytes?", "8 bytes:"));
    EXPECT_TRUE(queue.put(line(std::string(104, 'x'))));
    EXPECT_FALSE(queue.put(line("")));
    EXPECT_THAT(takeAll(queue), ElementsAre(std::string(104, 'x')));
    EXPECT_FALSE(queue.put(line(std::string(105, 'x'))));
}

// Entries of all lengths come to stand at all places, before the memory's end and across it.
TEST(LogQueueTest, GoesRoundAndRound) {
    LogQueue queue(256);
    for (std::size_t i = 0; i < 5000; ++i) {
        const std::string first(i % 61, 'a'), second(i % 37, 'b');
        ASSERT_TRUE(queue.put(line(first))) << i;
        ASSERT_TRUE(queue.put(line(second))) << i;
        ASSERT_THAT(takeAll(queue), ElementsAre(first, second)) << i;
    }
}

TEST(LogQueueTest, TellsWhereItEndsAndHowFarTheWriterIs) {
    LogQueue queue(256);
    queue.put(line("one"));
    const auto end = queue.end();
    EXPECT_LT(queue.taken(), end);
    takeAll(queue);
    EXPECT_EQ(queue.taken(), end);
    queue.put(line("two"));
    EXPECT_GT(queue.end(), end);
    EXPECT_EQ(queue.taken(), end);
}

TEST(LogQueueTest, CallersOnSeveralThreadsLoseNothingAndKeepTheirOrder) {
    constexpr int kThreads = 4;
    constexpr int kLines = 3000;
    LogQueue queue(1024);
    std::atomic<bool> over{false};
    std::vector<std::thread> callers;
    for (int thread = 0; thread < kThreads; ++thread)
        callers.emplace_back([&queue, &over, thread] {
            for (int number = 0; number < kLines; ++number) {
                const std::string text = std::to_string(thread) + " " + std::to_string(number) +
                                         std::string(static_cast<std::size_t>(number % 50), '.');
                while (!queue.put(line(text)) && !over)
                    std::this_thread::yield();
            }
        });
    std::map<int, int> next;
    EXPECT_TRUE(eventually([&] {
        for (const std::string& text : takeAll(queue)) {
            int thread = -1, number = -1;
            std::istringstream(text) >> thread >> number;
            EXPECT_EQ(number, next[thread]++) << text;
            EXPECT_TRUE(text.ends_with(std::string(static_cast<std::size_t>(number % 50), '.'))) << text;
        }
        return next[0] + next[1] + next[2] + next[3] == kThreads * kLines;
    }));
    over = true;
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_TRUE(queue.isEmpty());
}

} // namespace
} // namespace lightpen
