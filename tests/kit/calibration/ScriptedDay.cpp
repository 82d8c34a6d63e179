// SPDX-License-Identifier: MIT
#include "kit/calibration/ScriptedDay.h"

#include <algorithm>
#include <any>
#include <array>
#include <cmath>
#include <exception>
#include <utility>

#include <QCoreApplication>

#include "calibration/KVRCalibrationWindow.h"
#include "calibration/TargetGrid.h"
#include "device/ChTwoPoint.h"
#include "device/VirtualKeyCodes.h"
#include "kit/device/OffscreenApplication.h"
#include "matching/RBIOServiceMatchingServer.h"

namespace lightpen {

namespace {

using namespace std::chrono_literals;

constexpr Size kScreen{1280, 800};
constexpr Microseconds kStepTime{8ms};
constexpr Microseconds kReplug{200ms}; // after a plug was pulled
constexpr Microseconds kLoopSlice{100ms};
constexpr Microseconds kReady{6s};   // from the plug to the first stroke
constexpr Microseconds kRest{100ms}; // six passes of the point thread
// Longer than any wait that has an end of its own, and than all of them in a row.
constexpr Microseconds kPatience{120s};
constexpr std::uint32_t kReadPairingTable = 'R';

// The driver is made on a desktop of its own: its observers there are not those of a day.
EventGeneratorNX7* processDriver() {
    static EventGeneratorNX7* const driver = [] {
        TestPlatform desk;
        EventGeneratorNX7* const made = EventGeneratorNX7::sharedEventGeneratorNX7();
        RBIOServiceMatchingServer::defaultServer().removeObserver(made);
        return made;
    }();
    return driver;
}

// What an argument chooses; the unit's number is its last bit.
template <class Value, std::size_t count>
Value chosen(const std::array<Value, count>& values, std::uint8_t argument) {
    return values[(argument >> 1) % count];
}

using Switch = bool UnitBehaviour::*;
constexpr std::array<Switch, 18> kSwitches{&UnitBehaviour::quietAroundCommands,
                                           &UnitBehaviour::plainFirstByte,
                                           &UnitBehaviour::avoidsZeroLowByte,
                                           &UnitBehaviour::steadyReports,
                                           &UnitBehaviour::endsWithPenUp,
                                           &UnitBehaviour::idleReports,
                                           &UnitBehaviour::idleEnds,
                                           &UnitBehaviour::idleSlowly,
                                           &UnitBehaviour::penStopsInImageMode,
                                           &UnitBehaviour::idleAfterPicture,
                                           &UnitBehaviour::blackLeftColumn,
                                           &UnitBehaviour::recordsValidTogether,
                                           &UnitBehaviour::pairingRecordsFarOff,
                                           &UnitBehaviour::filterInAtPowerUp,
                                           &UnitBehaviour::darkWhileFilterMoves,
                                           &UnitBehaviour::singleBlobOnly,
                                           &UnitBehaviour::darkAfterJump,
                                           &UnitBehaviour::resetsAtPowerOff};

UnplugPoint unplugPoint(std::uint8_t argument) {
    using When = UnplugPoint::When;
    constexpr std::array<std::uint8_t, 8> kCommands{'H', 'K', 'C', 'R', 'S', 'T', 0, 'W'};
    constexpr std::array<When, 4> kWhens{When::beforeCommand, When::afterCommand, When::midReply,
                                         When::afterReply};
    UnplugPoint point{.command = chosen(kCommands, argument), .when = kWhens[(argument >> 4) % 4]};
    point.replyBytes = 2;
    if (argument & 0x40)
        point.occurrence = 2;
    if (argument & 0x80)
        point.replugAfter = kReplug;
    return point;
}

CameraPoint spotOf(std::uint8_t argument) {
    return {-400.0 + (argument >> 4) * 220.0, -300.0 + (argument & 0xF) * 170.0};
}

ScreenPoint placeOf(std::uint8_t argument) {
    return {8.0 + (argument >> 4) * 84.0, 8.0 + (argument & 0xF) * 52.0};
}

} // namespace

// What the application does for the driver, without its menus and pictures.
class ScriptedDay::User final : public EventGeneratorNX7DeviceCallbackProtocol {
public:
    User(KVRCalibrationCenter& center, Tally& tally) : center_(center), tally_(tally) {}
    bool respondsTo(Operation) const override { return true; }
    void noiseDetectedCallback(EventGeneratorNX7&) override { ++tally_.lights; }
    void deviceDidAddCallback(EventGeneratorNX7& driver) override {
        connected = true;
        center_.cancelSession();
        center_.setCalibrationPoints(driver.calibrationPointsFromFlash());
        driver.setCalibrationCenter(center_.shared_from_this());
    }
    void deviceDidRemoveCallback(EventGeneratorNX7&) override {
        connected = false;
        center_.cancelSession();
    }
    void calibrationDidComplete(EventGeneratorNX7& driver, const PointListRef& points) {
        ++tally_.calibrations;
        driver.writeCalibrationToFlash(points);
        center_.setCalibrationPoints(points);
        driver.setDelegate(nullptr);
        driver.setCalibrationCenter(center_.shared_from_this());
        Platform::current().clock.sleep(500ms);
        if (EventGeneratorNX7::wirelessPointsFromFlash() == 0)
            driver.Nx9commd(kReadPairingTable);
    }

