// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "device/PenPipeline.h"
#include "device/PointList.h"
#include "device/PreviewImage.h"
#include "device/Protocols.h"
#include "device/Reports.h"
#include "platform/IOHID.h"
#include "platform/PointerEvents.h"
#include "platform/PriorityInheritance.h"
#include "platform/ServiceRegistry.h"
#include "platform/Shared.h"
#include "platform/Time.h"

namespace lightpen {

class PairingKeyWindow;
class PreviewImageView;
class PreviewWindow;
struct ReplyQueue;

using ReportBufferRef = std::shared_ptr<ReportBuffer>;
using InputReportElements = std::vector<PropertyDictionary>;
using InputReportElementsRef = std::shared_ptr<const InputReportElements>;

// What the point thread carries from pass to pass; each thread owns one.
struct PointThreadState {
    IOReturn pollResult = kIOReturnSuccess; // of the last poll; kept while polls are skipped
    IOHIDEventStruct event;                 // the last received report; zeros before the first
    int generation = 0;                     // which start of the point thread this is
    // The thread's own references to what a pass uses; renewed where they are used, so that they cost no
    // lock. What was replaced lives until then.
    IOHIDQueueRef queue;
    std::shared_ptr<KVRCalibrationProtocol> mapper;
};

// The driver of the camera unit: finds and opens it, keeps its settings and calibration, and turns its
// reports into pointer events. One object for the whole process. It has two threads: the main thread runs
// everything that does not say otherwise; the point thread polls the pen and posts the pointer events.
class EventGeneratorNX7 {
public:
    // Only the values; init does the rest. The process uses sharedEventGeneratorNX7.
    EventGeneratorNX7();
    EventGeneratorNX7(const EventGeneratorNX7&) = delete;
    EventGeneratorNX7& operator=(const EventGeneratorNX7&) = delete;

    // --- The single instance (Connection.cpp)

    // The instance, created and started on first use; it is never freed. Starting runs the main loop.
    static EventGeneratorNX7* sharedEventGeneratorNX7();
    // Watches for the unit and opens it if it is there. Returns the instance.
    EventGeneratorNX7* init();

    // --- The unit's coming and going (Connection.cpp)

    // Whether a unit is there, ready for use.
    bool isDevicePlugIn() const;
    // Whether a unit has been opened, its flash read included; false before there is a driver. Any thread.
    static bool isUnitOpen();
    // What the open unit calls itself, or the last one that was open; empty where it does not say. Main
    // thread.
    static const std::string& unitSerialNumber();
    // Whether a touch counts from now on: a unit is open, and what it reported at its start has been thrown
    // away. Any thread.
    static bool hearsPen();
    // Whether the last light test saw light that is not the pen's, so that the pen rests. Any thread.
    static bool seesStrayLight();
    // Opens the unit that is there, tests for stray light and waits, running the main loop, for the point
    // thread; so long as it is listed, also for a unit that cannot be made or opened. At the end the pairing
    // key window is made where the unit's pens are tied by a table.
    void startDevice();
    // The unit has arrived, or left; each takes every object of the iterator, which re-arms the notification.
    void deviceDidAdd(io_iterator_t iterator);
    void deviceDidRemove(io_iterator_t iterator);

    // --- Opening: the HID interface and its queues (HIDInterface.cpp)

    // Finds and opens the unit, reads its flash and starts its queues.
    void startHIDMode();
    // The service of the unit's pen interface; empty when there is no unit.
    IOObject getOruHWService();
    // All HID services of the unit's vendor; product and interface are looked at by getOruHWService.
    static MatchingDictionary OruServiceMatchingDictionary();
    // Makes the device interface of _hidDevice; failures are logged and leave it null.
    void createHIDDeviceInterface();
    // Lets go of the interface and of _hidDevice, and releases every mouse button that is still down. The
    // last holder of the interface closes it.
    void releaseHIDInterface();
    // Opens it and prints the result; kIOReturnNoDevice without an interface.
    IOReturn openHIDInterface();
    // The service's input report elements; null when it lists none.
    InputReportElementsRef fetchInputReportElements(io_service_t service);
    // The cookie of the last element of this report ID; 0 when there is none. Any thread.
    IOHIDElementCookie inputReportElementCookieFromReportID(long reportID) const;
    // Sets up the image queue and starts the point thread. Returns 0, -1 when the queue exists already
    // (nothing is started then), or the code of the step that failed.
    IOReturn setUpHIDQueueAndCallback();
    // Waits a second and starts the point thread.
    void setUpPointQueue();
    // After the check view restarts the unit; then lets the points queue and the pairing queues that there
    // are take reports again, in any case.
    void startPointQueue();

