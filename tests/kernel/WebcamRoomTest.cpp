// SPDX-License-Identifier: MIT
// The room that the webcam's tests take place in, without any of the program: a camera of the kernel's sees
// the pen and the projection where the optics say, in each format, and does what cameras do. A plain reader
// looks through it.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <ostream>

#include "kernel/room/BrightPlace.h"
#include "kernel/room/CameraRoom.h"
#include "kernel/support/Xorg.h"
#include "kit/Eventually.h"
#include "kit/linux/ScreenPainter.h"
#include "linux_desktop/process/SystemClock.h"

namespace lightpen {

void PrintTo(const CameraMode& mode, std::ostream* out) {
    *out << mode.format.size.width << " x " << mode.format.size.height << " at " << mode.rate
         << (mode.format.kind == PixelKind::grey ? " grey" : " yuyv");
}

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Size kScreen = Xorg::kScreen;
// A place is looked at so often.
constexpr int kLooks = 20;
constexpr milliseconds kPatience{2000};
constexpr Microseconds kLongEnough = seconds(60);

// Whoever reads the camera.
class Reader {
public:
    explicit Reader(const CameraRoom& room)
        : stream(room.node(), VideoEnd::capture, 4),
          grey(static_cast<std::size_t>(stream.format().size.width) *
               static_cast<std::size_t>(stream.format().size.height)) {}

    // The newest picture's grey levels; false when there is none.
    bool read() {
        auto picture = stream.take(kPatience);
        if (!picture)
            return false;
        for (auto newer = picture; newer; newer = stream.take(milliseconds(0))) {
            if (newer->index != picture->index)
                stream.giveBack(*picture);
            picture = newer;
            missed += seen++ > 0 ? picture->sequence - last - 1 : 0;
            last = picture->sequence;
        }
        greyOf(picture->bytes, stream.format().kind, grey);
        stream.giveBack(*picture);
        return true;
    }
    std::optional<PicturePoint> bright() const { return brightPlace(grey, stream.format().size); }
    // Reads until a picture is so; false when none is in time.
    bool awaits(const std::function<bool(const Reader&)>& so) {
        return eventually([&] { return read() && so(*this); }, [] {});
    }

