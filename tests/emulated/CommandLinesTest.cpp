// SPDX-License-Identifier: MIT
#include "emulated/CommandLines.h"

#include <unistd.h>

#include <gmock/gmock.h>

#include <QCoreApplication>

#include "kit/Eventually.h"
#include "kit/Pipe.h"
#include "kit/device/OffscreenApplication.h"
#include "platform/FileDescriptor.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

class CommandLinesTest : public testing::Test {
protected:
    void write(const std::string& text) {
        ASSERT_EQ(::write(pipe->writeEnd(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    template <class Condition>
    bool comes(Condition condition) {
        return eventually(condition, [] { QCoreApplication::processEvents(QEventLoop::AllEvents, 5); });
    }
    bool happens(const std::vector<std::string>& expected) {
        return comes([&] { return events.size() >= expected.size(); }) && events == expected;
    }

    const bool application = ensureOffscreenApplication();
    std::unique_ptr<Pipe> pipe = std::make_unique<Pipe>();
    // The descriptor outlives the pipe's writing end, whose closing is the end of the input.
    FileDescriptor input{::dup(pipe->readEnd())};
    std::vector<std::string> events;
    std::function<std::optional<std::string>(std::string_view)> perform = [](std::string_view line) {
        return "did " + std::string(line);
    };
    CommandLines lines{input.get(),
                       {[this](std::string_view line) { return perform(line); },
                        [this](const std::string& answer) { events.push_back(answer); },
                        [this] { events.emplace_back("ended"); }}};
};

TEST_F(CommandLinesTest, EachWholeLineIsPerformedInOrder) {
    write("one\ntwo words\nthr");
    EXPECT_TRUE(happens({"did one", "did two words"}));
    write("ee\n\n");
    EXPECT_TRUE(happens({"did one", "did two words", "did three", "did "}));
}

TEST_F(CommandLinesTest, TheNextOneWaitsForTheOneBefore) {
    int asked = 0;
    perform = [&](std::string_view line) -> std::optional<std::string> {
        if (line == "long" && ++asked < 4)
            return std::nullopt;
        return std::string(line);
    };
    write("long\nshort\n");
    EXPECT_TRUE(happens({"long", "short"}));
    EXPECT_EQ(asked, 4);
}

TEST_F(CommandLinesTest, ACommandThatRunsTheLoopIsNotOvertaken) {
    perform = [&](std::string_view line) -> std::optional<std::string> {
        if (line == "nested") {
            write("later\n");
            for (int i = 0; i < 5; ++i)
                QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            EXPECT_THAT(events, IsEmpty());
        }
        return std::string(line);
    };
    write("nested\n");
    EXPECT_TRUE(happens({"nested", "later"}));
}

TEST_F(CommandLinesTest, TheEndComesBehindTheLastLine) {
    int asked = 0;
    perform = [&](std::string_view line) -> std::optional<std::string> {
        return ++asked < 3 ? std::nullopt : std::optional(std::string(line));
    };
    write("last\nno line");
    pipe.reset();
    EXPECT_TRUE(happens({"last", "ended"}));
    EXPECT_EQ(asked, 3);
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    EXPECT_EQ(events.size(), 2u);
}

TEST_F(CommandLinesTest, ALineWithoutAnEndEndsTheInput) {
    write(std::string(CommandLines::kLongestLine + 1, 'x'));
    EXPECT_TRUE(happens({"ended"}));
}

} // namespace
} // namespace lightpen