    // --- Delegates (Connection.cpp). Setters retain, getters may be called on any thread.

    // The calibration that takes raw points; null hands the pen back to the pointer.
    void setDelegate(std::shared_ptr<EventGeneratorNX7CallbackProtocol> delegate);
    // Null while no calibration takes the points.
    std::shared_ptr<EventGeneratorNX7CallbackProtocol> delegate() const { return _delegate; }
    // The object that hears of arrival, removal and stray light. It is asked for through the getter by
    // everyone, the driver included: each question starts the polling, and re-arms the pointer output or
    // holds it back.
    void setDeviceDelegate(std::shared_ptr<EventGeneratorNX7DeviceCallbackProtocol> newDelegate);
    std::shared_ptr<EventGeneratorNX7DeviceCallbackProtocol> deviceDelegate();
    // The mapper from camera to screen; without one there is no pointer output.
    void setCalibrationCenter(std::shared_ptr<KVRCalibrationProtocol> calibrationCenter);
    std::shared_ptr<KVRCalibrationProtocol> calibrationCenter() const { return _calibrationCenter; }
    // Ends a calibration: there is no delegate any more. Returns false.
    bool exitCalib() {
        _delegate = nullptr;
        return false;
    }

    // --- Decoding (PenOutput.cpp)

    // The point of a pen report: pen up (-1, -1), far away (4294967295, 4294967295), or camera coordinates.
    // Point thread.
    CameraPoint pointFromHIDEvent(const IOHIDEventStruct& event);

    // --- The point thread (PointThread.cpp, PenOutput.cpp)

    // The thread's body: starts, then makes passes until it is to end. The argument is not used.
    void receivingPointsQueueThreadEntry(const void* argument);
    // The thread's start: its queue and its first poll result.
    PointThreadState beginPointThread();
    // One pass, its sleep included; false when the thread is to end.
    bool pointThreadPass(PointThreadState& thread);
    // The screen region of a mapped point. Any thread.
    std::int32_t regionFromPoint(ScreenPoint point) const;
    // Cancels the long press that was scheduled with this point. Main thread.
    void wrapper2(const std::string& string);

    // --- Pointer events (PenOutput.cpp). Any thread; nothing is posted for a point that is not finite.

    // The connection to the event system, opened on first use; 0 while it cannot be opened.
    static io_connect_t serviceConnection();
    // At this screen point, its fraction cut off and wrapped to 16 bits; nothing while there is no
    // connection.
    void postLMouseDown(ScreenPoint point);
    void postLMouseUp(ScreenPoint point);
    void postLMouseDrag(ScreenPoint point);
    void postRMouseDown(ScreenPoint point);
    void postRMouseUp(ScreenPoint point);
    void postRMouseClick(ScreenPoint point);
    // Schedules the long press at this point. Main thread.
    void postRightMouseClickWithStringFormat(const std::string& point);
    // The long press: releases the left button and clicks the right one. Main thread.
    void wrapper(const std::string& string);

    // --- Settings and commands (Commands.cpp)

    // What the next settings command says, by the bits of its control byte.
    bool imageProcessMode() const { return _imageProcessMode; }     // bit 0
    bool imageShrinkTrigger() const { return _imageShrinkTrigger; } // bit 1
    bool IRFilterGrounded() const { return _IRFilterGrounded; }     // bit 2, inverted: filter in
    bool maskCalibration() const { return _maskCalibration; }       // bit 3
    bool mask() const { return _mask; }                             // bit 4
    bool brightness() const { return _brightness; }                 // bit 5
    std::int32_t forcedExposure() const { return _forcedExposure; } // 8 bits are sent
    std::int32_t threshold() const { return _threshold; }           // 16 bits are sent
    // None of these sends anything. A change of exposure or threshold is logged.
    void setImageProcessMode(bool value) { _imageProcessMode = value; }
    void setImageShrinkTrigger(bool value) { _imageShrinkTrigger = value; }
    void setIRFilterGrounded(bool value) { _IRFilterGrounded = value; }
    void setMaskCalibration(bool value) { _maskCalibration = value; }
    void setMask(bool value) { _mask = value; }
    void setBrightness(bool value) { _brightness = value; }
    void setForcedExposure(std::int32_t value);
    void setThreshold(std::int32_t value);
    // The settings command, in a scratch buffer of its own.
    ReportBuffer commandFromCurrentSetting() const;
    // Sends the output buffer, with 100 ms to be taken. 0 also when there is nothing to send.
    IOReturn doCommandFromOutputBuffer();
    // The same without a time limit. 0 also without an interface, where doCommandFromOutputBuffer answers
    // kIOReturnNoDevice.
    IOReturn doFlashCommandFromOutputBuffer();
    // Moves the infrared filter out of, or into, the camera's light; nothing without a unit, a failure is
    // logged.
    void removeIRFilter();
    void putIRFilter();
    // Sends threshold and exposure and writes the stored calibration once more.
    void updateTwoValueToDevice();

