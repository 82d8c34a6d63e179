// SPDX-License-Identifier: MIT
// The process-wide values of the driver. Both of its threads read and write them at any time, but those of
// the main thread alone, which say so: each is a single word, or a value that is swapped whole, and the point
// thread reads them anew on every pass.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "device/Arming.h"
#include "device/PairingKeyWindow.h"
#include "device/PreviewImage.h"
#include "device/Reports.h"
#include "platform/Geometry.h"
#include "platform/Shared.h"

namespace lightpen {

class CheckViewRequests;
class FloatPanel;

// Two points of one flash record.
struct PointPair {
    CameraPoint first;
    CameraPoint second;
    friend bool operator==(const PointPair&, const PointPair&) = default;
};

// There is one, sharedState. A new driver begins it anew; after that nothing sets it back as a whole.
struct SharedState : ArmingWords {
    // The length of commands until a unit's flash read has told its own.
    static constexpr std::uint8_t kFirstReportLength = 32;

    // 1 while points go to the check view. Written by Nx9View (1) and Nx9windowrelease (0).
    SharedWord strayLightViewShown{0};
    // Frames shown in the check view. Written by startDevice (1 with stray light) and the point thread.
    SharedWord strayLightFrameCount{0};
    // Whether startDevice reports stray light to the device delegate. Written by arrival and restart (1).
    SharedWord noiseNotifyArmed{0};
    // 0 normal, 1 pairing requested, 2 check view shown. Written by the point thread, Nx9View,
    // removal and restart.
    SharedWord checkViewState{0};
    // Always 0 in this system; only its tests exist.
    SharedWord checkViewSubState{0};
    // The last raw point for the check view. Written by the point thread, read by the panel's drawing.
    SharedRecord<CameraPoint> checkViewPoint;
    // The panel of the check view, while it is shown; null where the process cannot show windows. Main
    // thread.
    std::shared_ptr<FloatPanel> checkViewPanel;
    // What the point thread asks of that panel; comes and goes with it. Written by the main thread.
    SharedReference<CheckViewRequests> checkViewRequests;
    // Where the panel is, in whole points from the screen's bottom-left corner. Main thread.
    SharedWord checkViewLeft{0};
    SharedWord checkViewBottom{0};
    SharedWord checkViewWidth{0};
    SharedWord checkViewHeight{0};
    WindowRect checkViewRect;
    // Keys of the pairing key window, which sets them; Escape also by a click on the check view's panel.
    // Cleared by the point thread, and when the window loses the keyboard.
    SharedWord keyZPressed{0};
    SharedWord keyDeletePressed{0};
    SharedWord keyCPressed{0};
    SharedWord keyEscapePressed{0};
    // Points handed to the calibration delegate, 1, 2, 3 and back to 0. Written by the point thread.
    SharedWord delegateCallbackCount{0};
    // Reports decoded since start. Written by the decoder, never read.
    SharedWord decodedReportCount{0};
    // The newest pairing key window, made by startDevice when wireless is 0. The driver keeps the earlier
    // ones.
    SharedReference<PairingKeyWindow> pairingKeyWindow;

    // The connection to the event system, 0 until the first post opens it; it is never closed.
    SharedValue<std::uint32_t> serviceConnection{0};

    // Of the unit that was last opened. Main thread.
    std::string unitSerialNumber;

    // Device information; written by each flash read and kept afterwards, wireless also by the controller.
    SharedWord NX9Ver{0};
    SharedWord wireless{-1};
    SharedWord cmosVer{0};
    SharedWord GainValue{0};
    SharedWord OPmode{0};
    // The point pairs of flash records 0 and 1. Written by the flash read, drawn by the check view.
    SharedRecord<PointPair> firstRecordPoints;
    SharedRecord<PointPair> secondRecordPoints;

    // How many bytes a command has and setReport sends (reportSize), and how many are copied into the output
    // buffer (reportCopyLength). The flash read sets both from the length of the unit's input report. By
    // design reportSize keeps only its low 8 bits.
    SharedValue<std::uint8_t> reportSize{kFirstReportLength};
    SharedWord reportCopyLength{kFirstReportLength};

    // The picture that is being put together. Main thread.
    PictureAssembly pictureAssembly;
    // Whether the picture that was last asked for is complete. Written by the trigger (0) and by the image
    // reports (1).
    SharedWord imageReady{0};

    void forgetKeys() {
        keyZPressed = 0;
        keyDeletePressed = 0;
        keyCPressed = 0;
        keyEscapePressed = 0;
    }
    // A zero-filled command of the unit's length.
    ReportBuffer emptyCommand() const { return scratchBuffer(reportSize, reportCopyLength); }
};

inline SharedState sharedState;

} // namespace lightpen
