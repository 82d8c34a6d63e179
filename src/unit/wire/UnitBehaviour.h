// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen {

// How a good unit behaves, beyond its protocol: the host relies on each of these. Switching one off makes a
// unit that lacks it.
struct UnitBehaviour {
    // Sends nothing but its answers during a flash read and for 300 ms after H, K, R and S.
    bool quietAroundCommands = true;
    // Byte 0 of a pen report is 0 or 1; off: the letter of a reply.
    bool plainFirstByte = true;
    // Never sends an X whose low byte is 0, which would read as pen up.
    bool avoidsZeroLowByte = true;
    // A report for each picture of the camera during a touch; off: one in four, so gaps of 32 ms.
    bool steadyReports = true;
    // Each touch ends with a pen-up report; off: with silence.
    bool endsWithPenUp = true;
    // Pen-up reports for a second after touches and commands; off: none.
    bool idleReports = true;
    // These end after a second; off: they never do.
    bool idleEnds = true;
    // These come more slowly than the host polls; off: at the rate of a touch.
    bool idleSlowly = true;
    // No pen reports in image mode.
    bool penStopsInImageMode = true;
    // Idle reports follow a picture.
    bool idleAfterPicture = true;
    // The picture's left column is black; off: white.
    bool blackLeftColumn = true;
    // Both calibration records become valid together; off: each as it comes.
    bool recordsValidTogether = true;
    // Pairing records begin with 0x10..0x7F, and others are not stored; off: any is.
    bool pairingRecordsFarOff = true;
    // The infrared filter is in at power-up; off: out.
    bool filterInAtPowerUp = true;
    // While the filter moves: one pen-up, then half a second of darkness.
    bool darkWhileFilterMoves = true;
    // Without the filter only a single blob on a dark picture is a spot; off: the first blob always is.
    bool singleBlobOnly = true;
    // A blob that jumps gives a pen-up and 100 ms of darkness.
    bool darkAfterJump = true;
    // Power-off brings back the power-up state; off: modes and pending answers survive.
    bool resetsAtPowerOff = true;
};

} // namespace lightpen
