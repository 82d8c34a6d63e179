// SPDX-License-Identifier: MIT
// The keyboard of somebody who types beside a unit for wireless pens, on a desktop with a window manager.
#include <atomic>
#include <optional>
#include <thread>

#include "kit/linux/XNeighbour.h"
#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

// Types into a window of a program of its own, a key every 20 ms.
class Typist {
public:
    void clickIntoTheWindow() { editor_.click(900, 600); }
    // Whether the window comes to have the keyboard.
    bool isHeard() {
        return comesTrue([&] { return editor_.focus() == window_ && pressKey(); });
    }
    void begin() {
        typed_ = arrived_ = 0;
        thread_.emplace([this](const std::stop_token& end) {
            while (!end.stop_requested()) {
                pressKey();
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        });
    }
    void stop() { thread_.reset(); }
    int typed() const { return typed_; }
    int arrived() const { return arrived_; }

private:
    bool pressKey() {
        editor_.pressKey(XNeighbour::kA);
        ++typed_;
        const int come = editor_.takeKeys();
        arrived_ += come;
        return come > 0;
    }

    XNeighbour editor_{applicationStage->server.display()};
    const xcb_window_t window_ = editor_.openWindow({500, 400, 500, 300, 0xFFFFFF});
    std::atomic<int> typed_ = 0;
    std::atomic<int> arrived_ = 0;
    std::optional<std::jthread> thread_;
};

using BorrowedKeyboardTest = ApplicationTest;

// This window manager grants what a program asks for, so the unit's arrival has the keyboard for a while.
TEST_F(BorrowedKeyboardTest, AnEditorThatTheUserHasGoneBackToLosesNoKeyToTheMenu) {
    Typist typist;
    ASSERT_TRUE(comes(user, {"--calibrated", "--no-hand", "--wireless", "0"}));
    ASSERT_TRUE(user.program.perform("plug"));
    ASSERT_TRUE(isReady());
    ASSERT_TRUE(comesTrue([&] { return user.screen.focused(user.program.processId()).has_value(); }))
        << user.program.log();
    typist.clickIntoTheWindow();
    ASSERT_TRUE(typist.isHeard());
    const auto before = user.program.log().size();
    typist.begin();
    for (int times = 1; times <= 5; ++times) {
        ASSERT_TRUE(user.menu->open());
        EXPECT_TRUE(comesTrue([&] { return typist.typed() >= 20 * times - 10; }));
        ASSERT_TRUE(user.menu->close());
        EXPECT_TRUE(comesTrue([&] { return typist.typed() >= 20 * times; }));
    }
    typist.stop();
    EXPECT_EQ(typist.arrived(), typist.typed());
    EXPECT_EQ(user.program.log().find("Event n:111 keyCode : (", before), std::string::npos);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