    SharedFlag connected{false}; // what the menu offers depends on it

private:
    KVRCalibrationCenter& center_;
    Tally& tally_;
};

// The day

ScriptedDay::ScriptedDay() : driver_((ensureOffscreenApplication(), processDriver())) {
    setLogSink(this);
    { const EventGeneratorNX7 another; } // whose making begins the values anew that drivers share
    driver_->setToDefault();
    driver_->setForcedExposure(25);
    desk_.desktop.frame = ScreenRect{{0, 0}, kScreen};
    desk_.registry.publish({"IOHIDSystem", "IOService:/IOHIDSystem", {}, {}});
    // The matching server's own port belongs to the first desktop; any port of this one delivers for all.
    port_ = desk_.registry.IONotificationPortCreate(0);
    desk_.runLoop.addSource(port_->IONotificationPortGetRunLoopSource(), kCFRunLoopCommonModes);
    desk_.dataFiles.put("NX9_Wireless.bin", ReportBytes(112, 0x55));
    desk_.pointer.onPost = [this](const RecordingPointer::Posted& event) { posted(event); };
    desk_.pointer.onReleaseButtons = [this] { leftDown_ = rightDown_ = false; };
    desk_.systemUI.onCall = [this](const std::string& call) {
        if (call.find(" cursor ") != std::string::npos)
            cursorHidden_ = call.starts_with("hide");
    };
    desk_.threads.onDetach = [this] {
        turnTaking_.start([this, entry = desk_.threads.entries.back()] {
            struct Counted {
                std::atomic<int>& count;
                ~Counted() { --count; }
            } const counted{threads_};
            ++threads_;
            entry();
        });
    };
    desk_.clock.onSleep = [this](Microseconds) { bus_.advance(desk_.clock.now()); };
    bus_.onPoll([this] { desk_.clock.waitUntil(desk_.clock.now() + 100us); });
    bus_.runOnMainLoop();
    units_[0] = &bus_.add<CameraUnit>({.reportLength = 804}, Optics::strongKeystone(kScreen));
    units_[1] = &bus_.add<CameraUnit>({.reportLength = 32, .productID = kUnitSecondProductID},
                                      Optics::straight(kScreen));
    center_ = std::make_shared<KVRCalibrationCenter>(0, kClearColor, 2, Screen{"main", {{0, 0}, kScreen}});
    user_ = std::make_shared<User>(*center_, tally_);
    desk_.notifications.addObserver(this, kCalibrationCompleted, nullptr, [this](const Notification& done) {
        user_->calibrationDidComplete(
            *driver_, std::any_cast<PointListRef>(done.userInfo.at(std::string(kCalibrationPoints))));
    });
    driver_->init();
    driver_->setDeviceDelegate(user_);
}

ScriptedDay::~ScriptedDay() {
    desk_.runLoop.terminate(0);
    turnTaking_.finish(kPatience);
    RBIOServiceMatchingServer::defaultServer().removeObserver(driver_);
    driver_->setDelegate(nullptr);
    driver_->setDeviceDelegate(nullptr);
    driver_->setCalibrationCenter(nullptr);
    driver_->releaseHIDInterface();
    desk_.clock.onSleep = nullptr;
    desk_.notifications.removeObserver(this);
    setLogSink(nullptr);
}

std::string ScriptedDay::play(std::span<const std::uint8_t> script) {
    over_ = false;
    turnTaking_.start([this, script] {
        playScript(script);
        endDay();
    });
    try {
        while (!over_) {
            desk_.runLoop.runFor(kLoopSlice);
            if (desk_.runLoop.terminating()) // which ends no wait of this loop's own
                wait(kLoopSlice);
            ++turns_;
            QCoreApplication::processEvents();
            forgetWhatWasKept();
        }
    } catch (const std::exception& thrown) {
        finding_ = std::string("an exception on the main thread: ") + thrown.what();
        over_ = true;
    }
    return finding_.empty() ? whatIsWrong() : finding_;
}

std::string ScriptedDay::whatIsWrong() const {
    // A program that has ended has nothing under way any more.
    if (turnTaking_.exitStatus())
        return {};
    if (leftDown_ || rightDown_)
        return leftDown_ ? "the left button is down at the end" : "the right button is down at the end";
    if (threads_ != 0)
        return "a thread of the driver outlives its unit";
    if (driver_->delegate())
        return "a session outlives its unit";
    if (desk_.systemUI.mode != kUIModeNormal)
        return "the desktop's panels are hidden at the end";
    if (cursorHidden_)
        return "the cursor is hidden at the end";
    return {};
}

void ScriptedDay::posted(const RecordingPointer::Posted& event) {
    if (event.type == kLeftMouseDown || event.type == kLeftMouseUp)
        leftDown_ = event.type == kLeftMouseDown;
    if (event.type == kRightMouseDown || event.type == kRightMouseUp)
        rightDown_ = event.type == kRightMouseDown;
    tally_.presses += event.type == kLeftMouseDown;
    if (event.type == kLeftMouseDown || event.type == kLeftMouseDragged)
        drawnAt_ = ScreenPoint{static_cast<double>(event.location.x), static_cast<double>(event.location.y)};
}

// The doubles keep what is asked of them, for tests that compare it.
void ScriptedDay::forgetWhatWasKept() {
    desk_.pointer.takePosted();
    desk_.clock.takeSleeps();
    desk_.threads.entries.clear();
    desk_.threads.priorities.clear();
}

// He who plays the script

void ScriptedDay::wait(Microseconds duration, const std::function<bool()>& woken) {
    desk_.clock.waitUntil(desk_.clock.now() + duration, woken);
}

void ScriptedDay::playScript(std::span<const std::uint8_t> script) {
    for (; script.size() >= 2 && !over_ && !turnTaking_.exitStatus(); script = script.subspan(2)) {
        constexpr auto kSteps = static_cast<unsigned>(DayStep::count);
        perform(static_cast<DayStep>(script[0] % kSteps), script[1]);
        ++tally_.steps;
        wait(kStepTime);
    }
}

void ScriptedDay::endDay() {
    mendUnits();
    // A plug that was pulled may be about to be back.
    wait(kReplug + 100ms);
    unplugAll();
    if (finding_.empty() && !programEnds()) {
        drawOnceMore();
        unplugAll();
    }
    over_ = true;
}

void ScriptedDay::mendUnits() {
    // Where the targets of a calibration stand.
    constexpr double kLeft = kTargetSideMargin, kRight = kScreen.width - kLeft;
    constexpr double kTop = kTargetUpperMargin, kBottom = kScreen.height - kTop;
    for (CameraUnit* unit : units_) {
        *unit->faults() = Faults{};
        *unit->behaviour() = UnitBehaviour{};
        *unit->information() = DeviceInformation{};
        unit->flash()->store(unit->seen({kLeft, kTop}), unit->seen({kRight, kTop}),
                             unit->seen({kLeft, kBottom}), unit->seen({kRight, kBottom}));
        unit->strayLight(std::nullopt);
        unit->lift();
    }
}

// What waits for a unit ends with it, and the driver is back at rest.
void ScriptedDay::unplugAll() {
    for (CameraUnit* unit : units_)
        unit->unplug();
    wait(1s);
    const long before = turns_;
    wait(kPatience, [&] { return turns_ > before + 3 && threads_ == 0; });
    if (turns_ == before) {
        finding_ = "the main thread waits without end";
        desk_.runLoop.terminate(0);
        wait(kPatience, [&] { return turns_ > before; });
    }
}

bool ScriptedDay::programEnds() const {
    return desk_.runLoop.terminating() || turnTaking_.exitStatus();
}

// Whatever the day was, a good unit draws, and no place is left out where the pen rests: the point thread
// takes the newest report of each pass, so that one that was sent for several passes has been lost if it is
// not drawn.
void ScriptedDay::drawOnceMore() {
    constexpr std::array<ScreenPoint, 6> kPlaces{
        {{200, 150}, {1100, 130}, {640, 400}, {170, 700}, {1000, 650}, {420, 260}}};
    CameraUnit& unit = *units_[tally_.steps % 2];
    mendUnits(); // a calibration that came to its end meanwhile has written its own points
    perform([this] { center_->setTotalPoints(4); }); // as many as the flash keeps
    unit.plug();
    wait(kReady);
    drawnAt_ = std::nullopt;
    for (const ScreenPoint place : kPlaces) {
        unit.touch(place);
        if (!drawsAt(place))
            finding_ = drawnAt_ ? "a report of a good unit is lost" : "a good unit does not draw";
    }
    unit.lift();
    wait(kRest);
    if (finding_.empty() && leftDown_)
        finding_ = "the lifted pen of a good unit draws";
}

bool ScriptedDay::drawsAt(ScreenPoint place) {
    constexpr double kNear = 12; // of noise, and of the camera's whole units far away from it
    wait(kRest);
    return drawnAt_ && std::hypot(drawnAt_->x - place.x, drawnAt_->y - place.y) < kNear;
}

void ScriptedDay::perform(DayStep step, std::uint8_t argument) {
    switch (step) {
    case DayStep::wait:
        wait(argument * kStepTime);
        break;
    case DayStep::calibrate:
        perform([this, argument] { calibrate(argument); });
        break;
    case DayStep::cancel:
        perform([] {
            if (auto* window = topWindow<KVRCalibrationWindow>(); window && window->isVisible())
                window->keyDown(kVirtualKeyEscape);
        });
        break;
    case DayStep::picture:
        perform([this] { tally_.pictures += driver_->previewImage() != nullptr; });
        break;
    case DayStep::settings:
        perform([this] { driver_->updateTwoValueToDevice(); });
        break;
    case DayStep::keys:
        perform([argument] { pressKeys(argument); });
        break;
    case DayStep::menu:
        perform([argument] {
            if (argument & 1)
                EventGeneratorNX7::askForPairingKeys();
            else
                EventGeneratorNX7::giveBackPairingKeys();
        });
        break;
    case DayStep::preview:
        perform([this] { driver_->startPointQueue(); });
        break;
    case DayStep::mend:
        mendUnits();
        break;
    default:
        performAtUnit(step, *units_[argument & 1], argument);
    }
}

void ScriptedDay::perform(std::function<void()> operation) {
    desk_.runLoop.performOnMainThread({this, "step", {}, std::move(operation)});
}

void ScriptedDay::performAtUnit(DayStep step, CameraUnit& unit, std::uint8_t argument) {
    constexpr std::array<std::size_t, 8> kLengths{0, 1, 2, 5, 32, 256, 512, 804};
    switch (step) {
    case DayStep::plug:
        return unit.plug();
    case DayStep::unplug:
        return unit.unplug();
    case DayStep::touch:
        // Every place is touched at both units: only one of them is open.
        for (CameraUnit* each : units_)
            each->touch(placeOf(argument));
        return;
    case DayStep::spot:
        return unit.spotAt(spotOf(argument));
    case DayStep::lift:
        for (CameraUnit* each : units_)
            each->lift();
        return;
    case DayStep::light:
        return unit.strayLight(argument & 2 ? std::optional(spotOf(argument)) : std::nullopt);
    case DayStep::silence:
        unit.faults()->silent = argument & 2;
        return;
    case DayStep::length:
        unit.faults()->sentLength = argument & 2 ? std::optional(chosen(kLengths, argument)) : std::nullopt;
        return;
    case DayStep::garbage:
        unit.faults()->garbageEvery = (argument >> 1) & 7;
        unit.faults()->garbageSeed = argument;
        return;
    case DayStep::deafness:
        unit.faults()->doesNotReadOutput = argument & 2;
        return;
    case DayStep::pullAt:
        unit.faults()->unplug = unplugPoint(argument);
        return;
    case DayStep::flash:
        unit.faults()->flashAnswers =
            chosen(std::array{FlashAnswers::asStored, FlashAnswers::yesYesNo, FlashAnswers::yesNo}, argument);
        return;
    case DayStep::delay:
        unit.faults()->extraAnswerDelay = (argument >> 1) * 10ms;
        return;
    case DayStep::behaviour: {
        const auto behaviour = unit.behaviour();
        (*behaviour).*chosen(kSwitches, argument) ^= true;
        return;
    }
    case DayStep::information:
        unit.information()->wireless = (argument >> 1) & 1;
        unit.information()->OPmode = (argument >> 2) & 1;
        return;
    default:
        return;
    }
}

// The user

void ScriptedDay::calibrate(std::uint8_t argument) {
    constexpr std::array<std::int64_t, 4> kTargets{4, 9, 25, 80};
    if (!user_->connected)
        return; // without a unit there is no menu to choose it from
    center_->setTotalPoints(argument & 8 ? chosen(kTargets, argument) : kTargets[0]);
    if (argument & 1)
        center_->startAutoCalibration();
    else
        center_->startCalibration();
}

void ScriptedDay::pressKeys(std::uint8_t argument) {
    const auto windows = topWindows<ChTwoPoint>();
    for (std::size_t key = 0; !windows.empty() && key < 4; ++key)
        if (argument >> key & 1)
            windows.back()->keyDown(
                std::array{kVirtualKeyZ, kVirtualKeyDelete, kVirtualKeyC, kVirtualKeyEscape}[key]);
}

} // namespace lightpen
