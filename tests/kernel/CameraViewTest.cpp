// SPDX-License-Identifier: MIT
// What the camera sees, fetched over a real bus: pictures byte for byte as the unit sent them, the light test
// at plug-in, and the plug pulled in the middle of either. The driver's parts run in the test's own process.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <QApplication>

#include "device/EventGeneratorNX7.h"
#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverSeat.h"
#include "kernel/support/PointerWatch.h"
#include "kernel/support/UnitPriority.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/Waiting.h"
#include "unit/CameraUnit.h"

namespace lightpen::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr ScreenPoint kTouched{301, 522};
constexpr CameraPoint kLight{700, 333};
// As many as a unit answers to one light test.
constexpr int kMostSightings = 12;

struct Seat : DriverSeat {
    PointerWatch pointer;
};
Seat* seat = nullptr;

EventGeneratorNX7& driver() {
    return *EventGeneratorNX7::sharedEventGeneratorNX7();
}

// The pixels of the pictures that a unit has sent, as they were in its reports.
class SentPictures {
public:
    // Called on the bus's thread at each report that carries a part of a picture, with how many there were.
    using AtReport = std::function<void(int)>;

    explicit SentPictures(CameraUnit& unit, AtReport atReport = {}) : unit_(unit) {
        unit_.onReport([this, atReport = std::move(atReport)](const UnitReport& report) {
            if (report.kind != ReportKind::picture)
                return;
            const std::lock_guard hold(mutex_);
            pixels_.insert(pixels_.end(), report.bytes.begin() + 1, report.bytes.end() - 3);
            if (atReport)
                atReport(++reports_);
        });
    }
    ~SentPictures() { unit_.onReport({}); }
    SentPictures(const SentPictures&) = delete;
    SentPictures& operator=(const SentPictures&) = delete;

    std::vector<std::uint8_t> pixels() const {
        const std::lock_guard hold(mutex_);
        return pixels_;
    }

private:
    CameraUnit& unit_;
    mutable std::mutex mutex_;
    std::vector<std::uint8_t> pixels_;
    int reports_ = 0;
};

// The grey levels of an image, which must be opaque and without colour.
std::vector<std::uint8_t> greysOf(const PreviewImage& image) {
    std::vector<std::uint8_t> greys;
    for (std::size_t i = 0; i < image.rgba.size(); i += PreviewImage::kSamplesPerPixel) {
        const std::uint8_t* sample = &image.rgba[i];
        if (sample[0] != sample[1] || sample[0] != sample[2] || sample[3] != 255)
            return {};
        greys.push_back(sample[0]);
    }
    return greys;
}

class CameraViewTest : public testing::Test {
protected:
    CameraViewTest() {
        priority.reset();
        seat->desktop.emptyLog();
        unit.flash()->store(unit.seen({100, 75}), unit.seen({700, 80}), unit.seen({105, 720}),
                            unit.seen({690, 710}));
    }
    void TearDown() override {
        if (unit.plugged()) {
            unit.unplug();
            EXPECT_TRUE(removed(1));
        }
        if (HasFailure())
            seat->printLog();
    }

    template <class Condition>
    bool becomes(Condition condition, Microseconds patience = seconds(15)) {
        return waitUntil(platform, condition, patience);
    }
    // Waits for the end of so many more removals since the last that was waited for.
    bool removed(int times) {
        removals += times;
        return becomes([this] {
            const std::string log = seat->logged();
            int count = 0;
            for (auto at = log.find(kRemoved); at != std::string::npos; at = log.find(kRemoved, at + 1))
                ++count;
            return count >= removals;
        });
    }
    // What the driver says its last light test has seen; -1 before the first.
    static int sightings() {
        const std::string log = seat->logged();
        const std::string words = "Event n:2350 Notificationnx9:";
        const auto at = log.rfind(words);
        return at == std::string::npos ? -1 : std::stoi(log.substr(at + words.size()));
    }
    void plugIn() {
        unit.plug();
        ASSERT_TRUE(bus.settle(unit)) << bus.failure(unit);
        ASSERT_TRUE(becomes(EventGeneratorNX7::isUnitOpen));
    }
    void unplug() {
        unit.unplug();
        ASSERT_TRUE(removed(1));
    }
    // The pen presses and releases the button. The unit's first reports arm the pen; where they were missed,
    // the first touch does.
    void expectThePenToWork() {
        ASSERT_NO_FATAL_FAILURE(press());
        release();
    }
    void press() {
        const int before = pointer.presses();
        const auto pressed = [this, before] { return pointer.presses() > before; };
        for (int attempt = 0; attempt < 3 && !pressed(); ++attempt) {
            unit.lift();
            platform.runLoop.runFor(milliseconds(attempt * 1000));
            unit.touch(kTouched);
            becomes(pressed, seconds(2));
        }
        ASSERT_TRUE(pressed());
    }
    // A guest that is held up may see more than one stroke; the last one ends, and none comes after it.
    void release() {
        unit.lift();
        EXPECT_TRUE(becomes([this] {
            const int before = pointer.presses();
            platform.runLoop.runFor(milliseconds(200));
            return !pointer.buttonDown() && pointer.presses() == before;
        }));
    }
    void expectAWholePicture() {
        const SentPictures sent(unit);
        picture = driver().previewImage();
        ASSERT_TRUE(picture);
        ASSERT_EQ(sent.pixels().size(), kPreviewPictureBytes) << "the unit sends one picture";
        EXPECT_EQ(greysOf(*picture), sent.pixels());
    }

