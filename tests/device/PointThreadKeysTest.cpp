// SPDX-License-Identifier: MIT
// What the point thread does about the pairing key window: its keys, and whether it takes the mouse.
#include "kit/device/PassFixture.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

class PointThreadKeysTest : public PassFixture {
protected:
    PointThreadKeysTest() {
        beginArmedThread();
        sharedState.pairingKeyWindow = keyWindow;
    }
    // The unit confirms each record of the pairing table.
    void confirmRecords() {
        unit.onSetReport = [this](const SentReport& report) {
            unit.sendReport({'S', report.bytes.at(1)});
            return kIOReturnSuccess;
        };
    }
    static void press(SharedWord& first, SharedWord& second) { first = second = 1; }

    std::shared_ptr<RecordingKeyWindow> keyWindow = std::make_shared<RecordingKeyWindow>();
};

// C and Delete: the check request

TEST_F(PointThreadKeysTest, CAndDeleteRequestACheck) {
    sharedState.wireless = 1;
    press(sharedState.keyCPressed, sharedState.keyDeletePressed);
    EXPECT_EQ(pass(), (Pass{.lines = {"Event n:1725 keyCode : (1 , 1)"}, .sleeps = {kPassSleep}}));
    EXPECT_EQ(sharedState.checkViewState, 1);
    EXPECT_EQ(sharedState.keyCPressed, 0);
    EXPECT_EQ(sharedState.keyDeletePressed, 0);
    EXPECT_EQ(pass(), idle());
}

TEST_F(PointThreadKeysTest, ACheckNeedsBothKeysAPairedPenAndNoOtherCheck) {
    struct Case {
        int wireless, checkViewState, keyC, keyDelete;
    };
    for (const Case& held :
         {Case{0, 0, 1, 1}, Case{-1, 0, 1, 1}, Case{1, 1, 1, 1}, Case{1, 0, 1, 0}, Case{1, 0, 0, 1}}) {
        sharedState.wireless = held.wireless;
        sharedState.checkViewState = held.checkViewState;
        sharedState.keyCPressed = held.keyC;
        sharedState.keyDeletePressed = held.keyDelete;
        EXPECT_EQ(pass(), idle());
        EXPECT_EQ(sharedState.checkViewState, held.checkViewState);
        EXPECT_EQ(sharedState.keyCPressed, held.keyC);
        EXPECT_EQ(sharedState.keyDeletePressed, held.keyDelete);
    }
}

// The check view

TEST_F(PointThreadKeysTest, ACheckViewIsLoggedOnEveryPass) {
    sharedState.checkViewState = 2;
    sharedState.keyCPressed = 1;
    const Pass expected{.lines = {"Event n:1767 keyCode : (0 , 1)"}, .sleeps = {kPassSleep}};
    EXPECT_EQ(pass(), expected);
    EXPECT_EQ(pass(), expected);
}

TEST_F(PointThreadKeysTest, EscapeInTheCheckViewsSubStatePausesForTwoSeconds) {
    sharedState.checkViewState = 2;
    sharedState.checkViewSubState = 1;
    sharedState.keyEscapePressed = 1;
    sharedState.keyDeletePressed = 1;
    EXPECT_EQ(pass(),
              (Pass{.lines = {"Event n:1742 keyCode : (1 , 0)"}, .sleeps = {seconds(2), kPassSleep}}));
    EXPECT_EQ(sharedState.keyEscapePressed, 0);
    EXPECT_EQ(pass(), idle());
}

TEST_F(PointThreadKeysTest, EscapeElsewhereIsLeftAlone) {
    sharedState.keyEscapePressed = 1;
    EXPECT_EQ(pass(), idle());
    sharedState.checkViewState = 2;
    EXPECT_THAT(pass().lines, ElementsAre("Event n:1767 keyCode : (0 , 0)"));
    EXPECT_EQ(sharedState.keyEscapePressed, 1);
}

// Z and Delete: the pairing exit

