// SPDX-License-Identifier: MIT
// From the program's start to the controller that is ready, and what the driver tells it then.
#include "app/LightPenNX7Controller.h"

#include <optional>
#include <utility>

#include "app/DebugWindow.h"
#include "app/DefaultsReading.h"
#include "app/LoginList.h"
#include "app/PreviewWindow.h"
#include "app/ResourceImages.h"
#include "app/StatusItem.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr const char* kNoValue = "-1";

using RegisteredDefaults = std::map<std::string, DefaultsValue, std::less<>>;

constexpr std::uint32_t kTargetBezelStyle = 2;
// The panel asks for the picture of a new item; the driver's start would keep it waiting for seconds.
constexpr Microseconds kPanelTurn = std::chrono::milliseconds(150);

std::optional<DefaultsValue> defaultsValue(const PropertyListValue& value) {
    if (const auto* flag = value.as<bool>())
        return *flag;
    if (const auto* number = value.as<std::int64_t>())
        return *number;
    if (const auto* number = value.as<double>())
        return *number;
    if (const auto* text = value.as<std::string>())
        return *text;
    return std::nullopt;
}

RegisteredDefaults defaultsOf(const PropertyListDictionary& dictionary) {
    RegisteredDefaults defaults;
    for (const auto& [key, value] : dictionary.entries) {
        if (auto simple = defaultsValue(value))
            defaults.emplace(key, std::move(*simple));
        else
            logLine("Application: NX.plist has no simple value for \"%s\"", key.c_str());
    }
    return defaults;
}

} // namespace

void LightPenNX7Controller::initialize(bool calibratesAutomatically) {
    printText("Light n:43 \n");
    const auto dictionary = Platform::current().shell.bundle.dictionaryWithContentsOfResource("NX", "plist");
    auto defaults = dictionary ? std::optional(defaultsOf(*dictionary)) : std::nullopt;
    printText("Light n:44 %p\n", static_cast<const void*>(defaults ? &*defaults : nullptr));
    if (defaults && calibratesAutomatically)
        defaults->insert_or_assign(std::string(kAutoCalibrationKey), true);
    if (defaults)
        Platform::current().defaults.registerDefaults(std::move(*defaults));
}

LightPenNX7Controller::LightPenNX7Controller() : shownThreshold_(kNoValue), shownExposure_(kNoValue) {}

LightPenNX7Controller::~LightPenNX7Controller() {
    logLine("Light n:380 ");
    if (calibrationCenter_)
        Platform::current().notifications.removeObserver(this);
}

void LightPenNX7Controller::awakeFromNib() {
    makeStatusItem();
    calibrationCenter_ = std::make_shared<KVRCalibrationCenter>(0, kClearColor, kTargetBezelStyle,
                                                                Platform::current().desktop.mainScreen());
    calibrationCenter_->setSessionObserver([self = weak_from_this()] {
        if (const auto controller = self.lock()) {
            controller->offerToCancel();
            controller->updateConditionLater();
        }
    });
    NotificationCenter& notifications = Platform::current().notifications;
    notifications.addObserver(this, kCalibrationCompleted, nullptr, [this](const Notification& notification) {
        calibrationDidComplete(notification);
    });
    observeScreen();
    followCondition();
    deviceConnected_ = false;
    loadThresholds();
    printText("Light n:356 轉入Event\n");
    EventGeneratorNX7& driver = *EventGeneratorNX7::sharedEventGeneratorNX7();
    const bool present = driver.isDevicePlugIn();
    if (present)
        startWithUnit(driver);
    else
        rebuildMenu(MenuMode::exitOnly);
    updateCondition();
    watchForPanel();
    // Both windows stay above others of their own; the preview is not shown yet.
    if (isSet(kDebugWindowKey))
        showDebugWindow(driver, present);
    processLaunchAtStartUp();
    notifications.addObserver(this, kCurrentLocaleDidChange, nullptr,
                              [this](const Notification& notification) { localeDidChanged(notification); });
    driver.setDeviceDelegate(shared_from_this());
}

void LightPenNX7Controller::makeStatusItem() {
    statusItem_ = std::make_unique<StatusItem>();
    statusItem_->setImage(statusImage("disconn"));
    statusItem_->setMenuOpened([this] { menuOpened(); });
    statusItem_->setMenuClosed([] { EventGeneratorNX7::giveBackPairingKeys(); });
    printText("Light n:342 menu 設定\n");
    Platform::current().runLoop.runFor(kPanelTurn);
}

// Nobody may be kept from locking the screen, and nothing is shown above a locker.
void LightPenNX7Controller::observeScreen() {
    NotificationCenter& notifications = Platform::current().notifications;
    notifications.addObserver(this, kScreenWasCovered, nullptr, [this](const Notification&) {
        calibrationCenter_->cancelSession();
        EventGeneratorNX7::sharedEventGeneratorNX7()->screenWasCovered();
    });
    notifications.addObserver(this, kScreenWasUncovered, nullptr, [](const Notification&) {
        EventGeneratorNX7::sharedEventGeneratorNX7()->screenWasUncovered();
    });
    notifications.addObserver(this, kScreensDidChange, nullptr, [this](const Notification&) {
        EventGeneratorNX7::sharedEventGeneratorNX7()->screensDidChange();
        if (window)
            window->screensDidChange();
        updateCondition();
        updateHome();
    });
}

