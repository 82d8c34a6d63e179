// SPDX-License-Identifier: MIT
// While nothing happens nothing wakes: a laptop's battery is the judge. A stretch of time in which every
// thread stays asleep comes soon, unless one of them wakes again and again.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <QCoreApplication>
#include <QEvent>

#include "on_screen/DriverStage.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

constexpr std::chrono::seconds kStretch{8};
constexpr int kStretches = 6;

// The timers of the main thread that have run out.
class TimerCount final : public QObject {
public:
    TimerCount() { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::Timer ? 1 : 0;
        return false;
    }
    int count = 0;
};

// How often each thread of this process has gone to sleep, but for the calling one, and its name.
std::map<std::string, std::pair<long, std::string>> sleeps() {
    std::map<std::string, std::pair<long, std::string>> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        const std::string number = entry.path().filename();
        if (number == std::to_string(gettid()))
            continue;
        std::ifstream status(entry.path() / "status");
        auto& [count, name] = all[number];
        for (std::string key; status >> key;) {
            if (key == "Name:")
                std::getline(status >> std::ws, name);
            else if (key == "voluntary_ctxt_switches:")
                status >> count;
        }
    }
    return all;
}

// Who wakes in a stretch of time, by name. The unit in software stands for hardware.
std::vector<std::string> wakers() {
    const auto before = sleeps();
    const TimerCount timers;
    stage->platform().runLoop.runFor(kStretch);
    std::vector<std::string> found;
    if (timers.count > 1) // this wait's own
        found.emplace_back("a timer");
    for (const auto& [number, thread] : sleeps()) {
        const auto known = before.find(number);
        const long slept = known == before.end() ? 0 : known->second.first;
        if (thread.first > slept && thread.second != "emulated unit")
            found.push_back(thread.second);
    }
    return found;
}

// The wakers of the first stretch without others than this one; else those of the last stretch.
std::vector<std::string> wakersAtRest(const std::vector<std::string>& allowed) {
    std::vector<std::string> found;
    for (int stretch = 0; stretch < kStretches && (found = wakers()) != allowed; ++stretch) {
    }
    return found;
}

TEST(RestTest, WithoutAUnitNothingWakes) {
    EXPECT_THAT(wakersAtRest({}), IsEmpty());
}

TEST(RestTest, WithAUnitAndNoPenThePointThreadAloneWakes) {
    CameraUnit& unit = stage->bus.add<CameraUnit>({}, Optics::strongKeystone(DriverStage::kScreen));
    DriverStage::calibrate(unit);
    ASSERT_TRUE(stage->plugIn(unit));
    EXPECT_THAT(wakersAtRest({"pen"}), testing::ElementsAre("pen"));
    EXPECT_TRUE(stage->unplug(unit));
    EXPECT_THAT(wakersAtRest({}), IsEmpty()) << "it has ended with the unit";
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    lightpen::runTestsOnDriverStage(argc, argv);
}
