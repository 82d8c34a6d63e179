// SPDX-License-Identifier: MIT
#include "platform/Notifications.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NotificationsTest : public testing::Test {
protected:
    NotificationCenter::Handler note(std::string what) {
        return [this, what](const Notification&) { heard.push_back(what); };
    }
    NotificationCenter center;
    std::vector<std::string> heard;
    const int first = 1, second = 2;
};

TEST_F(NotificationsTest, TextNamesWhatThereIs) {
    EXPECT_EQ(describe(Notification{"done"}), "{name = done; }");
    const auto text = describe({"done", &first, {{"two", 2}, {"one", 1}}});
    EXPECT_THAT(text, testing::StartsWith("{name = done; object = 0x"));
    EXPECT_THAT(text, testing::EndsWith("; userInfo = (one, two); }"));
}

TEST_F(NotificationsTest, ObserversOfTheNameHearInTheOrderTheyCame) {
    center.addObserver(&second, "done", nullptr, note("second"));
    center.addObserver(&first, "done", nullptr, note("first"));
    center.addObserver(&first, "undone", nullptr, note("other"));
    center.post({"done"});
    EXPECT_THAT(heard, ElementsAre("second", "first"));
}

TEST_F(NotificationsTest, ASenderIsComparedUnlessAnyWillDo) {
    center.addObserver(&first, "done", &first, note("from first"));
    center.addObserver(&first, "done", nullptr, note("from any"));
    center.post({"done", &second});
    EXPECT_THAT(heard, ElementsAre("from any"));
    center.post({"done", &first});
    EXPECT_THAT(heard, ElementsAre("from any", "from first", "from any"));
}

TEST_F(NotificationsTest, TheHandlerGetsTheWholeNotification) {
    center.addObserver(&first, "done", nullptr, [this](const Notification& notification) {
        EXPECT_EQ(notification.object, &second);
        heard.push_back(notification.name + std::any_cast<const char*>(notification.userInfo.at("key")));
    });
    center.post({"done", &second, {{"key", " value"}}});
    EXPECT_THAT(heard, ElementsAre("done value"));
}

TEST_F(NotificationsTest, RemovedObserversHearNothing) {
    center.addObserver(&first, "done", nullptr, note("first"));
    center.addObserver(&first, "undone", nullptr, note("first"));
    center.addObserver(&second, "done", nullptr, note("second"));
    center.removeObserver(&first);
    center.post({"undone"});
    center.post({"done"});
    EXPECT_THAT(heard, ElementsAre("second"));
}

TEST_F(NotificationsTest, AnObserverRemovedWhileOthersHearIsNotCalled) {
    center.addObserver(&first, "done", nullptr,
                       [this](const Notification&) { center.removeObserver(&second); });
    center.addObserver(&second, "done", nullptr, note("second"));
    center.post({"done"});
    EXPECT_THAT(heard, IsEmpty());
}

TEST_F(NotificationsTest, OneThatTookItsPlaceWaitsForTheNextNotification) {
    center.addObserver(&first, "done", nullptr, [this](const Notification&) {
        center.removeObserver(&second);
        center.addObserver(&second, "done", nullptr, note("new"));
    });
    center.addObserver(&second, "done", nullptr, note("old"));
    center.post({"done"});
    EXPECT_THAT(heard, IsEmpty());
}

TEST_F(NotificationsTest, AnObserverMayRemoveItself) {
    center.addObserver(&first, "done", nullptr, [this](const Notification&) {
        center.removeObserver(&first);
        heard.push_back("once");
    });
    center.post({"done"});
    center.post({"done"});
    EXPECT_THAT(heard, ElementsAre("once"));
}

TEST_F(NotificationsTest, NotificationsMayNest) {
    center.addObserver(&first, "outer", nullptr, [this](const Notification&) {
        center.post({"inner"});
        heard.push_back("outer");
    });
    center.addObserver(&first, "inner", nullptr, note("inner"));
    center.post({"outer"});
    EXPECT_THAT(heard, ElementsAre("inner", "outer"));
}

} // namespace
} // namespace lightpen
