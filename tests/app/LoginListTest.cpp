// SPDX-License-Identifier: MIT
#include "app/LoginList.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "kit/TestShell.h"

namespace lightpen {
namespace {

constexpr const char* kIdentifier = "org.lightpen.LightPenNX7";

// What the lists below are made of. The application itself runs in /opt/new.
const std::map<std::string, LoginItem> kItems{
    {"mail", {"/usr/bin/mail", true, "mail.desktop"}},
    {"clock", {"/usr/bin/clock", false, "clock.desktop"}},
    {"old", {"/opt/old/LightPenNX7", true, "own.desktop"}},
    {"old-elsewhere", {"/opt/old/LightPenNX7", true, "twin.desktop"}},
    {"old-shown", {"/opt/old/LightPenNX7", false, "own.desktop"}},
    {"old-remembered", {"/opt/old/LightPenNX7", true, "own.desktop", kIdentifier}},
    {"old-of-another", {"/opt/old/LightPenNX7", true, "own.desktop", "org.example.former"}},
    {"brought-here", {"/opt/new/LightPenNX7", true, "own.desktop", kIdentifier}},
    {"here", {"/opt/new/LightPenNX7", false, "own.desktop", kIdentifier}},
    {"new", {"/opt/new/LightPenNX7", false, "", kIdentifier}},
    {"new-nameless", {"/opt/new/LightPenNX7", false, ""}},
    {"clone", {"/home/LightPenNX7-clone", false, "clone.desktop"}},
    {"taken", {"/home/LightPenNX7-clone", false, "clone.desktop", kIdentifier}},
    {"renamed", {"/opt/renamed", false, "renamed.desktop"}},
    {"renamed-remembered", {"/opt/renamed", true, "own.desktop", kIdentifier}}};

// Which applications are at the paths of the entries.
enum class There { all, none, noneAndOursIsNameless };

struct Row {
    const char* name;
    There there;
    const char* before; // null where there is no list
    const char* wanted; // what happens to its entry, and the list
    const char* unwanted;
};

class LoginListTest : public testing::TestWithParam<Row> {
protected:
    LoginListTest() {
        running.path = "/opt/new";
        if (GetParam().there == There::noneAndOursIsNameless)
            running.identifier = std::nullopt;
        if (GetParam().there == There::all)
            running.others = {{"/opt/old/LightPenNX7", kIdentifier},
                              {"/opt/new/LightPenNX7", kIdentifier},
                              {"/home/LightPenNX7-clone", "org.example.clone"},
                              {"/opt/renamed", kIdentifier}};
    }
    std::string updated(bool wanted) const {
        std::optional<std::vector<LoginItem>> list;
        if (GetParam().before) {
            std::istringstream names(GetParam().before);
            list.emplace();
            for (std::string name; names >> name;)
                list->push_back(kItems.at(name));
        }
        const LoginListUpdate update = updatedLoginList(list, wanted, running);
        std::string text =
            std::array{"none:", "added:", "updated:", "removed:"}.at(std::size_t(update.change));
        for (const LoginItem& item : update.list) {
            const auto known = std::find_if(kItems.begin(), kItems.end(),
                                            [&](const auto& entry) { return entry.second == item; });
            text += ' ' + (known == kItems.end() ? "unknown " + item.path : known->first);
        }
        return text;
    }
    MemoryBundle running;
};

TEST_P(LoginListTest, IsBroughtIntoLineWithTheWish) {
    EXPECT_EQ(updated(true), GetParam().wanted);
    EXPECT_EQ(updated(false), GetParam().unwanted);
}

INSTANTIATE_TEST_SUITE_P(
    On, LoginListTest,
    testing::Values(
        Row{"NoList", There::all, nullptr, "added: new", "none:"},
        Row{"EmptyList", There::all, "", "added: new", "none:"},
        Row{"ItsEntryMovesToTheEndWithTheNewPath", There::all, "mail old clock",
            "updated: mail clock brought-here", "removed: mail clock"},
        Row{"AnEntryOfTheSamePathToo", There::all, "here mail", "updated: mail here", "removed: mail"},
        Row{"AnotherWithTheNameInItsPath", There::all, "clone mail", "added: clone mail new",
            "none: clone mail"},
        Row{"AnotherAndItself", There::all, "mail clone old clock", "updated: mail clone clock brought-here",
            "removed: mail clone clock"},
        Row{"OneWithoutTheNameInItsPath", There::all, "renamed", "added: renamed new", "none: renamed"},
        Row{"TheFirstOfSeveralAndWhatSaysTheSame", There::all, "old mail old-elsewhere old-shown",
            "updated: mail old-shown brought-here", "removed: mail old-shown"},
        Row{"OneThatHasLeftThePathAndIsRemembered", There::none, "mail old-remembered clock",
            "updated: mail clock brought-here", "removed: mail clock"},
        Row{"WhoIsAtThePathGoesBeforeTheMemory", There::all, "taken", "added: taken new", "none: taken"},
        Row{"WhoIsAtThePathMakesItItsOwn", There::all, "old-of-another", "updated: brought-here", "removed:"},
        Row{"AnotherMemory", There::none, "old-of-another", "added: old-of-another new",
            "none: old-of-another"},
        Row{"NoMemory", There::none, "old", "added: old new", "none: old"},
        Row{"AMemoryWithoutTheName", There::none, "renamed-remembered", "added: renamed-remembered new",
            "none: renamed-remembered"},
        Row{"WithoutAnIdentifier", There::noneAndOursIsNameless, "old", "added: old new-nameless",
            "none: old"}),
    [](const auto& tested) { return std::string(tested.param.name); });

} // namespace
} // namespace lightpen
