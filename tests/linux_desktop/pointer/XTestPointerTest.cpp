// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/XTestPointer.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <optional>
#include <thread>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/Xvfb.h"
#include "kit/linux/PointerObserver.h"
#include "kit/linux/PointerOver.h"

namespace lightpen {
namespace {

class XTestPointerTest : public testing::Test {
protected:
    static void SetUpTestSuite() { server = std::make_unique<Xvfb>("1000x600"); }
    static void TearDownTestSuite() { server.reset(); }

    XTestPointerTest() {
        std::string problem;
        auto device = XTestPointer::create(server->display().c_str(), problem);
        EXPECT_TRUE(device) << problem;
        pointer = std::make_unique<PointerOver>(std::move(device), geometry);
    }

    static std::unique_ptr<Xvfb> server;
    SharedGeometry geometry{PointerGeometry({0, 0}, 1, {0, 0, 1000, 600})};
    PointerObserver observer{server->display()};
    std::unique_ptr<PointerOver> pointer;
};

std::unique_ptr<Xvfb> XTestPointerTest::server;

TEST_F(XTestPointerTest, LeavesPointsOutsideToTheServer) {
    pointer->post(kLeftMouseDragged, {-40, 599});
    EXPECT_TRUE(observer.becomes({0, 599, false, false}));
    pointer->post(kLeftMouseDragged, {32767, 3});
    EXPECT_TRUE(observer.becomes({999, 3, false, false}));
}

TEST_F(XTestPointerTest, SurvivesCoordinatesBeyondTheProtocols) {
    geometry.store(PointerGeometry({0, 0}, 3, {0, 0, 1000, 600}));
    pointer->post(kLeftMouseDragged, {32767, 5});
    EXPECT_TRUE(observer.becomes({999, 15, false, false}));
    pointer->post(kLeftMouseDragged, {-32768, 6});
    EXPECT_TRUE(observer.becomes({0, 18, false, false}));
}

TEST_F(XTestPointerTest, LeavesNothingPressedBehind) {
    pointer->post(kRightMouseDown, {41, 31});
    EXPECT_TRUE(observer.becomes({41, 31, false, true}));
    pointer.reset();
    EXPECT_TRUE(observer.becomes({41, 31, false, false}));
}

// The server keeps what a killed program held down. Its connection just ends, as at a SIGKILL.
TEST_F(XTestPointerTest, LetsGoOfWhatAKilledProgramHeld) {
    for (const auto press : {kLeftMouseDown, kRightMouseDown}) {
        const bool left = press == kLeftMouseDown;
        const pid_t program = fork();
        if (program == 0) {
            std::string problem;
            PointerOver held(XTestPointer::create(server->display().c_str(), problem), geometry);
            held.post(press, {51, 61});
            pause();
        }
        ASSERT_GT(program, 0);
        EXPECT_TRUE(observer.becomes({51, 61, left, !left}));
        kill(program, SIGKILL);
        waitpid(program, nullptr, 0);
        EXPECT_TRUE(observer.becomes({51, 61, left, !left})) << "the server's way";
        std::string problem;
        auto next = XTestPointer::create(server->display().c_str(), problem);
        EXPECT_TRUE(observer.becomes({51, 61, false, false}));
    }
}

TEST(XTestPointerFailure, AServerThatDiesEndsNothingButTheEvents) {
    RecordingLog log;
    signal(SIGPIPE, SIG_IGN); // as in the program
    Xvfb mortal("640x480");
    SharedGeometry geometry{PointerGeometry({0, 0}, 1, {0, 0, 640, 480})};
    std::string problem;
    auto device = XTestPointer::create(mortal.display().c_str(), problem);
    ASSERT_TRUE(device) << problem;
    PointerOver pointer(std::move(device), geometry);
    log.clear();
    EXPECT_EQ(pointer.post(kLeftMouseDown, {1, 2}), kIOReturnSuccess);
    mortal.end();
    EXPECT_TRUE(eventually([&] { return pointer.post(kLeftMouseDragged, {3, 4}) == kIOReturnNoDevice; }));
    EXPECT_EQ(pointer.post(kLeftMouseUp, {3, 4}), kIOReturnNoDevice);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"Pointer: the X server takes no events any more"});
}