    Platform& platform = seat->platform;
    PointerWatch& pointer = seat->pointer;
    std::optional<UnitPriority> priority{std::in_place};
    GadgetBus bus{platform.clock}; // the kernel has room for one unit of four interfaces at a time
    CameraUnit& unit = bus.add<CameraUnit>({}, {}, Optics::strongKeystone({1280, 720}));
    int removals = 0;
    PreviewImageRef picture; // the last whole one
};

TEST_F(CameraViewTest, APictureIsWhatTheCameraSentAndThePenGoesOn) {
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(press());
    const int before = pointer.presses();
    ASSERT_NO_FATAL_FAILURE(expectAWholePicture()); // with the pen's spot in it
    const PreviewImageRef withPen = picture;
    // Without reports the pen was up; it is still on the screen.
    EXPECT_TRUE(becomes([&] { return pointer.presses() > before; }));
    release();
    ASSERT_NO_FATAL_FAILURE(expectAWholePicture());
    EXPECT_NE(*picture, *withPen);
    expectThePenToWork();
}

TEST_F(CameraViewTest, APlugThatIsPulledOutOfAPictureEndsItAndAReplugGivesAWholeOne) {
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(expectThePenToWork());
    ASSERT_NO_FATAL_FAILURE(expectAWholePicture());
    {
        const SentPictures sent(unit, [this](int reports) {
            if (reports == 3)
                unit.faults()->unplug = UnplugPoint{.occurrence = 0, .when = UnplugPoint::When::beforeReply};
        });
        EXPECT_EQ(driver().previewImage(), picture) << "a part of a picture is none";
        EXPECT_EQ(sent.pixels().size(), kPreviewPictureBytes / 2);
    }
    ASSERT_TRUE(removed(1));
    EXPECT_EQ(driver().previewImage(), nullptr) << "there is no unit";
    ASSERT_NO_FATAL_FAILURE(plugIn());
    // Its reports make a picture of their own, and the one behind sets the count back.
    ASSERT_NO_FATAL_FAILURE(expectThePenToWork());
    expectAWholePicture();
}

TEST_F(CameraViewTest, TheLightTestSeesForeignLightAlsoAfterAPlugWasPulledOutOfIt) {
    unit.strayLight(kLight);
    unit.faults()->unplug = UnplugPoint{.command = 'K', .when = UnplugPoint::When::afterReply};
    unit.plug();
    ASSERT_TRUE(removed(1));
    EXPECT_LE(sightings(), 1) << "one sighting was sent";
    ASSERT_NO_FATAL_FAILURE(plugIn());
    const int seen = sightings();
    EXPECT_GT(seen, 1);
    EXPECT_LE(seen, kMostSightings);
    ASSERT_NO_FATAL_FAILURE(expectAWholePicture());
    ASSERT_NO_FATAL_FAILURE(unplug());
    unit.strayLight(std::nullopt);
    ASSERT_NO_FATAL_FAILURE(plugIn());
    EXPECT_EQ(sightings(), 0);
    expectThePenToWork();
}

} // namespace
} // namespace lightpen::test

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    lightpen::setUpQtMessages();
    const QApplication application(argc, argv);
    lightpen::setUpQtApplication();
    const auto seat = std::make_unique<lightpen::test::Seat>();
    lightpen::test::seat = seat.get();
    const int status = RUN_ALL_TESTS();
    std::fflush(stdout);
    // Without destructors: the driver's threads still run.
    seat->platform.runLoop.exitProcess(status);
}
