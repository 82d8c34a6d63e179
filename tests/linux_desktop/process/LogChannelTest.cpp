// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LogChannel.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <signal.h>

#include <vector>

#include "kit/Pipe.h"

namespace lightpen {
namespace {

std::string writeAll(LogChannel& channel, Pipe& pipe) {
    std::string text;
    for (channel.refill(); channel.hasRest(); text += pipe.readAvailable())
        channel.writeSome();
    channel.refill();
    return text;
}

TEST(LogChannel, CountsATextAsSettledOnlyOnceItIsOut) {
    Pipe pipe;
    LogChannel channel(pipe.writeEnd(), 100);
    channel.append("a", true);
    channel.refill();
    channel.append("b", true);
    EXPECT_EQ(channel.settled(), 0u);
    channel.writeSome();
    channel.refill();
    EXPECT_EQ(channel.settled(), 1u);
    channel.writeSome();
    channel.refill();
    EXPECT_EQ(channel.settled(), 2u);
    EXPECT_EQ(channel.received(), 2u);
}

TEST(LogChannel, TakesExactlyItsCapacity) {
    Pipe pipe;
    LogChannel channel(pipe.writeEnd(), 10);
    channel.append("1234", true); // 5
    channel.append("6789", true); // 10
    EXPECT_EQ(writeAll(channel, pipe), "1234\n6789\n");
    channel.append("1234567890", true); // 11 with its line break
    EXPECT_EQ(writeAll(channel, pipe), "Log: 1 line was lost here, they came faster than they were read\n");
}

TEST(LogChannel, LosesEverythingBehindTheFirstLossSoThatTheNoteStandsInItsPlace) {
    Pipe pipe;
    LogChannel channel(pipe.writeEnd(), 12);
    channel.append("first", true);
    channel.append("much too long", true);
    channel.append("x", true); // would fit
    channel.append("y", true);
    EXPECT_EQ(writeAll(channel, pipe),
              "first\nLog: 3 lines were lost here, they came faster than they were read\n");
    channel.append("later", true);
    EXPECT_EQ(writeAll(channel, pipe), "later\n");
    EXPECT_EQ(channel.settled(), 5u);
}

TEST(LogChannel, WritesAtMostWhatAWritablePipeHasRoomFor) {
    Pipe pipe;
    LogChannel channel(pipe.writeEnd(), 3 * PIPE_BUF);
    const std::string line(99, 'x');
    for (int i = 0; i < 60; ++i)
        channel.append(line, true);
    channel.refill();
    ASSERT_TRUE(channel.writeSome());
    const std::string piece = pipe.readAvailable();
    EXPECT_EQ(piece.size(), 4000u); // whole lines within 4096 bytes
    EXPECT_EQ(piece.back(), '\n');
    EXPECT_TRUE(channel.hasRest());
}

TEST(LogChannel, WritesALineLongerThanAPieceInPieces) {
    Pipe pipe;
    LogChannel channel(pipe.writeEnd(), 3 * PIPE_BUF);
    const std::string line(2 * PIPE_BUF + 17, 'y');
    channel.append(line, true);
    EXPECT_EQ(writeAll(channel, pipe), line + "\n");
}

TEST(LogChannel, GivesATakerTheSamePieces) {
    std::vector<std::string> pieces;
    LogChannel channel(-1, 3 * PIPE_BUF, [&](std::string_view piece) { pieces.emplace_back(piece); });
    const std::string line(PIPE_BUF - 7, 'x');
    channel.append(line, true);
    channel.append("and more", true);
    channel.refill();
    EXPECT_EQ(channel.descriptor(), -1);
    EXPECT_TRUE(channel.writeSome());
    EXPECT_TRUE(channel.writeSome());
    EXPECT_FALSE(channel.hasRest());
    EXPECT_EQ(pieces, (std::vector{line + "\n", std::string("and more\n")}));
}

TEST(LogChannel, KeepsWhatAFullPipeDoesNotTake) {
    Pipe pipe;
    ASSERT_EQ(fcntl(pipe.writeEnd(), F_SETFL, O_NONBLOCK), 0);
    const std::string filling(pipe.capacity(), '.');
    ASSERT_EQ(write(pipe.writeEnd(), filling.data(), filling.size()), static_cast<ssize_t>(filling.size()));
    LogChannel channel(pipe.writeEnd(), 100);
    channel.append("kept", true);
    channel.refill();
    EXPECT_FALSE(channel.writeSome());
    EXPECT_TRUE(channel.hasRest());
    EXPECT_EQ(pipe.readAvailable(), filling);
    EXPECT_TRUE(channel.writeSome());
    EXPECT_EQ(pipe.readAvailable(), "kept\n");
}

TEST(LogChannel, DropsWhatNobodyCanReadAnyMore) {
    signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    pipe.closeReadEnd();
    LogChannel channel(pipe.writeEnd(), 100);
    channel.append("nobody", true);
    channel.refill();
    EXPECT_TRUE(channel.writeSome());
    EXPECT_FALSE(channel.hasRest());
    channel.refill();
    EXPECT_EQ(channel.settled(), 1u);
}

} // namespace
} // namespace lightpen