// What a server that hangs does not hold up: far more moves than its connection takes, and a whole touch.
class HungServerTest : public testing::Test {
protected:
    HungServerTest() {
        std::string problem;
        auto device = XTestPointer::create(server.display().c_str(), problem);
        EXPECT_TRUE(device) << problem;
        pointer.emplace(std::move(device), geometry);
        EXPECT_TRUE(observer.becomes({320, 240, false, false})) << "it has read all";
        log.clear();
    }
    ~HungServerTest() override { server.goOn(); }

    // Whether the act is over while the server hangs.
    bool endsMeanwhile(const std::function<void()>& act) {
        server.standStill();
        std::atomic<bool> over{false};
        std::thread actor([&] {
            act();
            over = true;
        });
        const bool ended = eventually([&] { return over.load(); });
        server.goOn();
        actor.join();
        return ended;
    }
    void moves() {
        for (std::int16_t i = 0; i < 3000; ++i)
            pointer->post(kLeftMouseDragged, {i, 7});
    }

    RecordingLog log;
    Xvfb server{"640x480"};
    SharedGeometry geometry{PointerGeometry({0, 0}, 1, {0, 0, 640, 480})};
    PointerObserver observer{server.display()};
    std::optional<PointerOver> pointer;
};

TEST_F(HungServerTest, HoldsNobodyUpAndAStrokeIsReleasedAfterwards) {
    EXPECT_TRUE(endsMeanwhile([&] {
        pointer->post(kLeftMouseDown, {11, 12});
        moves();
        pointer->post(kLeftMouseUp, {21, 22});
    }));
    EXPECT_TRUE(observer.becomes({21, 22, false, false}));
    EXPECT_EQ(log.takeLines(), std::vector<std::string>{"Pointer: the X server does not read its events"});
    EXPECT_EQ(pointer->post(kLeftMouseDown, {31, 32}), kIOReturnSuccess);
    EXPECT_TRUE(observer.becomes({31, 32, true, false}));
}

TEST_F(HungServerTest, ATouchThatBeginsMeanwhileIsThereAfterwards) {
    EXPECT_TRUE(endsMeanwhile([&] {
        moves();
        pointer->post(kLeftMouseDown, {41, 42});
    }));
    EXPECT_TRUE(observer.becomes({41, 42, true, false}));
}

TEST_F(HungServerTest, HoldsUpNoEnd) {
    EXPECT_TRUE(endsMeanwhile([&] {
        moves();
        pointer->post(kLeftMouseDown, {51, 52});
        pointer->releaseButtons();
        pointer.reset();
    }));
}

TEST_F(HungServerTest, ManyTouchesMeanwhileDoNotEither) {
    EXPECT_TRUE(endsMeanwhile([&] {
        moves();
        for (std::int16_t i = 0; i < 1000; ++i) {
            pointer->post(kLeftMouseDown, {i, 1});
            pointer->post(kLeftMouseUp, {i, 1});
        }
    }));
    pointer->releaseButtons();
    const PointerState now = observer.state();
    EXPECT_TRUE(observer.becomes({now.x, now.y, false, false}));
}

TEST(XTestPointerFailure, NoDisplayIsNoPointer) {
    std::string problem;
    EXPECT_FALSE(XTestPointer::create(":4711", problem));
    EXPECT_EQ(problem, "no X display :4711");
    unsetenv("DISPLAY");
    EXPECT_FALSE(XTestPointer::create(nullptr, problem));
    EXPECT_EQ(problem, "no X display");
}

TEST(XTestPointerFailure, AServerWithoutTheExtensionIsNoPointer) {
    const Xvfb bare("640x480", {"-extension", "XTEST"});
    std::string problem;
    EXPECT_FALSE(XTestPointer::create(bare.display().c_str(), problem));
    EXPECT_EQ(problem, "the X server has no test extension");
}

} // namespace
} // namespace lightpen
