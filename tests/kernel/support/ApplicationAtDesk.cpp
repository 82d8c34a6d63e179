// SPDX-License-Identifier: MIT
#include "kernel/support/ApplicationAtDesk.h"

#include <stdexcept>
#include <string>

#include "emulated/SeekingHand.h"
#include "measure/desktop/Patience.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// A guest that is held up for as long as a short touch lasts never sees it.
constexpr Microseconds kContact = milliseconds(200);
constexpr Microseconds kSessionPatience = seconds(90);

std::unique_ptr<ScreenCapture> look(const std::string& display) {
    std::string problem;
    auto capture = ScreenCapture::create(display.c_str(), problem);
    if (!capture)
        throw std::runtime_error(problem);
    return capture;
}

} // namespace

void DeskWithPanel::prepare() {
    bus.enter();
    desk.prepare();
    panel = std::make_unique<FakeStatusNotifierWatcher>(bus.address());
    panel->appear();
}

ApplicationAtDesk::ApplicationAtDesk(DeskWithPanel& at)
    : PenAtDesk(at.desk), desk(at), eyes(look(server.display())) {}

void ApplicationAtDesk::startApplication() {
    ASSERT_NO_FATAL_FAILURE(startDriver(
        {{"DBUS_SESSION_BUS_ADDRESS", desk.bus.address()}, {"DBUS_SYSTEM_BUS_ADDRESS", desk.bus.address()}}));
    ASSERT_TRUE(comesTrue([this] { return desk.panel->items().size() == 1; }));
    const auto item = desk.panel->items().front();
    menu = std::make_unique<MenuOverDBus>(desk.bus.address(), item.service, item.path);
}

int ApplicationAtDesk::touchTargets(const std::function<bool()>& done) {
    SeekingHand seeking([this](const Hand& hand) { unit.play(hand); }, *eyes, clock, kContact);
    const Microseconds end = clock.now() + kSessionPatience;
    while (!done() && clock.now() < end) {
        seeking.look();
        runLoop.runFor(SeekingHand::kLookPeriod);
    }
    return seeking.touches();
}

void ApplicationAtDesk::awaitRest() {
    EXPECT_TRUE(comesTrue([this] { return unit.toPlay() == Microseconds::zero(); }));
    runLoop.runFor(kLiftSeen);
}

} // namespace lightpen
