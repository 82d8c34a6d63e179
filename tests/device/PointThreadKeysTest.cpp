// SPDX-License-Identifier: MIT
// What the point thread does about the pairing key window: its keys, and whether it takes the mouse.
#include <QApplication>

#include "device/ChTwoPoint.h"
#include "device/VirtualKeyCodes.h"
#include "kit/device/OffscreenApplication.h"
#include "kit/device/PenFixture.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

class PointThreadKeysTest : public PenFixture {
protected:
    // What earlier tests have let go of is not to be found.
    PointThreadKeysTest() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    // A unit whose pens are paired like that: 0 by a table, else by themselves.
    void openPairedWith(std::uint8_t paired) {
        unitAnswers.wireless = paired;
        openArmed();
    }
    // Presses keys, and says which of Z, Delete, C and Escape count as pressed now.
    std::string press(const std::vector<std::uint16_t>& codes) {
        for (const std::uint16_t code : codes)
            keys.keyDown(code);
        const std::string line = log.lines().back();
        return line.substr(line.find('('));
    }
    // The same after a pass of the point thread.
    std::string pressedAfterPass() {
        EXPECT_THAT(pass(), IsEmpty());
        return press({kNoVirtualKey});
    }
    // The window that the driver has made; null where there is none.
    static ChTwoPoint* keyWindow() {
        const auto made = topWindows<ChTwoPoint>();
        const auto shown = std::find_if(made.begin(), made.end(), [](auto* one) { return one->isVisible(); });
        return shown == made.end() ? nullptr : *shown;
    }

    const bool application = ensureOffscreenApplication();
    ChTwoPoint keys{{{0, 0}, {20, 20}}};
};

// Which keys mean something, to whom

struct Keys {
    const char* name;
    std::uint8_t paired;
    std::vector<std::uint16_t> pressed;
    const char* after; // a pass
};

class PointThreadKeysWithTest : public PointThreadKeysTest, public testing::WithParamInterface<Keys> {};

