// SPDX-License-Identifier: MIT
#include "wayland/support/DesktopPen.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <utility>

#include "emulated/UnitControl.h"
#include "kernel/support/DriverLines.h"
#include "kit/Eventually.h"
#include "measure/Analysis.h"
#include "measure/desktop/MenuOverDBus.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// How far a press may land from a hand that rests: the camera's units and the pointer's points are whole
// numbers.
constexpr double kWorstLanding = 2;
constexpr Microseconds kContact = milliseconds(250);
constexpr int kAttempts = 3;
constexpr milliseconds kSettled(300);   // a next tap right behind this one could be one stroke with it
constexpr seconds kDriverPatience(90);  // a guest that has a fraction of a processor is slow to start it
constexpr milliseconds kPatience(3000); // beyond which the driver does nothing more of a tap
constexpr seconds kDesktopPatience(20); // a desktop that draws in software stands still for long

constexpr const char* kCalibrationChosen = "Light n:688 calibration";
constexpr const char* kTargetTaken = "KVR n:935 lightPenCallbackAtPoint";
constexpr const char* kSessionEnds = "KVR n:737 close window";
// The window covers its output by then; no line of the log tells of that.
constexpr milliseconds kSessionOpens(5000);
constexpr milliseconds kTargetGlides(1500); // to its next place; touches do not count meanwhile
constexpr Size kTargetInset{170, 75};       // from the edges of a calibration's window

// What this process connects to while this lives takes it for that user. Needs root.
class AsUser {
public:
    explicit AsUser(uid_t user) {
        if (seteuid(user) != 0)
            throw std::runtime_error("root cannot be another user");
    }
    ~AsUser() {
        if (seteuid(0) != 0)
            std::abort();
    }
    AsUser(const AsUser&) = delete;
    AsUser& operator=(const AsUser&) = delete;
};

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

std::string busOf(const LoginSession& session) {
    return session.environment().at("DBUS_SESSION_BUS_ADDRESS");
}

} // namespace

GuestDesktop::GuestDesktop(const std::string& desktop)
    : name(desktop), compositor(startCompositor(desktop, user)) {
    const AsUser connecting(user.number());
    panel = std::make_unique<FakeStatusNotifierWatcher>(busOf(compositor->session()));
    panel->appear();
}

DesktopPen::DesktopPen(GuestDesktop& desktop, Layout layout) : desktop_(desktop), layout_(std::move(layout)) {
    priority_.reset();
}

DesktopPen::~DesktopPen() {
    if (HasFailure() && driver_)
        std::printf("--- the driver's log:\n%s--- end of the driver's log\n", driver_->log().c_str());
}

const Output& DesktopPen::aimed() const {
    return *std::ranges::find(layout_.outputs, layout_.aimed, &Output::name);
}

Size DesktopPen::picture() const {
    return desktop_.compositor->pointsOf(aimed());
}

void DesktopPen::sitDown(const Optics& calibrated, const Optics& camera) {
    desktop_.compositor->set(layout_);
    ASSERT_NO_FATAL_FAILURE(cover());
    unit_->moveCamera(calibrated);
    storeCalibration(*unit_, picture());
    unit_->moveCamera(camera);
    ASSERT_NO_FATAL_FAILURE(startDriver());
    unit_->plug();
    ASSERT_TRUE(bus_.settle(*unit_)) << bus_.failure(*unit_);
    ASSERT_TRUE(driver_->waitFor(kCalibrated, kDriverPatience));
    ASSERT_NO_FATAL_FAILURE(knock());
}

void DesktopPen::knock() {
    for (int knocks = 0; knocks < 5 && watch_->presses().empty(); ++knocks)
        tap({picture().width / 2, picture().height / 2});
    ASSERT_FALSE(watch_->presses().empty()) << "the pen presses nothing";
}

void DesktopPen::cover() {
    std::map<std::string, Size> screens;
    for (const Output& output : layout_.outputs)
        screens[output.name] = desktop_.compositor->pointsOf(output);
    watch_.emplace(desktop_.compositor->session());
    ASSERT_TRUE(watch_->covers(screens)) << watch_->said();
}

// The old program must not be in the way of outputs that leave.
void DesktopPen::change(const Layout& layout, const Optics& camera) {
    watch_.reset();
    layout_ = layout;
    driver_->skipLog();
    desktop_.compositor->set(layout_);
    const auto [width, height] = picture();
    ASSERT_TRUE(driver_->waitFor("Screen: the picture is on \"" + layout_.aimed + "\", " +
                                     std::to_string(static_cast<int>(width)) + " x " +
                                     std::to_string(static_cast<int>(height)),
                                 kDriverPatience));
    unit_->moveCamera(camera);
    cover();
}

void DesktopPen::startDriver() {
    const LoginSession& session = desktop_.compositor->session();
    if (!layout_.chosen.empty())
        set("Main%20Screen", layout_.chosen);
    session.user().writeSettings(settings_);
    driver_ = std::make_unique<DriverProcess>(
        DriverOptions{.user = session.user().number(), .groups = {}, .environment = session.environment()});
    ASSERT_TRUE(driver_->waitFor(kPointerThroughUinput, kDriverPatience));
}

