// SPDX-License-Identifier: MIT
#include "linux_desktop/process/TerminationSignals.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>

#include "kit/Eventually.h"
#include "kit/OrdinaryUser.h"
#include "kit/Pipe.h"

namespace lightpen {
namespace {

// Says when it has been told to terminate, from whichever thread.
class WatchedRunLoop final : public RunLoop {
public:
    // The status once that has happened; none of a program's when it takes too long.
    int waitForStatus() const {
        eventually([this] { return terminating(); });
        return status_;
    }
    void terminate(int status) override { status_ = status; }
    bool terminating() const override { return status_ != kNone; }
    [[noreturn]] void exitProcess(int status) override {
        std::fputs("left at once", stderr);
        std::_Exit(status);
    }

    void addCommonMode(std::string_view) override {}
    bool containsSource(const RunLoopSourceRef&, std::string_view) const override { return false; }
    void addSource(const RunLoopSourceRef&, std::string_view) override {}
    void performOnMainThread(PerformRequest) override {}
    void performAfterDelay(PerformRequest, Microseconds) override {}
    void cancelPreviousPerformRequests(const void*, std::string_view, std::string_view) override {}
    void runFor(Microseconds) override {}

private:
    static constexpr int kNone = -1;
    std::atomic<int> status_{kNone};
};

class TerminationSignalsTest : public testing::TestWithParam<int> {};

TEST_P(TerminationSignalsTest, EndTheProgramInOrderThoughTheMainThreadIsBusy) {
    WatchedRunLoop loop;
    const TerminationSignals signals(loop);
    ASSERT_EQ(kill(getpid(), GetParam()), 0);
    // This thread runs no loop: nothing but the signal's own thread can tell it.
    EXPECT_EQ(loop.waitForStatus(), EXIT_SUCCESS);
}

TEST_P(TerminationSignalsTest, AskedForTwiceLeaveAtOnce) {
    EXPECT_EXIT(
        {
            WatchedRunLoop loop;
            const TerminationSignals signals(loop);
            kill(getpid(), GetParam());
            loop.waitForStatus();
            kill(getpid(), GetParam());
            for (;;)
                pause();
        },
        testing::ExitedWithCode(128 + GetParam()), "left at once");
}

TEST_P(TerminationSignalsTest, AMainThreadThatHangsIsLeft) {
    EXPECT_EXIT(
        {
            WatchedRunLoop loop;
            const TerminationSignals signals(loop, std::chrono::milliseconds(50));
            kill(getpid(), GetParam());
            for (;;)
                pause();
        },
        testing::ExitedWithCode(128 + GetParam()),
        "Signals: the program hangs, and is left where it stands\nleft at once");
}

TEST_P(TerminationSignalsTest, AreGivenBackAtTheEnd) {
    struct sigaction mine {};
    mine.sa_handler = [](int) {};
    struct sigaction before {};
    ASSERT_EQ(sigaction(GetParam(), &mine, &before), 0);
    {
        WatchedRunLoop loop;
        const TerminationSignals signals(loop);
    }
    struct sigaction after {};
    ASSERT_EQ(sigaction(GetParam(), &before, &after), 0);
    EXPECT_EQ(after.sa_handler, mine.sa_handler);
}

TEST(TerminationSignals, APipeThatNobodyReadsIsAnErrorOfTheWriteAlone) {
    signal(SIGPIPE, SIG_DFL);
    Pipe pipe;
    pipe.closeReadEnd();
    {
        WatchedRunLoop loop;
        const TerminationSignals signals(loop);
        EXPECT_EQ(write(pipe.writeEnd(), "x", 1), -1);
        EXPECT_EQ(errno, EPIPE);
        EXPECT_FALSE(loop.terminating());
    }
    struct sigaction after {};
    ASSERT_EQ(sigaction(SIGPIPE, nullptr, &after), 0);
    EXPECT_EQ(after.sa_handler, SIG_DFL);
}

[[noreturn]] void watchWithoutThreads() {
    const rlimit none{};
    if (!becomeOrdinaryUser() || setrlimit(RLIMIT_NPROC, &none) != 0)
        std::_Exit(2);
    WatchedRunLoop loop;
    const TerminationSignals signals(loop);
    raise(SIGTERM);
    std::_Exit(3);
}

// Nobody would look at what the handler has noted, so the signals stay what they were.
TEST(TerminationSignalsDeathTest, WithoutAThreadTheSystemEndsTheProgram) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    if (!ordinaryUserMayEnter("/"))
        GTEST_SKIP() << "there is no ordinary user to become";
    EXPECT_EXIT(watchWithoutThreads(), testing::KilledBySignal(SIGTERM),
                "^Signals: no thread for them: Resource temporarily unavailable\n$");
}

INSTANTIATE_TEST_SUITE_P(Each, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

} // namespace
} // namespace lightpen
