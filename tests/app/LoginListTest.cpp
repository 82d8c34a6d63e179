// SPDX-License-Identifier: MIT
#include "app/LoginList.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Change = LoginListUpdate::Change;

const RunningApplication kRunning{"/opt/new/LightPenNX7", "org.lightpen.LightPenNX7"};
const LoginItem kMail{"/usr/bin/mail", true, "mail.desktop"};
const LoginItem kOld{"/opt/old/LightPenNX7", true, "own.desktop"};
const LoginItem kForeign{"/home/LightPenNX7-clone", false, "clone.desktop"};
const LoginItem kClock{"/usr/bin/clock", false, "clock.desktop"};
const LoginItem kNew{"/opt/new/LightPenNX7", false, ""};

std::optional<std::string> identifierAt(const std::string& path) {
    const std::map<std::string, std::string> applications{
        {"/opt/old/LightPenNX7", "org.lightpen.LightPenNX7"},
        {"/opt/new/LightPenNX7", "org.lightpen.LightPenNX7"},
        {"/home/LightPenNX7-clone", "org.example.clone"},
        {"/opt/renamed", "org.lightpen.LightPenNX7"}};
    const auto found = applications.find(path);
    return found == applications.end() ? std::nullopt : std::optional(found->second);
}

LoginListUpdate update(const std::optional<std::vector<LoginItem>>& list, bool wanted) {
    return updatedLoginList(list, wanted, kRunning, identifierAt);
}

TEST(LoginListTest, AddsItselfToAListThatIsAbsentOrEmpty) {
    for (const auto& list :
         {std::optional<std::vector<LoginItem>>(), std::optional(std::vector<LoginItem>())}) {
        const LoginListUpdate result = update(list, true);
        EXPECT_EQ(result.change, Change::added);
        EXPECT_THAT(result.list, ElementsAre(kNew));
    }
}

TEST(LoginListTest, MovesItsEntryToTheEndWithTheNewPath) {
    const LoginListUpdate result = update(std::vector{kMail, kOld, kClock}, true);
    EXPECT_EQ(result.change, Change::updated);
    EXPECT_THAT(result.list,
                ElementsAre(kMail, kClock, LoginItem{"/opt/new/LightPenNX7", true, "own.desktop"}));
}

TEST(LoginListTest, AnEntryOfTheSamePathIsUpdatedToo) {
    const LoginItem own{"/opt/new/LightPenNX7", false, "own.desktop"};
    const LoginListUpdate result = update(std::vector{own, kMail}, true);
    EXPECT_EQ(result.change, Change::updated);
    EXPECT_THAT(result.list, ElementsAre(kMail, own));
}

TEST(LoginListTest, AnotherApplicationWithTheNameInItsPathIsLeftAlone) {
    const LoginListUpdate added = update(std::vector{kForeign, kMail}, true);
    EXPECT_EQ(added.change, Change::added);
    EXPECT_THAT(added.list, ElementsAre(kForeign, kMail, kNew));
    const LoginListUpdate updated = update(std::vector{kForeign, kOld}, true);
    EXPECT_EQ(updated.change, Change::updated);
    EXPECT_EQ(updated.list.front(), kForeign);
}

TEST(LoginListTest, TheNameInThePathIsAskedForToo) {
    const LoginItem renamed{"/opt/renamed", false, "renamed.desktop"};
    EXPECT_THAT(update(std::vector{renamed}, true).list, ElementsAre(renamed, kNew));
    EXPECT_THAT(update(std::vector{renamed}, false).list, ElementsAre(renamed));
}

TEST(LoginListTest, GoesWhenItIsNotWanted) {
    const LoginListUpdate result = update(std::vector{kMail, kForeign, kOld, kClock}, false);
    EXPECT_EQ(result.change, Change::removed);
    EXPECT_THAT(result.list, ElementsAre(kMail, kForeign, kClock));
}

TEST(LoginListTest, NothingChangesWhenItIsNeitherThereNorWanted) {
    const LoginListUpdate result = update(std::vector{kMail, kForeign}, false);
    EXPECT_EQ(result.change, Change::none);
    EXPECT_THAT(result.list, ElementsAre(kMail, kForeign));
    EXPECT_THAT(update(std::nullopt, false).list, IsEmpty());
}

TEST(LoginListTest, TheFirstOfSeveralCountsAndWhatSaysTheSameGoesWithIt) {
    LoginItem twin = kOld;
    twin.origin = "twin.desktop";
    LoginItem shown = kOld;
    shown.hide = false;
    const LoginListUpdate result = update(std::vector{kOld, kMail, twin, shown}, true);
    EXPECT_THAT(result.list,
                ElementsAre(kMail, shown, LoginItem{"/opt/new/LightPenNX7", true, "own.desktop"}));
    EXPECT_THAT(update(std::vector{kOld, kMail, twin, shown}, false).list, ElementsAre(kMail, shown));
}

TEST(LoginListTest, WithoutAnIdentifierNoEntryIsItsOwn) {
    const auto unknown = [](const std::string&) { return std::optional<std::string>(); };
    const RunningApplication nameless{"/opt/new/LightPenNX7", std::nullopt};
    EXPECT_THAT(updatedLoginList(std::vector{kOld}, false, nameless, unknown).list, ElementsAre(kOld));
    EXPECT_THAT(updatedLoginList(std::vector{kOld}, true, nameless, unknown).list, ElementsAre(kOld, kNew));
}

} // namespace
} // namespace lightpen