TEST_P(PointThreadKeysWithTest, AreTakenOrLeft) {
    openPairedWith(GetParam().paired);
    press(GetParam().pressed);
    EXPECT_EQ(pressedAfterPass(), GetParam().after);
    EXPECT_EQ(turnTaking.running(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    , PointThreadKeysWithTest,
    testing::Values(Keys{"CheckOfPairedPens", 1, {kVirtualKeyC, kVirtualKeyDelete}, "(0 , 0 , 0 , 0)"},
                    Keys{"CheckOfTiedPens", 0, {kVirtualKeyC, kVirtualKeyDelete}, "(0 , 1 , 1 , 0)"},
                    Keys{"OneOfACheck", 1, {kVirtualKeyC}, "(0 , 0 , 1 , 0)"},
                    Keys{"PairingOfPairedPens", 1, {kVirtualKeyZ, kVirtualKeyDelete}, "(1 , 1 , 0 , 0)"},
                    Keys{"OneOfAPairing", 0, {kVirtualKeyZ}, "(1 , 0 , 0 , 0)"},
                    Keys{"OthersOfAPairing", 0, {kVirtualKeyZ, kVirtualKeyEscape}, "(1 , 0 , 0 , 1)"}),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(PointThreadKeysTest, ACheckIsRequestedOnce) {
    openPairedWith(1);
    press({kVirtualKeyC, kVirtualKeyDelete});
    pass();
    press({kVirtualKeyC, kVirtualKeyDelete});
    EXPECT_EQ(pressedAfterPass(), "(0 , 1 , 1 , 0)");
}

TEST_F(PointThreadKeysTest, ACheckCanBeRequestedWhenACheckViewIsGone) {
    for (const bool withItsUnit : {true, false}) {
        unitAnswers.sightings = 1;
        withItsUnit ? open() : replug();
        unitAnswers.sightings = 0;
        if (withItsUnit)
            replug();
        else
            driver->startPointQueue();
        press({kVirtualKeyC, kVirtualKeyDelete});
        EXPECT_EQ(pressedAfterPass(), "(0 , 0 , 0 , 0)") << withItsUnit;
        pass();
    }
}

TEST_F(PointThreadKeysTest, KeysAndTheCheckViewAreToldLikeThis) {
    openPairedWith(1);
    happened.clear();
    press({kVirtualKeyC, kVirtualKeyDelete});
    desk.clock.sleep(2 * kPassSleep);
    driver->Nx9View(); // without a panel
    press({kVirtualKeyC});
    desk.clock.sleep(2 * kPassSleep);
    EXPECT_TRUE(matchesTranscript("check_request"));
}

// Z and Delete: the pairing exit

TEST_F(PointThreadKeysTest, ZAndDeleteSendTheTableAndEndTheProcessWithStatusZero) {
    openPairedWith(0);
    unitAnswers.then = [this](const SentReport& report) {
        if (report.bytes.at(0) == 'S')
            unit.sendReport({'S', report.bytes.at(1)});
        return kIOReturnSuccess;
    };
    press({kVirtualKeyZ, kVirtualKeyDelete, kVirtualKeyC});
    happened.clear();
    run(std::chrono::seconds(3));
    EXPECT_EQ(turnTaking.exitStatus(), 0);
    EXPECT_TRUE(matchesTranscript("pairing_exit"));
    EXPECT_EQ(press({kNoVirtualKey}), "(0 , 0 , 1 , 0)");
    unit.takeOperations();
    driver->startPointQueue();
    EXPECT_THAT(unit.takeOperations(), testing::ElementsAre("queue4.start()")) << "the pairing's is gone";
}

TEST_F(PointThreadKeysTest, ThePairingExitNeedsNoListenerAndEndsWithItsUnit) {
    openPairedWith(0);
    deviceDelegate->deaf = {Operation::deviceDidRemoveCallback};
    unitAnswers.then = [](const SentReport&) { return kIOReturnNoDevice; };
    press({kVirtualKeyZ, kVirtualKeyDelete});
    run(std::chrono::seconds(1));
    EXPECT_EQ(turnTaking.exitStatus(), 0);
    EXPECT_THAT(deviceDelegate->takeHeard(), testing::Not(testing::Contains("remove")));
}

TEST_F(PointThreadKeysTest, NothingIsPairedWhileTheCheckViewIsShown) {
    openPairedWith(0);
    driver->Nx9View();
    press({kVirtualKeyZ, kVirtualKeyDelete, kVirtualKeyEscape});
    EXPECT_EQ(pressedAfterPass(), "(1 , 1 , 0 , 1)");
    EXPECT_EQ(turnTaking.running(), 1);
}

// The file that comes with the program, or is cut short.
TEST_F(PointThreadKeysTest, ATableThatWasNeverReadIsNotSentAndTheProgramStays) {
    for (const std::size_t length : {std::size_t{112}, std::size_t{560}, std::size_t{0}}) {
        ReportBytes zeros(length);
        if (length > 112)
            zeros.back() = 1; // behind the table
        desk.dataFiles.put("NX9_Wireless.bin", zeros);
        if (length == 112)
            openPairedWith(0);
        log.clear();
        press({kVirtualKeyZ, kVirtualKeyDelete});
        EXPECT_THAT(pass(), IsEmpty());
        EXPECT_EQ(log.lines().back(),
                  "Pairing: no table has been read from a unit yet, so there is none to send");
        EXPECT_EQ(press({kNoVirtualKey}), "(0 , 0 , 0 , 0)");
        EXPECT_EQ(turnTaking.running(), 1);
    }
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

TEST_F(PointThreadKeysTest, OneByteMakesATable) {
    ReportBytes table(112);
    table[111] = 1;
    desk.dataFiles.put("NX9_Wireless.bin", table);
    openPairedWith(0);
    unitAnswers.then = [](const SentReport&) { return kIOReturnNoDevice; };
    press({kVirtualKeyZ, kVirtualKeyDelete});
    run(std::chrono::seconds(1));
    EXPECT_EQ(turnTaking.exitStatus(), 0);
}

// Whether the key window takes the mouse

TEST_F(PointThreadKeysTest, TheKeyWindowTakesTheMouseOnlyWhileThereIsNoReport) {
    openPairedWith(0);
    ASSERT_TRUE(keyWindow());
    EXPECT_FALSE(keyWindow()->ignoresMouseEvents());
    passOn(1001, 601);
    EXPECT_FALSE(keyWindow()->ignoresMouseEvents()) << "it is told on the main thread";
    runMainLoop();
    EXPECT_TRUE(keyWindow()->ignoresMouseEvents());
    lift(); // a report, too
    runMainLoop();
    EXPECT_TRUE(keyWindow()->ignoresMouseEvents());
    unit.script().answer("queue.getNextEvent", kIOReturnError);
    pass();
    runMainLoop();
    EXPECT_FALSE(keyWindow()->ignoresMouseEvents());
}

TEST_F(PointThreadKeysTest, TheKeyWindowIsToldOnlyOfChanges) {
    openPairedWith(0);
    lift();
    desk.runLoop.posted = 0;
    for (int i = 0; i < 3; ++i)
        lift();
    EXPECT_EQ(desk.runLoop.posted, 0);
}

TEST_F(PointThreadKeysTest, EachKeyWindowIsToldAnew) {
    openPairedWith(0);
    for (int start = 0; start < 3; ++start) {
        lift();
        runMainLoop();
        EXPECT_TRUE(keyWindow()->ignoresMouseEvents());
        keyWindow()->hide();
        driver->startDevice();
        EXPECT_FALSE(keyWindow()->ignoresMouseEvents());
    }
}

TEST_F(PointThreadKeysTest, APairedPenHasNoKeyWindow) {
    openPairedWith(1);
    EXPECT_FALSE(keyWindow());
    EXPECT_EQ(passOn(1001, 601), (Deeds{"press 503 307"}));
}

} // namespace
} // namespace lightpen