// The hand taps there, and all that comes of it has come. A guest that is held up for as long as the tap
// lasts never sees it; one that is held up within the tap makes several presses of it, all of which libinput
// can take for those of a bad switch. The hand then taps again. One whole press must arrive.
void DesktopPen::tap(ScreenPoint place) {
    const std::size_t seenBefore = watch_->presses().size();
    const auto seen = [&] { return watch_->presses().size() - seenBefore; };
    for (int attempt = 0; attempt < kAttempts && seen() == 0; ++attempt) {
        const std::size_t pressedBefore = driver_->count(kPressed);
        const auto pressed = [&] { return driver_->count(kPressed) - pressedBefore; };
        unit_->play(Hand().tap(place, kContact));
        eventually([this] { return unit_->toPlay() == Microseconds::zero(); });
        eventually([&] { return pressed() > 0; }, kPatience);
        eventually([this] { return driver_->count(kReleased) >= driver_->count(kPressed); }, kPatience);
        std::this_thread::sleep_for(kSettled);
        eventually([&] { return seen() > 0 || pressed() == 0; }, kDesktopPatience);
        eventually([&] { return seen() >= pressed(); }, seconds(1));
        if (pressed() == 1)
            return;
    }
}

void DesktopPen::clickMenu(const std::string& item) {
    const auto process = static_cast<std::uint32_t>(driver_->pid());
    ASSERT_TRUE(eventually([&] { return desktop_.panel->itemOf(process).has_value(); }, kDriverPatience))
        << "there is no status item";
    const auto itsPlace = *desktop_.panel->itemOf(process);
    std::optional<MenuOverDBus> menu;
    {
        const AsUser connecting(desktop_.user.number());
        menu.emplace(busOf(desktop_.compositor->session()), itsPlace.service, itsPlace.path);
    }
    ASSERT_TRUE(menu->click(std::vector{item}));
}

void DesktopPen::clickMouse(ScreenPoint place) {
    PixelRect whole;
    for (const Output& output : layout_.outputs) {
        const Size size = sizeOf(output, 1);
        whole.width = std::max(whole.width, output.left + static_cast<int>(size.width));
        whole.height = std::max(whole.height, static_cast<int>(size.height));
    }
    desktop_.mouse.click({aimed().left + static_cast<int>(place.x), static_cast<int>(place.y)}, whole);
}

void DesktopPen::openCamera() {
    const Size size = sizeOf(aimed(), 1);
    const CaptureArea area{{aimed().left, 0, static_cast<int>(size.width), static_cast<int>(size.height)}};
    std::string problem;
    auto capture = ScreenCapture::create(desktop_.compositor->serverToLookAt().c_str(), problem,
                                         [area] { return area; });
    ASSERT_TRUE(capture) << problem;
    sight_.emplace(std::move(capture), *unit_);
}

void DesktopPen::chooseCalibration() {
    driver_->skipLog();
    ASSERT_NO_FATAL_FAILURE(clickMenu("Calibration"));
    ASSERT_TRUE(driver_->waitFor(kCalibrationChosen, kDriverPatience));
    std::this_thread::sleep_for(kSessionOpens);
}

// A window has its targets in points of its own, of which there can be fewer than of its screen.
void DesktopPen::touchTargets() {
    const Size screen = picture();
    const double points = screen.width / watch_->windowOn(layout_.aimed).width;
    const double left = kTargetInset.width * points, top = kTargetInset.height * points;
    for (const ScreenPoint target :
         {ScreenPoint{left, top}, ScreenPoint{screen.width - left, top},
          ScreenPoint{left, screen.height - top}, ScreenPoint{screen.width - left, screen.height - top}})
        ASSERT_NO_FATAL_FAILURE(touchTarget(target));
}

bool DesktopPen::sessionEnds(seconds patience) {
    return driver_->waitFor(kSessionEnds, patience);
}

void DesktopPen::touchTarget(ScreenPoint place) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        unit_->play(Hand().tap(place, kContact));
        if (driver_->waitFor(kTargetTaken, seconds(5))) {
            std::this_thread::sleep_for(kTargetGlides);
            return;
        }
    }
    FAIL() << "the session does not take " << NSStringFromPoint(place);
}

// Where the guest is held up in a tap, a look of the driver finds no report, which ends the press: then
// the tap has more than one. Of two that follow each other quickly libinput can hold the second back
// until the next event, which is the next tap's; a tap that has seen nothing but that is made again.
DesktopPen::Landing DesktopPen::tapEverywhere() {
    Landing landing;
    std::optional<ScreenPoint> before;
    for (const ScreenPoint place : placesOn(picture())) {
        bool reached = false;
        for (int attempt = 0; attempt < kAttempts && !reached; ++attempt) {
            std::size_t press = watch_->presses().size();
            tap(place);
            for (; press < watch_->presses().size(); ++press)
                reached = landed(watch_->presses()[press], place, before, landing) || reached;
        }
        landing.missed += reached ? 0 : 1;
        before = place;
    }
    return landing;
}

// Whether the press is of a tap there, and not of the one before.
bool DesktopPen::landed(const PressWatch::Press& press, ScreenPoint place, std::optional<ScreenPoint> before,
                        Landing& landing) {
    const auto& [screen, at] = press;
    std::printf("  %s: pressed %s on %s\n", NSStringFromPoint(place).c_str(), NSStringFromPoint(at).c_str(),
                screen.c_str());
    if (screen != layout_.aimed) {
        ++landing.elsewhere;
        return false;
    }
    const bool late = before && distance(*before, at) < distance(place, at);
    landing.distances.push_back(distance(late ? *before : place, at));
    return !late;
}

void DesktopPen::expectTapsToArrive(const std::string& before) {
    ASSERT_NO_FATAL_FAILURE(knock());
    const Landing landing = tapEverywhere();
    const Spread spread = spreadOf(landing.distances);
    std::printf("desktop %s, layout %s%s: median %.2f worst %.2f missed %d elsewhere %d\n",
                desktop_.name.c_str(), layout_.name.c_str(), before.c_str(), spread.median, spread.worst,
                landing.missed, landing.elsewhere);
    EXPECT_EQ(landing.missed, 0);
    EXPECT_EQ(landing.elsewhere, 0);
    EXPECT_LE(spread.worst, kWorstLanding);
}

} // namespace lightpen
