// SPDX-License-Identifier: MIT
// Every text of the application's menu, in every language, as the panel gets it; and the choice of a
// language.
#include <array>

#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

Labels languageKeys() {
    Labels keys;
    for (const Language& language : applicationLanguages())
        keys.push_back(language.key);
    return keys;
}

// A few users at once, since each application is idle for most of its start.
class ApplicationLanguageTest : public ApplicationTest, public testing::WithParamInterface<std::size_t> {
protected:
    static constexpr std::size_t kAtOnce = 4;

    struct Speaker {
        explicit Speaker(Language spoken) : language(std::move(spoken)) {
            desk.set("Language", language.identifier);
        }
        const Language language;
        ApplicationDesk desk;
    };
    static void expectFullMenu(Speaker& speaker) {
        const std::string& key = speaker.language.key;
        EXPECT_TRUE(speaker.desk.showsMenu(fullMenu(key)));
        const auto root = speaker.desk.menu->layout();
        EXPECT_TRUE(root && allUsable(*root));
        const std::string distance = texts(key, {"Projection Distance"}).front();
        const std::string language = texts(key, {"Language"}).front();
        EXPECT_EQ(speaker.desk.labels({distance}), texts(key, {"Distance3", "Distance2", "Distance1"}));
        EXPECT_EQ(speaker.desk.labels({language}), texts(key, languageKeys()));
        EXPECT_EQ(checkedBelow(root.value_or(MenuEntry{}), language), texts(key, {key}));
    }
    // A user for each of the next few languages, with the application started.
    std::vector<std::unique_ptr<Speaker>> speakersFrom(std::size_t first) {
        const auto& all = applicationLanguages();
        std::vector<std::unique_ptr<Speaker>> speakers;
        panel();
        for (std::size_t i = first; i < std::min(first + kAtOnce, all.size()); ++i) {
            speakers.push_back(std::make_unique<Speaker>(all[i]));
            EXPECT_TRUE(speakers.back()->desk.start());
        }
        return speakers;
    }
};

TEST_P(ApplicationLanguageTest, EachTextIsTheOneOfItsTable) {
    const auto speakers = speakersFrom(GetParam());
    for (const auto& speaker : speakers) {
        SCOPED_TRACE(speaker->language.key);
        ASSERT_TRUE(speaker->desk.itemComes(watcher));
        EXPECT_TRUE(speaker->desk.showsMenu(exitMenu(speaker->language.key)));
        speaker->desk.program.tell("plug");
    }
    for (const auto& speaker : speakers) {
        SCOPED_TRACE(speaker->language.key);
        expectFullMenu(*speaker);
    }
}

INSTANTIATE_TEST_SUITE_P(From, ApplicationLanguageTest, testing::Range<std::size_t>(0, 16, 4));

using ApplicationChoiceTest = ApplicationTest;

TEST_F(ApplicationChoiceTest, ALanguageIsStoredAtOnceAndShownWithTheNextMenu) {
    ASSERT_TRUE(comesWithUnit(user));
    EXPECT_TRUE(user.clickStores({"Language", "French"}, "Language", "fr"));
    EXPECT_EQ(user.labels(), fullMenu("English"));
    EXPECT_THAT(checkedBelow(user.menu->layout().value(), "Language"), ElementsAre("English"));

    ASSERT_TRUE(user.program.perform("unplug"));
    EXPECT_TRUE(user.showsMenu(exitMenu("French")));
    ASSERT_TRUE(user.program.perform("plug"));
    EXPECT_TRUE(user.showsMenu(fullMenu("French")));
    const auto [language, french, thai] = [] {
        const auto words = texts("French", {"Language", "French", "Thai"});
        return std::array{words[0], words[1], words[2]};
    }();
    EXPECT_THAT(checkedBelow(user.menu->layout().value(), language), ElementsAre(french));

    // By its name in the language of the menu.
    EXPECT_TRUE(user.clickStores({language, thai}, "Language", "th"));
}

TEST_F(ApplicationChoiceTest, TheChoiceHoldsAtTheNextStart) {
    user.set("Language", "ru");
    ASSERT_TRUE(comes(user));
    EXPECT_TRUE(user.showsMenu(exitMenu("Russian")));
    ASSERT_EQ(user.exitBy(exitMenu("Russian").front()), 0);
    EXPECT_TRUE(comesTrue([&] { return watcher.items().empty(); }));
    ASSERT_TRUE(comes(user));
    EXPECT_TRUE(user.showsMenu(exitMenu("Russian")));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
