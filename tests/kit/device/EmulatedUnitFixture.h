// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "kit/device/DriverFixture.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {

// Each moment of this command's exchange at which its plug may be pulled; a reply may break off behind so
// many bytes.
std::vector<UnplugPoint> unplugPoints(char command, int occurrence,
                                      std::initializer_list<std::size_t> replyBytes);
// For a test's name: "H1MidReply5".
std::string nameOfUnplugPoint(const testing::TestParamInfo<UnplugPoint>& point);

// The driver with camera units in software, in virtual time: the units, and the point thread, do whatever is
// due while somebody sleeps, polls, or waits in the loop.
class EmulatedUnitFixture : public DriverFixture {
protected:
    static constexpr Size kScreen{1280, 800};

    EmulatedUnitFixture();
    ~EmulatedUnitFixture() override;

    // A unit beside the bus. The driver maps as a perfect calibration of the last one would.
    CameraUnit& addCamera(std::size_t reportLength = 804);
    // Stores a calibration in its flash.
    static void calibrate(CameraUnit& camera);
    // Plugs it in, with its arrival reported and the unit open at the end; and pulls it before that.
    void plugIn(CameraUnit& camera);
    void replug(CameraUnit& camera);
    // Touches here once the pointer follows the pen; whether one press and one release came of it, and
    // everything within a pixel of the touch.
    testing::AssertionResult touchWorks(CameraUnit& camera, ScreenPoint place);
    // The four points of the calibration as the driver knows them, and as the flash holds them; empty when
    // there are none.
    std::vector<CameraPoint> knownPoints() const;
    static std::vector<CameraPoint> flashPoints(CameraUnit& camera);

    EmulatedBus bus{desk.registry, desk.runLoop, desk.clock};
};

} // namespace lightpen
