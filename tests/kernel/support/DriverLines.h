// SPDX-License-Identifier: MIT
// What the driver's log says of a unit.
#pragma once

namespace lightpen {

inline constexpr const char* kStarted = "Event n:721"; // the start is over: it hears of units
inline constexpr const char* kArrived = "Event n:647 device did add";
inline constexpr const char* kOpening = "Event n:2125 Device plugged in on start up"; // also at arrivals
inline constexpr const char* kReading = "Event n:914";           // it waits for an answer of the flash
inline constexpr const char* kFlashRead = "Event n:1187 NX9Ver"; // the unit has answered: it is in use
inline constexpr const char* kArmed = "Event n:1790";            // the pen presses from now on
inline constexpr const char* kPressed = "Event n:2429 Mouse Down";
inline constexpr const char* kReleased = "Event n:2456 Mouse Up";
inline constexpr const char* kCalibrated = "create calibrator using point"; // and it moves the pointer
inline constexpr const char* kCompleted = "Light n:637 calibrationDidComplete";
inline constexpr const char* kRemoved = "Event n:594 device did removed";
inline constexpr const char* kRefused = "HID: no permission to open the camera unit's /dev/hidraw";
inline constexpr const char* kPointerThroughUinput = "Pointer: events go through uinput";

} // namespace lightpen
