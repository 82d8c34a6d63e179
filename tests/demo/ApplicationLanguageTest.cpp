// SPDX-License-Identifier: MIT
// Every text of the application's menu, in every language, as the panel gets it; and the choice of a
// language.
#include <array>

#include "demo/ApplicationTest.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

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
        ASSERT_TRUE(root);
        EXPECT_TRUE(allUsable(*root));
        const std::string distance = texts(key, {"Projection Distance"}).front();
        const std::string language = texts(key, {"Language"}).front();
        ASSERT_TRUE(root->child(distance) && root->child(language));
        EXPECT_EQ(root->child(distance)->labels(), texts(key, {"Distance3", "Distance2", "Distance1"}));
        EXPECT_EQ(root->child(language)->labels(), texts(key, languageKeys()));
        EXPECT_EQ(checkedBelow(*root, language), texts(key, {key}));
    }
};

TEST_P(ApplicationLanguageTest, EachTextIsTheOneOfItsTable) {
    std::vector<std::unique_ptr<Speaker>> speakers;
    for (std::size_t i = GetParam(); i < std::min(GetParam() + kAtOnce, applicationLanguages().size()); ++i) {
        speakers.push_back(std::make_unique<Speaker>(applicationLanguages()[i]));
        panel();
        ASSERT_TRUE(speakers.back()->desk.start());
    }
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

TEST_F(ApplicationChoiceTest, ThereAreSixteenLanguages) {
    EXPECT_THAT(applicationLanguages(), SizeIs(16));
}

TEST_F(ApplicationChoiceTest, ALanguageIsStoredAtOnceAndShownWithTheNextMenu) {
    ASSERT_TRUE(comes(user, {"--plugged"}));
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    ASSERT_TRUE(user.menu->click(Labels{"Language", "French"}));
    EXPECT_TRUE(comesTrue([&] { return user.stored("Language") == "fr"; })) << user.stored("Language");
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
    ASSERT_TRUE(user.menu->click(Labels{language, thai}));
    EXPECT_TRUE(comesTrue([&] { return user.stored("Language") == "th"; })) << user.stored("Language");
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
