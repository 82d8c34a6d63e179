// SPDX-License-Identifier: MIT
// Pictures, the light test and both ways of the pairing table with a camera unit in software, whose plug is
// pulled at every step.
#include <QApplication>
#include <QKeyEvent>

#include "device/ChTwoPoint.h"
#include "kit/device/EmulatedUnitFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Not;
using When = UnplugPoint::When;

constexpr const char* kFile = "NX9_Wireless.bin";

// Records that the unit may store: each begins with 0x10 to 0x7F.
std::vector<std::uint8_t> pairingFile() {
    std::vector<std::uint8_t> file;
    for (unsigned i = 0; i < 112; ++i)
        file.push_back(static_cast<std::uint8_t>(i % 8 == 0 ? 0x70 - i / 8 * 3 : i * 29 + 5));
    return file;
}

std::vector<std::uint8_t> tableOf(CameraUnit& camera) {
    std::vector<std::uint8_t> bytes;
    for (unsigned index = 0; index < 14; ++index) {
        const auto record = camera.pairingTable()->record(index);
        bytes.insert(bytes.end(), record->begin(), record->end());
    }
    return bytes;
}

class CameraViewTest : public EmulatedUnitFixture {
protected:
    explicit CameraViewTest(std::size_t reportLength = 804) : camera(addCamera(reportLength)) {
        calibrate(camera);
        desk.dataFiles.put(kFile, pairingFile());
        desk.runLoop.limitRuns(20'000);
    }
    // Opened, and its pointer output armed.
    void startAndArm() {
        start();
        camera.plug();
        run(100ms); // the opening
        run(1500ms);
        ASSERT_TRUE(EventGeneratorNX7::hearsPen());
    }
    // Z and Delete, in the window that is there for them.
    static void pressBothKeys() {
        for (ChTwoPoint* window : topWindows<ChTwoPoint>())
            for (const int key : {Qt::Key_Z, Qt::Key_Delete}) {
                QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
                QApplication::sendEvent(window, &press);
            }
    }
    static int grey(const PreviewImageRef& image, CameraPoint place) {
        const auto column = static_cast<std::size_t>(place.x / 32);
        const auto row = static_cast<std::size_t>(place.y / 32);
        return image->rgba.at(row * 320 + column * 4);
    }

    const bool hasWindows = ensureOffscreenApplication();
    CameraUnit& camera;
};

// Pictures

TEST_F(CameraViewTest, APictureShowsTheScreenTheRoomAndThePen) {
    startAndArm();
    camera.touch({301, 622});
    run(200ms);
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(grey(image, camera.seen({301, 622})), 255);
    const int onScreen = grey(image, camera.seen({900, 200}));
    const int inRoom = grey(image, {2500, 60});
    EXPECT_GT(onScreen, inRoom + 40);
    EXPECT_LT(onScreen, 200);
    EXPECT_GT(grey(image, camera.seen({30, 30})), inRoom + 40) << "near its corner";
    EXPECT_EQ(grey(image, {camera.seen({0, 400}).x - 100, 1000}), inRoom) << "beside its slanting left side";
    EXPECT_EQ(grey(image, {0, 1000}), 0);
}

// Each pixel report could pass for a spot: the pointer stays where the pen is, or is up.
TEST_F(CameraViewTest, APictureIsFetchedWhileThePenIsInUseAndThePenGoesOn) {
    startAndArm();
    camera.touch({640, 400});
    run(300ms);
    desk.pointer.takePosted();
    ASSERT_NE(driver->previewImage(), nullptr);
    run(700ms);
    for (const Posted& event : desk.pointer.takePosted()) {
        EXPECT_NEAR(event.location.x, 640, 1);
        EXPECT_NEAR(event.location.y, 400, 1);
    }
    run(200ms);
    EXPECT_FALSE(desk.pointer.takePosted().empty()) << "the pen is still down";
    camera.lift();
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
    const auto first = driver->previewImage();
    const auto second = driver->previewImage();
    EXPECT_NE(first, second);
    EXPECT_EQ(*first, *second) << "nothing has moved";
    EXPECT_TRUE(touchWorks(camera, {1001, 122}));
}

class ShortReportsTest : public CameraViewTest {
protected:
    ShortReportsTest() : CameraViewTest(32) {}
};

TEST_F(ShortReportsTest, SixReportsOf32BytesAreThePicturesFirstTwoRows) {
    startAndArm();
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr);
    for (std::size_t place = 1; place < 168; ++place)
        EXPECT_EQ(image->rgba[place * 4] != 0, place % 80 != 0) << place;
    for (std::size_t place = 168; place < 4800; ++place)
        ASSERT_EQ(image->rgba[place * 4], 0) << place;
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
}

// Stray light

TEST_F(CameraViewTest, StrayLightIsFoundAtTheStartAndReported) {
    start();
    camera.strayLight(CameraPoint{700, 500});
    plugIn(camera);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("noise", "remove"));
    const auto image = driver->previewImage();
    ASSERT_NE(image, nullptr) << "whatever the guards say";
    EXPECT_EQ(grey(image, {700, 500}), 255);
    EXPECT_LT(grey(image, {1700, 900}), 200);
}

