// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/device/DriverFixture.h"

namespace lightpen {

// The text of a report that is sent: "send 48 01 (32 bytes, no limit)", without its trailing zeros.
std::string sentText(const SentReport& report);

// The whole way of a unit from its plug to the driver: hot-plug is reported, the unit answers flash requests,
// and everything that the driver does is written down in one order.
class UnitFixture : public DriverFixture {
protected:
    UnitFixture();
    ~UnitFixture() override;

    // What happened since the last call: log lines as they are, "out: ..." for standard output, "sleep ..."
    // in microseconds, "send ..." for reports, "device. ..." and "queue1. ..." for calls of the HID layer.
    std::vector<std::string> takeTimeline();
    void clearTimeline() { timeline_.clear(); }

    // What the unit answers to each "H" from now on, the first one to that for the report length; after the
    // last it is silent. A test that lets the driver wait for a silent unit must say how the wait ends: in
    // onSilence, which is called at each poll of a queue that the unit has nothing for.
    std::deque<ReportBytes> replies;
    std::function<void()> onSilence;
    // Replies of a unit with a calibration, and of one without.
    static std::deque<ReportBytes> calibratedReplies();
    static std::deque<ReportBytes> emptyReplies();
    // Called for each report that the host sends, with its number counted from 1; the result is setReport's.
    std::function<IOReturn(const SentReport&, int number)> onSend;

    // Arrival and removal, with the main loop running until they have been reported.
    void plugIn();
    void unplug();

    // The state of the point thread that was last started; none before. It starts at the loop's next turn, as
    // real threads start about then, and makes its passes when the test asks for them.
    std::optional<PointThreadState> thread;
    bool threadsStart = true;

private:
    IOReturn sent(const SentReport& report);
    void polled();

    std::vector<std::string> timeline_;
    std::shared_ptr<IONotificationPort> port_;
    int sends_ = 0;
    int pollsInSilence_ = 0;
};

} // namespace lightpen