    // --- Flash (Flash.cpp)

    // Writes 4, 9, 25 or 80 points; true when every record was sent.
    bool writeCalibrationToFlash(const PointListRef& points);
    // Reads the stored points and the device information. An empty flash yields an empty list, in 0.4 s; a
    // full one takes 0.6 s. Null on a send failure and when the program ends.
    PointListRef _calibrationPointsFromFlash();
    // The points that the flash holds, as last read or written.
    PointListRef calibrationPointsFromFlash() const { return _calibrationPoints; }
    // Of the last flash read, one byte each: the sensor's version, the board's version, the wireless flag (-1
    // before the first read, the others 0). Any thread.
    int cmosVerFromFlash() const;
    int venerPointsFromFlash() const;
    static int wirelessPointsFromFlash();

    // --- Preview picture (Preview.cpp)

    // A new picture of what the camera sees; null without a unit. Runs the main loop until the picture is
    // complete, without limit for a unit that is there; one that leaves ends it with the last picture, which
    // is also what a request within another one gets.
    PreviewImageRef previewImage();
    // Keeps the image as the last one.
    void setImage(PreviewImageRef image);
    // Puts the unit into image mode. Returns the code of the second of its two commands.
    IOReturn triggerToGetImage();
    // A new image of the 4800 grey levels of a picture.
    static PreviewImageRef imageWithOruHIDBytes(std::span<const std::uint8_t, kPreviewPictureBytes> bytes);
    // Receives the reports of the image queue. Main thread.
    void imageReportReceived(IOReturn result, IOHIDQueueInterface& queue);

    // --- Stray light: the test, and the view that shows where (StrayLight.cpp)

    // How often stray light was seen, 0 to 50. Takes 50 ms.
    int StrayLightDetecting();
    // The first byte of the next reply, which goes into the buffer; 0 (and the buffer as it was) when none
    // comes.
    std::uint8_t getLightDetecting(ReportBuffer& buffer);
    // Makes the panel over the middle of the main screen, with nothing in it yet, and shows the view. Without
    // windows only the view's flags are set.
    void Nx9windowChTwoPoint();
    // Shows the panel with its marker, the first time; after that it only draws the marker anew.
    void Nx9View();
    // Takes the check view away and ends the point thread. Returns 0.
    int Nx9windowrelease();
    // Takes a check view that is shown away as long as nothing may be shown.
    void screenWasCovered();
    // Restarts the unit where the check view was shown, so that the light test tells what to show now.
    void screenWasUncovered();
    // A check view that is shown is shown anew, where the main screen is now. A long press that waits is
    // cancelled: its place may have been in another picture.
    void screensDidChange();

    // --- Pairing (Pairing.cpp)

    // Reads the unit's pairing table with requests of this letter (the code's low byte) and saves it in the
    // pairing data file. Repeats unanswered requests without limit; a unit that leaves, or the end of the
    // program, ends it, and nothing is saved.
    void Nx9commd(std::uint32_t IDCode);
    // Sends the pairing data file to the unit. Point thread. Repeats unanswered records in the same way.
    void Nx9inPairing();
    // Asks for the keyboard for the pairing key window, where there is one that the desktop has refused the
    // keyboard and the unit's pens are tied by a table. Main thread.
    static void askForPairingKeys();
    // Gives the keyboard back where the pairing key window has it. Main thread.
    static void giveBackPairingKeys();

