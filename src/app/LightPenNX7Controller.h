// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <QIcon>
#include <QMenu>
#include <QPointer>

#include "app/ControllerState.h"
#include "app/PenCondition.h"
#include "app/home/ProgramFacts.h"
#include "calibration/KVRCalibrationCenter.h"
#include "device/EventGeneratorNX7.h"
#include "platform/Notifications.h"
#include "platform/PropertyList.h"
#include "platform/UserNotices.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace lightpen {

class DebugWindow;
class PreviewImageView;
class PreviewWindow;
class StatusItem;

// The application's controller. It owns the status item with its menus, the windows and the calibration
// centre, starts the driver, brings the two together when a unit is there, and does what the user chooses.
// Main thread, unless an operation says otherwise. It must be owned by a shared pointer.
class LightPenNX7Controller final : public EventGeneratorNX7DeviceCallbackProtocol,
                                    public std::enable_shared_from_this<LightPenNX7Controller> {
public:
    // Makes the windows, hidden. Needs the platform and Qt's application object.
    LightPenNX7Controller();
    ~LightPenNX7Controller() override;
    LightPenNX7Controller(const LightPenNX7Controller&) = delete;
    LightPenNX7Controller& operator=(const LightPenNX7Controller&) = delete;

    // --- Start-up (LightPenNX7Controller.cpp)

    // Registers the application's defaults. Once, before the first controller is made. Without the file of
    // the defaults it registers nothing. The menu's calibration is an automatic one until the user has
    // chosen, where the program says so.
    static void initialize(bool calibratesAutomatically = false);
    // Shows the status item, starts the driver (which takes seconds when a unit is there), builds the menu
    // and registers with the driver.
    void awakeFromNib();
    // Brings the list of the applications that start at login into line with the default "Launch At Start
    // Up".
    void processLaunchAtStartUp();

    // --- The driver's callbacks (LightPenNX7Controller.cpp)

    // A unit has arrived: its versions are read and its menu is made.
    void statMenu(EventGeneratorNX7& driver) override;
    // The stored calibration goes to the centre and the centre to the driver: the pen moves the pointer from
    // now on. A session under way is cancelled, since its points came from another unit.
    void deviceDidAddCallback(EventGeneratorNX7& driver) override;
    // A session under way is cancelled. Also called on the point thread; menu and windows then follow on the
    // main thread.
    void deviceDidRemoveCallback(EventGeneratorNX7& driver) override;
    // Shows the preview window, unless the screen is covered.
    void noiseDetectedCallback(EventGeneratorNX7& driver) override;
    bool respondsTo(Operation) const override { return true; }

    // --- Menus and their language (ControllerMenus.cpp). Without a language for its identifier the program
    // ends with a message.

    // Chooses the language, loads its texts and makes the menu.
    std::shared_ptr<QMenu> constructMenu(MenuMode menuMode);
    // The menu of a unit that is there, in the texts that are loaded; the identifier's language is marked.
    std::shared_ptr<QMenu> constructMenuForLocalIdentifier(const std::string& identifier);
    std::shared_ptr<QMenu> ExitMenuForLocalIdentifier();
    // Gives the windows their texts.
    void constructPreviewWindow();
    // Every item is always enabled.
    bool validateMenuItem(const QAction& item);
    // Makes the menu in force anew, in the present language.
    void localeDidChanged(const Notification& notification);

    // --- What the user chooses (ControllerActions.cpp). A sender that is a text is only logged.

    // Starts a calibration with four targets: an automatic one when the default "Auto Calibration" is true.
    void calibration(const std::string& sender);
    // Stores the points in the unit, which takes a while, and has the pen move the pointer with them.
    void calibrationDidComplete(const Notification& notification);
    // Sends the settings to the unit, then stores the item's tag as the distance.
    void distance(const QAction& sender);
    // Stores the language of this item; the menus follow when they are next made.
    void switchLanguage(const QAction& sender);
    // Opens the help document in the language that was chosen.
    void help();
    // Shows the versions of the unit that was last there.
    void about(const std::string& sender);
    // Ends the program, from nested waits too.
    void exit(const std::string& sender);
    // Leaves the unit as the next program wants to find it. After the main loop, whatever has ended it.
    void programEnds() const { calibrationCenter_->programEnds(); }
    // Hiding the window has the pen's reports taken again.
    void showPreviewWindow(bool show);
    // Shows the window when it is hidden, hides it when it is shown.
    void invokePreview(const std::string& sender);
    // Fetches a new picture and shows it; runs the main loop meanwhile.
    void previewTimerFired(const std::string& timer);
    // Sends the settings to the unit.
    void debugWindowButton(const std::string& sender);

    // --- The window of its own, and what others ask for (ControllerHome.cpp)

    // What the window says of the program; before the window is first shown.
    void setProgramFacts(const ProgramFacts& facts);
    // Shows the window before others, unless the screen is covered.
    void showHome();
    // Does what another program of the user's asks for: "show" and "settings" show the window, "calibrate"
    // begins a calibration as the menu does, "help" opens the help document. Another word is a log line. From
    // the making on, also while a unit holds up awakeFromNib(). Returns false when it was refused.
    bool performAction(const std::string& action);

    // Whether a unit is open. Any thread.
    bool deviceConnected() const { return deviceConnected_; }
    // The item in the panel; null before awakeFromNib().
    const StatusItem* statusItem() const { return statusItem_.get(); }
    // Whether the pen can be used, from awakeFromNib() on.
    const PenCondition& penCondition() const { return condition_; }

private:
    static constexpr std::string_view kCancelKey = "Cancel the calibration";
    static constexpr std::string_view kCalibrationKey = "Calibration";
    static constexpr std::string_view kCalibrateAgainKey = "Calibrate again";
    using NoticeOperation = std::function<void(LightPenNX7Controller&)>;
    using ItemOperation = std::function<void(LightPenNX7Controller&, QAction&)>;

    void makeStatusItem();
    void loadThresholds();
    void startWithUnit(EventGeneratorNX7& driver);
    void showDebugWindow(const EventGeneratorNX7& driver, bool present);
    void readDeviceInformation(const EventGeneratorNX7& driver);
    QIcon statusImage(std::string_view name);
    void offerToCancel();
    void cancelCalibration();
    void menuOpened();
    void showDeviceRemoved();
    void observeScreen();

    void followCondition();
    void updateCondition();
    void updateConditionLater();
    void conditionDidChange();
    void performLater(const char* selector, Microseconds delay, void (LightPenNX7Controller::*operation)());
    void tellOnce(std::string_view titleKey, UserNotice notice);
    UserNotice::Action noticeAction(std::string_view labelKey, NoticeOperation operation);
    UserNotice::Action offerToCalibrate(std::string_view labelKey);
    void tellOfUnit();
    void tellOfPermission();
    void tellOfStrayLight();
    void watchForPanel();
    void tellOfNoPanel();
    void tellOfCalibration(const PointListRef& points, const PointListRef& before, bool stored);
    void restoreCalibration(const PointListRef& points);
    void calibrate(bool automatic, const std::string& sender);
    void showTargets(bool automatic, const std::string& sender);
    const ProgramCamera::Calibration* cameraCalibration();
    bool calibrates();

    struct HomeParts;
    HomeParts& homeParts();
    void makeHome();
    void updateHome();
    QIcon conditionPicture();
    QString conditionWords(const QString& between);
    QString conditionAdvice();
    void keepCalibrationBefore(const PointListRef& points);
    void forgetUnitBefore();
    void undoCalibration();
    void settingDidChange(std::string_view key);

    std::string choosePreferredLanguage() const;
    void loadLanguage(const std::string& identifier, MenuMode menuMode);
    std::optional<std::string> languageKeyOf(const std::string& identifier) const;
    void rebuildMenu(MenuMode menuMode);
    void showToolTip();
    QMenu& addSubmenu(QMenu& menu, std::string_view titleKey);
    QAction& addItem(QMenu& menu, std::string_view titleKey, ItemOperation operation);
    void validateItems(const QMenu& menu);
    void validateBeforeShown(QMenu& menu);
    void addDistances(QMenu& menu);
    QPointer<QAction> addDistance(QMenu& menu, std::string_view titleKey, int tag);
    void addLanguages(QMenu& menu, const std::string& identifier);
    void loadLanguages();
    QString displayText(std::string_view key) const;
    std::string text(std::string_view key) const { return displayText(key).toStdString(); }
    void markDistances(std::int32_t exposure) const;

    PreviewWindow& madePreviewWindow();
    DebugWindow& madeDebugWindow();
    void titlePreviewWindow();
    void titleDebugWindow();
    void showValue(QString& kept, const QString& value);

    // The preview window and what it shows, the debug window and its two fields: each none before it is
    // shown for the first time, since most users never see it, and a window with text loads fonts.
    std::unique_ptr<PreviewWindow> window;
    PreviewImageView* imageView = nullptr;
    QLabel* previewMessage = nullptr;
    QPushButton* previewExitButton = nullptr;
    QPushButton* previewDetectAgainButton = nullptr;
    std::unique_ptr<DebugWindow> debugWindow;
    QLineEdit* thresholdsTextField = nullptr;
    QLineEdit* faeTextField = nullptr;
    // What the fields show, or will.
    QString shownThreshold_;
    QString shownExposure_;

    std::unique_ptr<StatusItem> statusItem_;
    std::map<std::string, QIcon> statusImages_; // by their names
    std::vector<std::string> languages;
    PropertyListArray thresholds;
    PropertyListDictionary languageDict;
    PropertyListDictionary stringDict;
    std::shared_ptr<KVRCalibrationCenter> calibrationCenter_;
    SharedFlag deviceConnected_{false};
    PenCondition condition_;
    std::set<std::string_view> told_;      // the titles' keys of what is told once in the program's run
    bool calibratesAutomatically_ = false; // the last session that began
    std::shared_ptr<HomeParts> home_;      // null before anything of it is needed
    QPointer<QAction> distanceItem3;
    QPointer<QAction> distanceItem2;
    QPointer<QAction> distanceItem1;

    const std::thread::id mainThread_ = std::this_thread::get_id();

    // --- Kept by name: the program neither calls the operation nor uses the value.

public:
    // Forgets the choice of a language, so that the next menu follows the system's.
    void resetLanguageSetting();

private:
    std::string previewTimer; // would fetch pictures again and again
};

} // namespace lightpen
