// SPDX-License-Identifier: MIT
// The session's window on an X server that no window manager helps.
#include <QApplication>

#include "calibration/CalibrationScreenFixture.h"
#include "support/Xvfb.h"

namespace lightpen {
namespace {

class CalibrationWindowOnScreenTest : public CalibrationScreenFixture {
public:
    static int run(int argc, char** argv) {
        testing::InitGoogleTest(&argc, argv);
        const Xvfb server(kServerScreen);
        server.enter();
        addMonitors();
        const QApplication application(argc, argv);
        return RUN_ALL_TESTS();
    }
};

TEST_F(CalibrationWindowOnScreenTest, CoversTheWholeOfTheMonitorThatIsCalibratedAndNoOther) {
    expectThatTheRightMonitorIsCovered();
}

TEST_F(CalibrationWindowOnScreenTest, KeyboardCancelsAndASecondSessionCoversTheOtherMonitor) {
    startOn(kLeft);
    expectThatTheKeyboardCancels();
    expectThatTheRightMonitorIsCovered();
    expectThatTheKeyboardCancels();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::CalibrationWindowOnScreenTest::run(argc, argv);
}
