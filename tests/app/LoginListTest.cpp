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

constexpr const char* kIdentifier = "org.lightpen.LightPenNX7";
const RunningApplication kRunning{"/opt/new/LightPenNX7", kIdentifier};
const LoginItem kMail{"/usr/bin/mail", true, "mail.desktop"};
const LoginItem kOld{"/opt/old/LightPenNX7", true, "own.desktop"};
const LoginItem kMoved{"/opt/old/LightPenNX7", true, "own.desktop", kIdentifier};
const LoginItem kUpdated{"/opt/new/LightPenNX7", true, "own.desktop", kIdentifier};
const LoginItem kClone{"/home/LightPenNX7-clone", false, "clone.desktop"};
const LoginItem kClock{"/usr/bin/clock", false, "clock.desktop"};
const LoginItem kNew{"/opt/new/LightPenNX7", false, "", kIdentifier};

std::optional<std::string> identifierAt(const std::string& path) {
    const std::map<std::string, std::string> applications{{"/opt/old/LightPenNX7", kIdentifier},
                                                          {"/opt/new/LightPenNX7", kIdentifier},
                                                          {"/home/LightPenNX7-clone", "org.example.clone"},
                                                          {"/opt/renamed", kIdentifier}};
    const auto found = applications.find(path);
    return found == applications.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> nothingAt(const std::string&) {
    return std::nullopt;
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
    EXPECT_THAT(result.list, ElementsAre(kMail, kClock, kUpdated));
}

TEST(LoginListTest, AnEntryOfTheSamePathIsUpdatedToo) {
    const LoginItem own{"/opt/new/LightPenNX7", false, "own.desktop", kIdentifier};
    const LoginListUpdate result = update(std::vector{own, kMail}, true);
    EXPECT_EQ(result.change, Change::updated);
    EXPECT_THAT(result.list, ElementsAre(kMail, own));
}

TEST(LoginListTest, AnotherApplicationWithTheNameInItsPathIsLeftAlone) {
    const LoginListUpdate added = update(std::vector{kClone, kMail}, true);
    EXPECT_EQ(added.change, Change::added);
    EXPECT_THAT(added.list, ElementsAre(kClone, kMail, kNew));
    const LoginListUpdate updated = update(std::vector{kClone, kOld}, true);
    EXPECT_EQ(updated.change, Change::updated);
    EXPECT_EQ(updated.list.front(), kClone);
}

TEST(LoginListTest, TheNameInThePathIsAskedForToo) {
    const LoginItem renamed{"/opt/renamed", false, "renamed.desktop"};
    EXPECT_THAT(update(std::vector{renamed}, true).list, ElementsAre(renamed, kNew));
    EXPECT_THAT(update(std::vector{renamed}, false).list, ElementsAre(renamed));
}

TEST(LoginListTest, GoesWhenItIsNotWanted) {
    const LoginListUpdate result = update(std::vector{kMail, kClone, kOld, kClock}, false);
    EXPECT_EQ(result.change, Change::removed);
    EXPECT_THAT(result.list, ElementsAre(kMail, kClone, kClock));
}

TEST(LoginListTest, NothingChangesWhenItIsNeitherThereNorWanted) {
    const LoginListUpdate result = update(std::vector{kMail, kClone}, false);
    EXPECT_EQ(result.change, Change::none);
    EXPECT_THAT(result.list, ElementsAre(kMail, kClone));
    EXPECT_THAT(update(std::nullopt, false).list, IsEmpty());
}

TEST(LoginListTest, TheFirstOfSeveralCountsAndWhatSaysTheSameGoesWithIt) {
    LoginItem twin = kOld;
    twin.origin = "twin.desktop";
    LoginItem shown = kOld;
    shown.hide = false;
    const LoginListUpdate result = update(std::vector{kOld, kMail, twin, shown}, true);
    EXPECT_THAT(result.list, ElementsAre(kMail, shown, kUpdated));
    EXPECT_THAT(update(std::vector{kOld, kMail, twin, shown}, false).list, ElementsAre(kMail, shown));
}

TEST(LoginListTest, AnApplicationThatHasLeftThePathIsKnownByWhatTheEntryRemembers) {
    const std::vector<LoginItem> list{kMail, kMoved, kClock};
    const auto wanted = updatedLoginList(list, true, kRunning, nothingAt);
    EXPECT_EQ(wanted.change, Change::updated);
    EXPECT_THAT(wanted.list, ElementsAre(kMail, kClock, kUpdated));
    const auto unwanted = updatedLoginList(list, false, kRunning, nothingAt);
    EXPECT_EQ(unwanted.change, Change::removed);
    EXPECT_THAT(unwanted.list, ElementsAre(kMail, kClock));
}

TEST(LoginListTest, WhoIsAtThePathNowGoesBeforeWhatTheEntryRemembers) {
    LoginItem taken = kClone;
    taken.identifier = kIdentifier;
    EXPECT_THAT(update(std::vector{taken}, true).list, ElementsAre(taken, kNew));
    EXPECT_THAT(update(std::vector{taken}, false).list, ElementsAre(taken));
    LoginItem ours = kOld;
    ours.identifier = "org.example.former";
    EXPECT_THAT(update(std::vector{ours}, true).list, ElementsAre(kUpdated));
}

TEST(LoginListTest, NeitherAnotherMemoryNorNoneMakesADeadEntryItsOwn) {
    LoginItem other = kMoved;
    other.identifier = "org.example.clone";
    LoginItem nameless = kMoved;
    nameless.path = "/opt/renamed";
    for (const LoginItem& dead : {other, kOld, nameless}) {
        EXPECT_THAT(updatedLoginList(std::vector{dead}, true, kRunning, nothingAt).list,
                    ElementsAre(dead, kNew));
        EXPECT_THAT(updatedLoginList(std::vector{dead}, false, kRunning, nothingAt).list, ElementsAre(dead));
    }
}

TEST(LoginListTest, WithoutAnIdentifierNoEntryIsItsOwn) {
    const RunningApplication nameless{"/opt/new/LightPenNX7", std::nullopt};
    const LoginItem fresh{"/opt/new/LightPenNX7", false, ""};
    EXPECT_THAT(updatedLoginList(std::vector{kOld}, false, nameless, nothingAt).list, ElementsAre(kOld));
    EXPECT_THAT(updatedLoginList(std::vector{kOld}, true, nameless, nothingAt).list,
                ElementsAre(kOld, fresh));
}

} // namespace
} // namespace lightpen
