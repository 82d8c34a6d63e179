// SPDX-License-Identifier: MIT
// A user's session on a real desktop, with nothing made up but the camera: a unit is a USB device of the
// kernel's, the driver program moves a pointer of the kernel's, the desktop follows that through libinput
// over one or two outputs, and a program that covers them sees where the pen presses. The first argument is
// the desktop's name.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>

#include "emulated/UnitControl.h"
#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/RuleFile.h"
#include "kernel/support/UnitPriority.h"
#include "kit/Eventually.h"
#include "linux_desktop/process/SystemClock.h"
#include "measure/Analysis.h"
#include "wayland/support/Compositor.h"
#include "wayland/support/PressWatch.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// How far a press may land from a hand that rests: the camera's units and the pointer's points are whole
// numbers.
constexpr double kWorstLanding = 2;
// A guest that is held up for as long as a short tap lasts never sees it.
constexpr Microseconds kContact = milliseconds(250);
constexpr milliseconds kSettled(400); // what was sent has arrived by then

std::string desktopName;
Compositor* desktop = nullptr;

// Twelve places, up to the edges.
std::vector<ScreenPoint> placesOn(Size screen) {
    constexpr int kColumns = 4, kRows = 3;
    constexpr double kEdge = 12;
    std::vector<ScreenPoint> places;
    for (int row = 0; row < kRows; ++row)
        for (int column = 0; column < kColumns; ++column)
            places.push_back({kEdge + (screen.width - 2 * kEdge) * column / (kColumns - 1),
                              kEdge + (screen.height - 2 * kEdge) * row / (kRows - 1)});
    return places;
}

// What became of a series of taps.
struct Landing {
    std::vector<double> distances; // of the presses on the right output
    int missed = 0;                // taps that pressed nothing
    int elsewhere = 0;             // presses on another output
};

class PenOnDesktop : public testing::Test {
public:
    explicit PenOnDesktop(Layout layout) : layout_(std::move(layout)) { priority_.reset(); }
    ~PenOnDesktop() override {
        if (HasFailure() && driver_)
            std::printf("--- the driver's log:\n%s--- end of the driver's log\n", driver_->log().c_str());
    }

private:
    void SetUp() override {
        desktop->set(layout_);
        watch_.emplace(desktop->session());
        std::vector<std::string> names;
        for (const Output& output : layout_.outputs)
            names.push_back(output.name);
        ASSERT_TRUE(watch_->covers(names));
        const Size screen = watch_->sizeOf(layout_.aimed);
        unit_->moveCamera(Optics::straight(screen));
        storeCalibration(*unit_, screen);
        ASSERT_NO_FATAL_FAILURE(startDriver());
        unit_->plug();
        ASSERT_TRUE(bus_.settle(*unit_)) << bus_.failure(*unit_);
        ASSERT_TRUE(driver_->waitFor(kCalibrated));
        for (int knocks = 0; knocks < 20 && watch_->presses().empty(); ++knocks)
            tap({screen.width / 2, screen.height / 2});
        ASSERT_FALSE(watch_->presses().empty()) << "the pen presses nothing";
    }

    void startDriver() {
        const LoginSession& session = desktop->session();
        std::map<std::string, std::string> settings;
        if (!layout_.chosen.empty())
            settings["Main%20Screen"] = layout_.chosen;
        session.user().writeSettings(settings);
        driver_ = std::make_unique<DriverProcess>(DriverOptions{
            .user = session.user().number(), .groups = {}, .environment = session.environment()});
        ASSERT_TRUE(driver_->waitFor(kPointerThroughUinput, seconds(60)));
    }

    // The hand taps there; something has come of it, unless nothing does.
    void tap(ScreenPoint place) {
        const std::size_t before = watch_->presses().size();
        unit_->play(Hand().tap(place, kContact));
        eventually([this] { return unit_->toPlay() == Microseconds::zero(); });
        eventually([&] { return watch_->presses().size() > before; }, seconds(3));
        std::this_thread::sleep_for(kSettled);
    }

    // Where the guest is held up in a tap, a look of the driver finds no report, which ends the press: then
    // the tap has more than one, and the last of them may come behind the beginning of the next tap.
    Landing tapEverywhere() {
        Landing landing;
        const std::vector<ScreenPoint> places = placesOn(watch_->sizeOf(layout_.aimed));
        std::vector<bool> reached(places.size());
        for (std::size_t i = 0; i < places.size(); ++i) {
            std::size_t press = watch_->presses().size();
            tap(places[i]);
            for (; press < watch_->presses().size(); ++press) {
                const auto& [screen, place] = watch_->presses()[press];
                if (screen != layout_.aimed) {
                    ++landing.elsewhere;
                    continue;
                }
                const bool late = i > 0 && distance(places[i - 1], place) < distance(places[i], place);
                const std::size_t meant = late ? i - 1 : i;
                reached[meant] = true;
                landing.distances.push_back(distance(places[meant], place));
            }
        }
        landing.missed = static_cast<int>(std::count(reached.begin(), reached.end(), false));
        return landing;
    }

    void TestBody() override {
        const Landing landing = tapEverywhere();
        const Spread spread = spreadOf(landing.distances);
        std::printf("desktop %s, layout %s: median %.2f worst %.2f missed %d elsewhere %d\n",
                    desktopName.c_str(), layout_.name.c_str(), spread.median, spread.worst, landing.missed,
                    landing.elsewhere);
        EXPECT_EQ(landing.missed, 0);
        EXPECT_EQ(landing.elsewhere, 0);
        EXPECT_GE(spread.count, 12U);
        EXPECT_LE(spread.worst, kWorstLanding);
        EXPECT_EQ(driver_->end(), 0);
    }

    const Layout layout_;
    SystemClock clock_;
    std::optional<UnitPriority> priority_{std::in_place};
    GadgetBus bus_{clock_}; // the kernel has room for one unit of four interfaces at a time
    CameraUnit* unit_ = &bus_.add<CameraUnit>();
    std::optional<PressWatch> watch_;
    std::unique_ptr<DriverProcess> driver_;
};

// "the second at scale 1.5" -> "TheSecondAtScale15"
std::string testName(const std::string& words) {
    std::string name;
    bool begins = true;
    for (const char letter : words) {
        if (std::isalnum(static_cast<unsigned char>(letter)))
            name += static_cast<char>(begins ? std::toupper(letter) : letter);
        begins = letter == ' ';
    }
    return name;
}

void registerTests() {
    for (const Layout& layout : everyLayout()) {
        if (!desktop->offers(layout)) {
            std::printf("desktop %s, layout %s: not offered\n", desktopName.c_str(), layout.name.c_str());
            continue;
        }
        testing::RegisterTest("PenOnDesktop", testName(layout.name).c_str(), nullptr, nullptr, __FILE__,
                              __LINE__, [layout]() -> PenOnDesktop* { return new PenOnDesktop(layout); });
    }
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2)
        return EXIT_FAILURE;
    lightpen::desktopName = argv[1];
    const lightpen::PackagedRule rule;
    const lightpen::GuestUser user;
    const auto compositor = lightpen::startCompositor(lightpen::desktopName, user);
    lightpen::desktop = compositor.get();
    std::printf("desktop %s: %s\n", argv[1], compositor->version().c_str());
    lightpen::registerTests();
    const int status = RUN_ALL_TESTS();
    if (status != 0)
        std::printf("--- the session's log:\n%s--- end of the session's log\n",
                    compositor->session().log().c_str());
    return status;
}