    VideoStream stream;
    std::vector<std::uint8_t> grey;
    unsigned last = 0;
    unsigned seen = 0;
    unsigned missed = 0; // by the camera's own count
};

bool dark(const Reader& reader) {
    return !reader.bright();
}
// A picture without any light of the room: half of all pixels are bright.
bool noise(const Reader& reader) {
    const auto lit = std::ranges::count_if(reader.grey, [](std::uint8_t level) { return level > 100; });
    return static_cast<std::size_t>(lit) > reader.grey.size() / 4;
}

double offBy(PicturePoint seen, PicturePoint expected) {
    return std::hypot(seen.x - expected.x, seen.y - expected.y);
}

struct WebcamRoomTest : testing::TestWithParam<CameraMode> {
    CameraRoom makeRoom(std::unique_ptr<ScreenCapture> eyes = nullptr) {
        return {GetParam(), kScreen, Optics::strongKeystone(kScreen), clock, std::move(eyes)};
    }
    SystemClock clock;
};

TEST_P(WebcamRoomTest, ThePenIsSeenWhereItTouches) {
    CameraRoom room = makeRoom();
    Reader reader(room);
    ASSERT_TRUE(reader.awaits(dark)) << room.problem();
    double worst = 0;
    const Microseconds start = clock.now();
    const unsigned long read = reader.seen, written = room.pictures();
    for (const ScreenPoint place : {ScreenPoint{5.5, 9}, {1271, 14.25}, {1268, 713}, {11, 702}, {333, 444}}) {
        room.play(Hand().press(place).stay(kLongEnough).lift());
        for (int looks = 0; looks < kLooks;) {
            ASSERT_TRUE(reader.awaits([](const Reader& now) { return now.bright().has_value(); }));
            worst = std::max(worst, offBy(*reader.bright(), room.place(place)));
            ++looks;
        }
        room.play(Hand());
        ASSERT_TRUE(reader.awaits(dark));
    }
    const auto took = std::chrono::duration<double>(clock.now() - start).count();
    std::printf(
        "%4d x %4d at %d, %s: a second %.1f pictures written, %.1f read, %u lost; the pen at most %.3f "
        "pixels off\n",
        GetParam().format.size.width, GetParam().format.size.height, GetParam().rate,
        GetParam().format.kind == PixelKind::grey ? "grey" : "yuyv",
        static_cast<double>(room.pictures() - written) / took, static_cast<double>(reader.seen - read) / took,
        reader.missed, worst);
    EXPECT_LE(worst, 0.15);
}

TEST_P(WebcamRoomTest, TheProjectionIsSeenWhereItIsShown) {
    static const Xorg server; // one for all
    std::string problem;
    auto eyes = ScreenCapture::create(server.display().c_str(), problem);
    ASSERT_TRUE(eyes) << problem;
    ScreenPainter painter(server.display());
    painter.show({0, 0, static_cast<int>(kScreen.width), static_cast<int>(kScreen.height)}, 0);
    CameraRoom room = makeRoom(std::move(eyes));
    Reader reader(room);
    ASSERT_TRUE(reader.awaits(dark)) << room.problem();
    for (const PixelRect place : {PixelRect{150, 60, 30, 30}, {1095, 630, 31, 30}, {640, 360, 20, 20}}) {
        const auto window = painter.show(place, 0xFFFFFF);
        ASSERT_TRUE(reader.awaits([](const Reader& now) { return now.bright().has_value(); }));
        ASSERT_TRUE(reader.read());
        const auto seen = reader.bright();
        ASSERT_TRUE(seen);
        EXPECT_LE(offBy(*seen, room.place({place.x + place.width / 2.0, place.y + place.height / 2.0})),
                  GetParam().format.size.width / 2000.0); // its edges fall between pixels
        painter.hide(window);
        ASSERT_TRUE(reader.awaits(dark));
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, WebcamRoomTest,
                         testing::Values(CameraMode{{{640, 480}, PixelKind::grey}, 60},
                                         CameraMode{{{640, 480}, PixelKind::yuyv}, 60},
                                         CameraMode{{{1280, 720}, PixelKind::grey}, 30},
                                         CameraMode{{{1280, 720}, PixelKind::yuyv}, 60},
                                         CameraMode{{{1920, 1080}, PixelKind::grey}, 60},
                                         CameraMode{{{1920, 1080}, PixelKind::yuyv}, 30}));

struct WebcamRoomTroubleTest : testing::Test {
    SystemClock clock;
    CameraRoom room{{}, kScreen, Optics::straight(kScreen), clock};
};

TEST_F(WebcamRoomTroubleTest, WithoutASignalThereIsNoise) {
    Reader reader(room);
    ASSERT_TRUE(reader.awaits(dark)) << room.problem();
    room.setSignal(false);
    EXPECT_TRUE(reader.awaits(noise));
    room.setSignal(true);
    EXPECT_TRUE(reader.awaits(dark)) << room.problem();
}

TEST_F(WebcamRoomTroubleTest, PicturesGetLost) {
    Reader reader(room);
    ASSERT_TRUE(reader.awaits(dark)) << room.problem();
    room.setLoss(50);
    reader.missed = 0;
    EXPECT_TRUE(reader.awaits([](const Reader& now) { return now.missed >= 10; }));
    room.setLoss(0);
    EXPECT_TRUE(reader.awaits(dark));
}

TEST_F(WebcamRoomTroubleTest, ACameraThatIsPulledTellsItsReaderAndComesBack) {
    {
        Reader reader(room);
        ASSERT_TRUE(reader.awaits(dark)) << room.problem();
        room.pull();
        EXPECT_THROW(while (reader.read()){}, VideoError);
    }
    room.plugIn();
    Reader reader(room);
    EXPECT_TRUE(reader.awaits(dark)) << room.problem();
    room.play(Hand().press({640, 360}).stay(seconds(1)).lift());
    EXPECT_TRUE(reader.awaits([this](const Reader& now) {
        const auto seen = now.bright();
        return seen && offBy(*seen, room.place({640, 360})) < 0.3;
    }));
}

TEST_F(WebcamRoomTroubleTest, TheReaderChoosesTheKindOfPixels) {
    setVideoFormat(openVideo(room.node()).get(), VideoEnd::capture, {{640, 480}, PixelKind::yuyv});
    Reader reader(room);
    EXPECT_TRUE(reader.awaits(dark)) << room.problem();
    room.play(Hand().press({640, 360}).stay(seconds(2)).lift());
    EXPECT_TRUE(reader.awaits([](const Reader& now) { return now.bright().has_value(); }));
}

} // namespace
} // namespace lightpen
