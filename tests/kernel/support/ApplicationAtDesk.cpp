// SPDX-License-Identifier: MIT
#include "kernel/support/ApplicationAtDesk.h"

#include <stdexcept>
#include <string>

#include "measure/desktop/Patience.h"

namespace lightpen {

namespace {

using std::chrono::seconds;

constexpr Microseconds kSessionPatience = seconds(90);

} // namespace

void DeskWithPanel::prepare() {
    bus.enter();
    desk.prepare();
    panel = std::make_unique<FakeStatusNotifierWatcher>(bus.address());
    panel->appear();
}

std::map<std::string, std::string> DeskWithPanel::environment() const {
    return {{"DBUS_SESSION_BUS_ADDRESS", bus.address()}, {"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}};
}

std::unique_ptr<MenuOverDBus> DeskWithPanel::awaitMenu() {
    if (!comesTrue([this] { return panel->items().size() == 1; }))
        return nullptr;
    const auto item = panel->items().front();
    return std::make_unique<MenuOverDBus>(bus.address(), item.service, item.path);
}

std::unique_ptr<ScreenCapture> DeskWithPanel::look() const {
    std::string problem;
    auto capture = ScreenCapture::create(desk.server.display().c_str(), problem);
    if (!capture)
        throw std::runtime_error(problem);
    return capture;
}

int DeskWithPanel::touchTargets(SeekingHand hand, const std::function<bool()>& done) {
    const Microseconds end = desk.clock.now() + kSessionPatience;
    while (!done() && desk.clock.now() < end) {
        hand.look();
        desk.runLoop.runFor(SeekingHand::kLookPeriod);
    }
    return hand.touches();
}

ApplicationAtDesk::ApplicationAtDesk(DeskWithPanel& at) : PenAtDesk(at.desk), desk(at), eyes(at.look()) {}

void ApplicationAtDesk::startApplication() {
    ASSERT_NO_FATAL_FAILURE(startDriver(desk.environment()));
    menu = desk.awaitMenu();
    ASSERT_TRUE(menu);
}

int ApplicationAtDesk::touchTargets(const std::function<bool()>& done) {
    return desk.touchTargets({[this](const Hand& hand) { unit.play(hand); }, *eyes, clock, desk.kContact},
                             done);
}

void ApplicationAtDesk::awaitRest() {
    EXPECT_TRUE(comesTrue([this] { return unit.toPlay() == Microseconds::zero(); }));
    runLoop.runFor(kLiftSeen);
}

} // namespace lightpen
