// SPDX-License-Identifier: MIT
// The pairing table is sent by the point thread while the main thread uses the same output buffer.
#include <atomic>
#include <thread>

#include "kit/device/UnitFixture.h"

namespace lightpen {
namespace {

// Only the beginnings matter: which of two commands is in the buffer when it is sent is up to the threads,
// but none is ever half of each.
class PairingConcurrencyTest : public UnitFixture {};

TEST_F(PairingConcurrencyTest, APairingTableIsSentWhileTheMainThreadSendsSettings) {
    openInterface();
    desk.clock.onWait = nullptr; // both threads are real here
    desk.dataFiles.put("NX9_Wireless.bin", ReportBytes(112, 0x55));
    unit.onSetReport = [this](const SentReport& report) {
        if (report.bytes.at(0) == 'S')
            unit.sendReport({'S'});
        return kIOReturnSuccess;
    };
    std::atomic<bool> sent{false};
    std::thread pairing([&] {
        for (int round = 0; round < 20; ++round)
            driver->Nx9inPairing();
        sent = true;
    });
    int settings = 0;
    for (; !sent || settings < 100; ++settings) {
        driver->setThreshold(settings % 2 ? 0x0101 : 0x0202);
        driver->triggerToGetImage();
    }
    pairing.join();
    int records = 0;
    for (const SentReport& report : unit.takeSent()) {
        const auto& bytes = report.bytes;
        if (bytes.at(0) == 'S') {
            ++records;
            EXPECT_LT(bytes[1], 14);
            EXPECT_EQ(ReportBytes(bytes.begin() + 2, bytes.begin() + 10), ReportBytes(8, 0x55));
        } else {
            EXPECT_EQ(bytes[2], bytes[3]) << "one threshold";
            EXPECT_EQ(bytes[6], 0);
        }
    }
    EXPECT_GE(records, 20 * 14);
}

} // namespace
} // namespace lightpen