    // --- Kept by name: nothing in this system calls these.

    // The one instance is neither copied nor counted.
    EventGeneratorNX7* copyWithZone() { return this; }
    EventGeneratorNX7* retain() { return this; }
    EventGeneratorNX7* autorelease() { return this; }
    void release() {}
    static constexpr std::uint32_t retainCount() { return 4294967295U; }
    // Closes the interface; success without effect when there is no interface or no unit.
    IOReturn closeHIDInterface();
    // Prints the service's path and properties, for diagnosis.
    static void showHIDProperties(io_service_t service);
    // The points queue takes no more reports until startPointQueue; the point thread goes on. Nothing without
    // a queue.
    void stopPointQueue();
    // Kept and returned; the driver asks nothing of it.
    void setApDelegate(std::shared_ptr<EventGeneratorNX7ApplicationCallbackProtocol> apDelegate) {
        _apDelegate = std::move(apDelegate);
    }
    std::shared_ptr<EventGeneratorNX7ApplicationCallbackProtocol> apDelegate() const { return _apDelegate; }
    // Settings that are not sent.
    bool AE() const { return _AE; }
    bool VGAout() const { return _VGAout; }
    void setAE(bool value) { _AE = value; }
    void setVGAout(bool value) { _VGAout = value; }
    // Filter in, brightness and VGA out on, every other switch off, and the unit is no longer "just added";
    // exposure and threshold stay. Sends nothing.
    void setToDefault();
    // 25 from the start on; nothing sets it.
    std::int32_t nx9Exposure() const { return _nx9Exposure; }
    // The buffer that the send routines transmit, and one that is never read. Without the first nothing can
    // be sent. Safe beside a send on another thread.
    ReportBufferRef outputReportBuffer() const { return _outputReportBuffer; }
    ReportBufferRef inputReportBuffer() const { return _inputReportBuffer; }
    void setOutputReportBuffer(ReportBufferRef buffer);
    void setInputReportBuffer(ReportBufferRef buffer) { _inputReportBuffer = std::move(buffer); }
    // Logs a command's first seven bytes; it must have as many.
    void printCommand(const std::uint8_t* command) const;
    // Sends the all-zero command and sleeps two seconds, also when that fails (logged).
    void eraseFlashAddress();
    // Waits, without limit, for the next reply and copies it. Returns its length; 0, and the buffer as it
    // was, when the program ends, and at once without a reply queue.
    int getSingleReportFromFlash(ReportBuffer& buffer);
    // These do nothing, by design.
    void postLMouseClick(ScreenPoint) {}
    void getAddressIndex(int, int, int) {}
    void stopUSBStorageMode() {}

private:
    using DeviceDelegateRef = std::shared_ptr<EventGeneratorNX7DeviceCallbackProtocol>;
    using StringOperation = void (EventGeneratorNX7::*)(const std::string&);
    // Whether a pass sleeps at its end.
    enum class AfterPass { sleep, goOn };
    // Whether the pairing table goes from the unit into its file, or back.
    enum class PairingDirection { saving, sending };

    DeviceDelegateRef openedForDelegate();
    void announceArrival(const DeviceDelegateRef& delegate);
    bool openUnitIsListed() const;
    void openArrivedUnit();
    void openRemainingUnit();
    void letGoOfUnit();

    IOReturn addReportElement(IOHIDQueueInterface* queue, IOReturn before);
    IOReturn setImageReceiver(IOHIDQueueInterface& queue);
    void restartUnit();

    IOReturn nextPointEvent(PointThreadState& thread);
    bool refusesPairingExit();
    void performPairingExit();
    void poll(PointThreadState& thread);
    bool throwsAway(const PointThreadState& thread);
    AfterPass processPoll(PointThreadState& thread);
    bool threadEnds(const PointThreadState& thread);
    void feedCalibration(EventGeneratorNX7CallbackProtocol& calibration, CameraPoint point);
    AfterPass drivePointer(PointThreadState& thread, CameraPoint point);
    Stroke stroke() const;
    void perform(const PenResult& result);
    void perform(const PenAction& action, std::int32_t region);
    void performOnMain(const char* selector, std::string argument, StringOperation operation);

    void putIntoOutputBuffer(const ReportBuffer& command);
    void sendSettings(const char* failureMessage);
    std::optional<ReportBuffer> outputReport();