TEST_F(CameraViewTest, WithoutStrayLightThereIsNone) {
    start();
    camera.touch({640, 400}); // the pen is none
    plugIn(camera);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add"));
}

TEST_F(CameraViewTest, AnswersThatComeTooLateAreNoLight) {
    start();
    camera.strayLight(CameraPoint{700, 500});
    camera.faults()->extraAnswerDelay = 400ms;
    plugIn(camera);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add"));
}

// Pairing

TEST_F(CameraViewTest, TheUnitsTableIsSaved) {
    startAndArm();
    desk.pointer.takePosted();
    ASSERT_NE(tableOf(camera), pairingFile());
    driver->Nx9commd('R');
    EXPECT_EQ(desk.dataFiles.contents(kFile), tableOf(camera));
    run(100ms);
    EXPECT_THAT(desk.pointer.takePosted(), testing::IsEmpty()) << "its records are no touches";
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
}

TEST_F(CameraViewTest, ALitPenDoesNotDisturbTheTableNorTheTableThePen) {
    startAndArm();
    camera.touch({640, 400});
    run(200ms);
    driver->Nx9commd('R');
    EXPECT_EQ(desk.dataFiles.contents(kFile), tableOf(camera));
    camera.lift();
    run(1s);
    desk.pointer.takePosted();
    run(1s);
    EXPECT_THAT(desk.pointer.takePosted(), testing::IsEmpty());
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
}

TEST_F(CameraViewTest, BothKeysSendTheFileAndEndTheProgramWithStatusZero) {
    camera.information()->wireless = 0;
    startAndArm();
    deviceDelegate->takeHeard();
    pressBothKeys();
    run(10s);
    EXPECT_EQ(turnTaking.exitStatus(), 0);
    EXPECT_EQ(tableOf(camera), pairingFile());
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("remove"));
}

// The plug, pulled at every step

// Of the settings a picture takes the first two.
std::vector<UnplugPoint> pointsOfTheExchanges() {
    std::vector<UnplugPoint> points;
    for (const auto& [command, occurrence] :
         {std::pair('\0', 1), {'\0', 2}, {'R', 1}, {'R', 2}, {'R', 14}, {'S', 1}, {'S', 2}, {'S', 14}})
        for (const UnplugPoint& point : unplugPoints(command, occurrence, {0, 1, 5, 400}))
            points.push_back(point);
    return points;
}

class PulledPlugTest : public CameraViewTest, public testing::WithParamInterface<UnplugPoint> {
protected:
    void exchange() {
        if (*GetParam().command == 'R')
            driver->Nx9commd('R');
        else if (*GetParam().command == 'S')
            driver->Nx9inPairing();
        else
            driver->previewImage();
    }
};

TEST_P(PulledPlugTest, EndsTheExchangeAndTheNextArrivalWorks) {
    startAndArm();
    const auto before = driver->previewImage();
    ASSERT_NE(before, nullptr);
    camera.faults()->unplug = GetParam();
    exchange();
    run(1s);
    EXPECT_FALSE(driver->imageProcessMode());
    camera.faults()->unplug.reset();
    replug(camera);
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
    const auto file = desk.dataFiles.contents(kFile);
    EXPECT_TRUE(file == pairingFile() || file == tableOf(camera)) << "never a part of it";
    driver->Nx9commd('R');
    EXPECT_EQ(desk.dataFiles.contents(kFile), tableOf(camera));
    EXPECT_THAT(driver->previewImage(), testing::Pointee(*before)) << "nothing has moved";
}

INSTANTIATE_TEST_SUITE_P(, PulledPlugTest, testing::ValuesIn(pointsOfTheExchanges()), nameOfUnplugPoint);

TEST_F(CameraViewTest, APlugThatIsPulledInTheLightTestEndsTheOpening) {
    start();
    camera.strayLight(CameraPoint{700, 500});
    for (const When when :
         {When::beforeCommand, When::afterCommand, When::beforeReply, When::midReply, When::afterReply}) {
        camera.faults()->unplug = UnplugPoint{.command = std::uint8_t{'K'}, .when = when};
        camera.plug();
        run(2s);
        EXPECT_FALSE(EventGeneratorNX7::isUnitOpen());
        EXPECT_EQ(desk.registry.liveObjects(), 5U) << "the event service and four iterators";
    }
    camera.strayLight(std::nullopt);
    plugIn(camera);
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
}

// Any moment of a fetch, the plug back at once.
TEST_F(CameraViewTest, AQuickReplugInAFetchIsMadeGood) {
    startAndArm();
    for (Microseconds moment = 0ms; moment < 330ms; moment += 30ms) {
        const Microseconds pulled = desk.clock.now() + moment;
        camera.schedule(pulled, [](CameraUnit& plugged) { plugged.unplug(); });
        camera.schedule(pulled + 7ms, [](CameraUnit& plugged) { plugged.plug(); });
        driver->previewImage();
        run(4s);
        ASSERT_TRUE(touchWorks(camera, {301, 622})) << moment.count();
    }
}

} // namespace
} // namespace lightpen