TEST_F(PointThreadKeysTest, ZAndDeleteEndTheProcessWithStatusZero) {
    sharedState.wireless = 0;
    driver->setDeviceDelegate(deviceDelegate);
    confirmRecords();
    int stateDuringCallback = 0;
    deviceDelegate->then = [&](const std::string& what) {
        log.logLine("delegate: " + what);
        stateDuringCallback = sharedState.checkViewState;
    };
    press(sharedState.keyZPressed, sharedState.keyDeletePressed);
    sharedState.keyCPressed = 7;
    forgetWhatWas();
    int status = -1;
    try {
        driver->pointThreadPass(thread);
    } catch (const ProcessExit& exit) {
        status = exit.status;
    }
    EXPECT_EQ(status, 0);
    EXPECT_THAT(log.lines(), ElementsAre("delegate: remove", "Event n:2644 Error", "Event n:2764 file:(null)",
                                         "Event n:2323 Input report element for 0", "Event n:2349 ",
                                         "Event n:2789 result:0", "Event n:1601 keyCode : (1 , 1)",
                                         "Event n:1715 keyCode : (1 , 7) exit"));
    EXPECT_THAT(unit.takeOperations(), ElementsAre("device.allocQueue()", "queue2.create(0, 1)",
                                                   "queue2.hasElement(17)", "queue2.addElement(17, 0)",
                                                   "queue2.start()", "queue2.stop()", "queue2.dispose()"));
    EXPECT_EQ(driver->_PairingData.load(), nullptr);
    EXPECT_EQ(deviceDelegate->sender, driver.get());
    EXPECT_EQ(stateDuringCallback, 1);
    EXPECT_EQ(sharedState.keyZPressed, 0);
    EXPECT_EQ(sharedState.keyDeletePressed, 0);
    EXPECT_EQ(sharedState.keyCPressed, 7);
    EXPECT_EQ(sharedState.checkViewState, 0);
    EXPECT_EQ(desk.clock.takeSleeps(), std::vector<Microseconds>(14, std::chrono::milliseconds(100)));
}

TEST_F(PointThreadKeysTest, ThePairingExitNeedsNeitherAListenerNorAUnit) {
    sharedState.wireless = 0;
    driver->_pphidDeviceInterface = nullptr;
    for (const auto& delegate : {deviceDelegate, std::shared_ptr<RecordingDeviceDelegate>()}) {
        deviceDelegate->deaf = {Operation::deviceDidRemoveCallback};
        driver->setDeviceDelegate(delegate);
        press(sharedState.keyZPressed, sharedState.keyDeletePressed);
        EXPECT_THROW(driver->pointThreadPass(thread), ProcessExit);
        EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
        EXPECT_EQ(driver->_PairingData.load(), nullptr);
    }
}

TEST_F(PointThreadKeysTest, ThePairingExitNeedsBothKeysAnUnpairedPenAndNoCheck) {
    struct Case {
        int wireless, checkViewState, keyZ, keyDelete;
    };
    for (const Case& held :
         {Case{1, 0, 1, 1}, Case{-1, 0, 1, 1}, Case{0, 1, 1, 1}, Case{0, 0, 1, 0}, Case{0, 0, 0, 1}}) {
        sharedState.wireless = held.wireless;
        sharedState.checkViewState = held.checkViewState;
        sharedState.keyZPressed = held.keyZ;
        sharedState.keyDeletePressed = held.keyDelete;
        EXPECT_EQ(pass(), idle());
        EXPECT_EQ(sharedState.keyZPressed, held.keyZ);
    }
}

// Whether the key window takes the mouse

TEST_F(PointThreadKeysTest, TheKeyWindowTakesTheMouseOnlyWhileThereIsNoReport) {
    sharedState.wireless = 0;
    pass();
    runMainLoop();
    EXPECT_THAT(keyWindow->told, ElementsAre(false));
    passOn(1001, 601);
    runMainLoop();
    EXPECT_THAT(keyWindow->told, ElementsAre(false, true));
    passOn(penUpReport()); // a report, too
    unit.script().answer("queue1.getNextEvent", kIOReturnError);
    pass();
    runMainLoop();
    EXPECT_THAT(keyWindow->told, ElementsAre(false, true, false));
}

TEST_F(PointThreadKeysTest, TheKeyWindowIsToldOnTheMainThreadAndOnlyOfChanges) {
    sharedState.wireless = 0;
    emptyPasses(3);
    EXPECT_THAT(keyWindow->told, IsEmpty());
    runMainLoop();
    EXPECT_THAT(keyWindow->told, ElementsAre(false));
    emptyPasses(3);
    runMainLoop();
    EXPECT_THAT(keyWindow->told, ElementsAre(false));
}

TEST_F(PointThreadKeysTest, APairedPenLeavesTheKeyWindowAlone) {
    for (const int wireless : {-1, 1}) {
        sharedState.wireless = wireless;
        pass();
        passOn(1001, 601);
        pass();
    }
    runMainLoop();
    EXPECT_THAT(keyWindow->told, IsEmpty());
}

TEST_F(PointThreadKeysTest, WithoutAKeyWindowNothingIsTold) {
    sharedState.wireless = 0;
    sharedState.pairingKeyWindow = nullptr;
    EXPECT_EQ(pass(), idle());
    EXPECT_EQ(passOn(1001, 601).posted, (std::vector{down(503, 307)}));
}

} // namespace
} // namespace lightpen