    void openCalibrationQueue();
    void closeCalibrationQueue();
    IOReturn sendFlashCommand(std::uint8_t letter, std::uint8_t second);
    ReplyQueue flashReplies() const;
    template <class Take>
    bool readRecord(int index, int failureLine, Microseconds pause, Take take);
    bool readReportLength();
    bool readRecords(PointList& points);

    void reportStrayLight();
    void showStrayLight(PointThreadState& thread);
    void askForCheckView(CameraPoint point);

    IOReturn sendImageMode(bool on);
    void waitForPicture(const IOHIDQueueRef& queue);
    void takeImageReport(const IOHIDEventStruct& event);

    IOHIDQueueRef startedPairingQueue(PairingDirection direction);
    bool pairingEnds(IOReturn sent, const IOHIDDeviceInterfaceRef& device) const;
    bool readPairingRecord(std::uint32_t IDCode, int index, const IOHIDQueueRef& queue, ReportBuffer& table);
    bool sendPairingRecord(const ReportBuffer& command, const IOHIDQueueRef& queue);
    void makePairingKeyWindow();
    void keyWindowIgnoresMouse(bool ignores);

    // All of these are there by name and in this order; nothing reads those marked "unused".
    std::shared_ptr<PreviewWindow> window;       // unused
    std::shared_ptr<PreviewImageView> imageView; // unused
    SharedFlag _imageProcessMode{false};
    bool _imageShrinkTrigger = false;
    bool _AE = false; // unused
    bool _IRFilterGrounded = false;
    bool _maskCalibration = false;
    bool _mask = false;
    bool _brightness = false;
    bool _VGAout = false; // unused
    std::int32_t _forcedExposure = 25;
    std::int32_t _nx9Exposure = 25;  // unused
    std::int32_t _lightPenState = 0; // PenState; point thread
    ScreenPoint _previousPoint; // where a button event was last posted, (0, 0) after pen up; point thread
    // Where the stroke began, (0, 0) when no long press is pending; both threads.
    SharedRecord<ScreenPoint> _AnchorPointForLongPress;
    std::int32_t _deviceMode = -1; // -1 no unit, 0 unit just added, 1 after defaults
    PreviewImageRef _previewImage; // the last complete picture; main thread
    SharedReference<KVRCalibrationProtocol> _calibrationCenter;
    SharedReference<EventGeneratorNX7CallbackProtocol> _delegate;
    SharedReference<EventGeneratorNX7DeviceCallbackProtocol> _deviceDelegate;
    SharedReference<EventGeneratorNX7ApplicationCallbackProtocol> _apDelegate; // unused
    std::int32_t _threshold = 512;
    IOObject _hidDevice;
    SharedReference<IOHIDDeviceInterface122> _pphidDeviceInterface;
    SharedReference<const InputReportElements> _inputReportElements;
    ReportBufferRef _inputReportBuffer; // unused
    ReportBufferRef _outputReportBuffer;
    SharedReference<IOHIDQueueInterface> _queue;
    SharedReference<IOHIDQueueInterface> _pointsQueue;
    RunLoopSourceRef _CFRunLoopSourceRef;
    PointListRef _calibrationPointsArray; // unused
    SharedFlag _stopThread{false};
    IOHIDQueueRef _calibrationQueue;
    SharedFlag _isStaring{false};
    SharedFlag _hasNoise{false};
    SharedReference<IOHIDQueueInterface> _RetPairingData;
    SharedReference<IOHIDQueueInterface> _PairingData;
    PointListRef _calibrationPoints;

    bool _opened = false;           // _hidDevice has been opened; main thread
    io_object_t _startedUnit = 0;   // the unit that was last tried, by its registry handle; main thread
    PriorityInheritanceMutex _lock; // around setDelegate and setCalibrationCenter
    // Around the bytes of the output buffer while they are copied in or out: both threads send. Which of two
    // commands goes out is up to them.
    PriorityInheritanceMutex _outputBytes;
    SharedWord _threadGeneration{0};
    bool _strokePressed = false; // the stroke under way has pressed the left button; point thread
    SharedWord _keyWindowIgnoresMouse{-1};
    bool _fetchingPicture = false; // previewImage is under way; main thread
    std::vector<std::shared_ptr<PairingKeyWindow>> _formerKeyWindows; // main thread
};

} // namespace lightpen