void LightPenNX7Controller::loadThresholds() {
    if (!thresholds.empty())
        return;
    const auto values = Platform::current().shell.bundle.objectForInfoDictionaryKey("Threshold Values");
    if (const auto* list = values ? values->as<PropertyListArray>() : nullptr)
        thresholds = *list;
    else
        logLine("Application: Info.plist has no list \"Threshold Values\"; no distance will be marked");
}

void LightPenNX7Controller::startWithUnit(EventGeneratorNX7& driver) {
    readDeviceInformation(driver);
    logLine("Light n:357 cmosVer:0x%x veners: 0x%x",
            static_cast<unsigned>(controllerState.cmosVersion.load()),
            static_cast<unsigned>(controllerState.boardVersion.load()));
    logLine("Light n:358 wireless: %d", EventGeneratorNX7::wirelessPointsFromFlash());
    rebuildMenu(MenuMode::full);
    deviceDidAddCallback(driver);
}

void LightPenNX7Controller::processLaunchAtStartUp() {
    using Change = LoginListUpdate::Change;
    logLine("Light n:47 ");
    ApplicationShell& shell = Platform::current().shell;
    LoginListUpdate update =
        updatedLoginList(shell.loginItems.copyValue(), isSet(kLaunchAtStartUpKey), shell.bundle);
    if (update.change == Change::updated)
        logLine("Light n:87 LightPenNX7 StartUp setting found in system, updating APP path now.");
    else if (update.change == Change::added)
        logLine("Light n:79 Nothing is found in login window, adding LightPenNX7 into Start Up Group.");
    else if (update.change == Change::removed)
        logLine("Light n:98 User cancel the StartUp function, deleting the login window now.");
    shell.loginItems.setValue(std::move(update.list));
    // A list that cannot be stored stays as it was; the store says so in its log line.
    shell.loginItems.synchronize();
}

// The unit

void LightPenNX7Controller::readDeviceInformation(const EventGeneratorNX7& driver) {
    controllerState.cmosVersion = driver.cmosVerFromFlash();
    controllerState.boardVersion = driver.venerPointsFromFlash();
}

void LightPenNX7Controller::statMenu(EventGeneratorNX7& driver) {
    readDeviceInformation(driver);
    logLine("Light n:140 veners: %x", static_cast<unsigned>(controllerState.boardVersion.load()));
    logLine("Light n:143 wireless: %d", EventGeneratorNX7::wirelessPointsFromFlash());
    rebuildMenu(MenuMode::full);
}

void LightPenNX7Controller::deviceDidAddCallback(EventGeneratorNX7& driver) {
    logLine("Light n:794 ");
    deviceConnected_ = true;
    statusItem_->setImage(statusImage("connect"));
    calibrationCenter_->cancelSession();
    calibrationCenter_->setCalibrationPoints(driver.calibrationPointsFromFlash());
    driver.setCalibrationCenter(calibrationCenter_);
    showValue(shownThreshold_, QString::number(driver.threshold()));
    const std::int32_t exposure = driver.forcedExposure();
    logLine("Light n:799 value deviceDidAddCallback: %d", exposure);
    showValue(shownExposure_, QString::number(exposure));
    markDistances(exposure);
    updateCondition();
    forgetUnitBefore();
}

void LightPenNX7Controller::deviceDidRemoveCallback(EventGeneratorNX7&) {
    logLine("Light n:883 ");
    deviceConnected_ = false;
    controllerState.menuMode = MenuMode::exitOnly;
    calibrationCenter_->cancelSession();
    if (std::this_thread::get_id() == mainThread_) {
        showDeviceRemoved();
    } else {
        Platform::current().runLoop.performOnMainThread(
            {this, "showDeviceRemoved", {}, [self = weak_from_this()] {
                 // A unit that has arrived meanwhile stays shown.
                 const auto controller = self.lock();
                 if (controller && !controller->deviceConnected())
                     controller->showDeviceRemoved();
             }});
    }
    logLine("Light n:774 ");
}

void LightPenNX7Controller::showDeviceRemoved() {
    statusItem_->setImage(statusImage("disconn"));
    showValue(shownThreshold_, kNoValue);
    showValue(shownExposure_, kNoValue);
    rebuildMenu(MenuMode::exitOnly);
    updateCondition();
}

// Qt keeps what it has drawn of an icon, for that icon alone: a new one at each plug would be drawn and kept
// again.
QIcon LightPenNX7Controller::statusImage(std::string_view name) {
    QIcon& image = statusImages_[std::string(name)];
    if (image.isNull())
        image = resourceIcon(name);
    return image;
}

// A desktop may have refused the keyboard to the key window when it was made; now, and until the menu closes,
// the user turns to this program.
void LightPenNX7Controller::menuOpened() {
    if (const auto menu = statusItem_->menu())
        validateItems(*menu);
    EventGeneratorNX7::askForPairingKeys();
}

// While the screen is covered the window waits for the light test that follows.
void LightPenNX7Controller::noiseDetectedCallback(EventGeneratorNX7&) {
    logLine("Light n:784 noiseDetectedCallback");
    if (!Platform::current().systemUI.isScreenCovered())
        showPreviewWindow(true);
}

} // namespace lightpen
