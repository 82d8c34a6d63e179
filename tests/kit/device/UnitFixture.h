// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kit/device/DriverFixture.h"

namespace lightpen {

// The driver with a unit, step by step. Queues are numbered as the driver makes them: of a start they are 1
// for the flash read, 2 for pictures, 3 for the light test and 4 for points.
class UnitFixture : public DriverFixture {
protected:
    // What goes wrong in an opening.
    enum class Trouble { none, noPlugIn, noInterface, notOpened };

    ~UnitFixture() override;

    // The flash of a unit with a calibration: record 2 carries the information (GainValue 7, OPmode 0,
    // wireless 1, NX9Ver 0x35, cmosVer 0x12).
    static std::vector<ReportBytes> calibratedRecords();
    // A unit with reports of this length.
    void reshape(std::size_t inputLength);
    void prepare(Trouble trouble);
    // A unit that is plugged in and whose interface is open; neither its flash is read, nor are there queues
    // and threads.
    void openInterface();
    // The same after its flash was read: from then on commands have the length of its reports.
    void openAndRead();
    // The points that the flash says it holds.
    PointListRef readFlash() { return driver->_calibrationPointsFromFlash(); }
    // Nothing has happened so far.
    void forget();
    // Whoever asks for a thread gets none.
    void startNoThreads() { desk.threads.onDetach = nullptr; }
    // Passes of the point thread until the pen is heard.
    void arm();
    // Fails the sends from this one on, counted from 1, or only that many of them.
    void failSends(int first, IOReturn result, int count = 1'000'000);
    // Asks the loop for this after a while.
    void after(Microseconds delay, std::function<void()> what);
    // Called in each of the driver's own pauses (the point thread's passes are none), with their number.
    void atPauses(std::function<void(int number, Microseconds duration)> what);
    // How long the operation takes in virtual time.
    Microseconds timeOf(const std::function<void()>& operation);
    // The reports that were sent since the last call of this, each as its letter and its second byte: "H1".
    std::vector<std::string> lettersSent();
    std::vector<std::size_t> lengthsSent();
    // The calls of this operation of the HID layer since the last take.
    std::vector<std::string> callsOf(const std::string& operation);
    // What was done since the last take that begins like this.
    Deeds deedsWith(const std::string& beginning);
};

} // namespace lightpen
