// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/ScreenCover.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "kit/VirtualTime.h"
#include "kit/linux/FakeLogind.h"
#include "kit/linux/TestMain.h"
#include "kit/linux/XNeighbour.h"
#include "linux_desktop/process/UserSession.h"
#include "measure/desktop/Patience.h"
#include "platform/SystemUI.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ScreenCoverTest : public testing::Test {
protected:
    ScreenCoverTest() {
        for (const auto name : {kScreenWasCovered, kScreenWasUncovered})
            notifications.addObserver(this, name, nullptr,
                                      [this](const Notification& told) { heard.push_back(told.name); });
    }
    void begin() {
        cover = std::make_unique<ScreenCover>(session, notifications);
        session.setObserver([this] { cover->update(); });
    }
    bool hears(const std::vector<std::string>& names) {
        return comesTrue([&] { return heard == names; });
    }

    LogindProgram logind{std::getenv("DBUS_SYSTEM_BUS_ADDRESS")};
    XNeighbour neighbour{std::getenv("DISPLAY")};
    VirtualClock clock;
    VirtualRunLoop loop{clock};
    UserSession session{loop};
    NotificationCenter notifications;
    std::vector<std::string> heard;
    std::unique_ptr<ScreenCover> cover;
};

TEST_F(ScreenCoverTest, TellsOfSessionAndLockerAsOfOne) {
    begin();
    EXPECT_FALSE(cover->isCovered());
    logind.perform([](FakeLogind& fake) { fake.setLocked(true); });
    EXPECT_TRUE(hears({"kScreenWasCovered"}));
    const auto locker = neighbour.openFreePanel({0, 0, 640, 480, 0});
    EXPECT_TRUE(cover->isCovered());
    logind.perform([](FakeLogind& fake) { fake.setLocked(false); });
    EXPECT_TRUE(comesTrue([&] { return !session.isCovered(); }));
    EXPECT_TRUE(cover->isCovered()) << "by the locker";
    EXPECT_THAT(heard, ElementsAre("kScreenWasCovered"));
    neighbour.close(locker);
    EXPECT_FALSE(cover->isCovered());
    EXPECT_THAT(heard, ElementsAre("kScreenWasCovered")) << "not while somebody asks";
    EXPECT_TRUE(hears({"kScreenWasCovered", "kScreenWasUncovered"}));
}

TEST_F(ScreenCoverTest, ALockerThatIsThereAlreadyIsToldOfByTheLoop) {
    const auto locker = neighbour.openFreePanel({0, 0, 640, 480, 0});
    begin();
    EXPECT_THAT(heard, IsEmpty());
    EXPECT_TRUE(hears({"kScreenWasCovered"}));
    neighbour.close(locker);
    EXPECT_TRUE(hears({"kScreenWasCovered", "kScreenWasUncovered"}));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::PrivateBus(), lightpen::Xvfb("640x480"));
}
