// SPDX-License-Identifier: MIT
// A desktop on which nothing happens, so that a benchmark sees the driver's own work.
#pragma once

#include <cstdlib>

#include <benchmark/benchmark.h>

#include "kit/TestPlatform.h"
#include "platform/Log.h"
#include "platform/Platform.h"
#include "platform/ServiceRegistry.h"

namespace lightpen::bench {

inline constexpr ScreenRect kScreen{{0, 0}, {1920, 1080}};

class DiscardingLog final : public LogSink {
public:
    void logLine(std::string_view line) override { benchmark::DoNotOptimize(line.data()); }
    void standardOutput(std::string_view) override {}
};

class SleeplessClock final : public Clock {
public:
    Microseconds now() override { return Microseconds{1}; }
    void sleep(Microseconds) override {}
};

// Nobody waits on the main thread's answers, so nothing is performed.
class IdleRunLoop final : public RunLoop {
public:
    void addCommonMode(std::string_view) override {}
    bool containsSource(const RunLoopSourceRef&, std::string_view) const override { return false; }
    void addSource(const RunLoopSourceRef&, std::string_view) override {}
    void performOnMainThread(PerformRequest request) override { benchmark::DoNotOptimize(&request); }
    void performAfterDelay(PerformRequest, Microseconds) override {}
    void cancelPreviousPerformRequests(const void*, std::string_view, std::string_view) override {}
    void runFor(Microseconds) override {}
    void terminate(int) override {}
    bool terminating() const override { return false; }
    void exitProcess(int status) override { std::exit(status); }
};

// A platform of doubles, on which no time passes and nobody listens; current while it lives. The pointer
// outlives it.
struct IdlePlatform {
    explicit IdlePlatform(PointerEvents& usedPointer) : pointer(usedPointer) {
        doubles.desktop.frame = kScreen;
        Platform::setCurrent(&platform);
    }

    PointerEvents& pointer;
    TestPlatform doubles;
    SleeplessClock clock;
    IdleRunLoop runLoop;
    ServiceRegistry registry{runLoop, clock};
    Platform platform{registry,          pointer,
                      runLoop,           clock,
                      doubles.threads,   doubles.notifications,
                      doubles.broadcast, doubles.desktop,
                      doubles.defaults,  doubles.systemUI,
                      doubles.sounds,    doubles.dataFiles,
                      doubles.shell};
};

} // namespace lightpen::bench
