// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxLocales.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QEvent>
#include <QTranslator>

#include "kit/Eventually.h"
#include "kit/linux/FakeLocale1.h"
#include "kit/linux/TestMain.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

QStringList assignments(const std::vector<const char*>& list) {
    QStringList result;
    for (const char* assignment : list)
        result += QString::fromUtf8(assignment);
    return result;
}

// A translation of nothing, so that there is something to install.
class SomeTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
};

class LinuxLocalesTest : public testing::Test {
protected:
    // The user's locale is es_MX.
    LinuxLocalesTest() {
        for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANGUAGE"})
            unsetenv(name);
        setenv("LANG", "es_MX.UTF-8", 1);
        notifications.addObserver(this, kCurrentLocaleDidChange, nullptr,
                                  [this](const Notification&) { heard.push_back(languages()); });
        makeLocales();
    }
    // Once it returns, the bus knows what they listen to: the service speaks from a connection of its own.
    void makeLocales() {
        locales = std::make_unique<LinuxLocales>(notifications);
        QDBusConnection::systemBus().call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
            QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
    }
    std::vector<std::string> languages() const { return locales->preferredLanguages(); }
    // Waits for the news of a change.
    bool hears() {
        return eventually([this] { return !heard.empty(); }, [] { QCoreApplication::processEvents(); });
    }
    // A last change, after which everything sent before it has arrived; true when it alone was heard.
    bool hearsOnlyTheLast() {
        service.set(assignments({"LANG=th_TH.UTF-8"}));
        return hears() && heard == std::vector<std::vector<std::string>>{{"th"}};
    }

    FakeLocale1 service{std::getenv("DBUS_SYSTEM_BUS_ADDRESS")};
    NotificationCenter notifications;
    std::vector<std::vector<std::string>> heard; // what the languages were at each notification
    std::unique_ptr<LinuxLocales> locales;
};

TEST_F(LinuxLocalesTest, AreThoseOfTheUserAtFirst) {
    service.locale = assignments({"LANG=de_DE.UTF-8"});
    EXPECT_THAT(languages(), ElementsAre("es"));
}

TEST_F(LinuxLocalesTest, FollowTheSystemsLocaleWhenItIsSetAnew) {
    const std::pair<QStringList, std::vector<std::string>> cases[] = {
        {assignments({"LANG=zh_TW.UTF-8", "LC_NUMERIC=de_DE.UTF-8"}), {"zh-Hant"}},
        {assignments({"LC_MESSAGES=fr_FR.UTF-8", "LANGUAGE=it:fr", "LANG=zh_TW.UTF-8"}), {"it", "fr"}},
        {{}, {"en"}}, // a system without a locale
    };
    for (const auto& [locale, expected] : cases) {
        heard.clear();
        service.set(locale);
        ASSERT_TRUE(hears());
        EXPECT_THAT(heard, ElementsAre(expected));
    }
}

TEST_F(LinuxLocalesTest, ANewLocaleOfTheSameLanguageIsNoNews) {
    service.set(assignments({"LANG=es_ES.UTF-8"}));
    service.set(assignments({"LANG=es_AR.UTF-8", "LC_TIME=ja_JP.UTF-8"}));
    EXPECT_TRUE(hearsOnlyTheLast());
}

TEST_F(LinuxLocalesTest, AskForALocaleThatTheServiceDoesNotSay) {
    service.setWithoutSaying(assignments({"LANG=ko_KR.UTF-8"}));
    ASSERT_TRUE(hears());
    EXPECT_THAT(heard, ElementsAre(ElementsAre("ko")));
}

TEST_F(LinuxLocalesTest, OtherChangesAndNonsenseAreNoNews) {
    service.setKeyboard(QStringLiteral("fr"));
    service.babble();
    service.set(assignments({"LANG", "=", "", "LANG=es_ES"}));
    EXPECT_TRUE(hearsOnlyTheLast());
}

TEST_F(LinuxLocalesTest, AUserWhoHasOutvotedTheSystemKeepsTheLanguage) {
    setenv("LC_ALL", "pl_PL.UTF-8", 1);
    makeLocales();
    service.set(assignments({"LANG=fr_FR.UTF-8"}));
    const auto hasArrived = [this] {
        unsetenv("LC_ALL");
        const auto beneath = languages();
        setenv("LC_ALL", "pl_PL.UTF-8", 1);
        return beneath == std::vector<std::string>{"fr"};
    };
    ASSERT_TRUE(eventually(hasArrived, [] { QCoreApplication::processEvents(); }));
    EXPECT_THAT(languages(), ElementsAre("pl"));
    EXPECT_TRUE(heard.empty());
}

TEST_F(LinuxLocalesTest, FollowWhatQtReports) {
    QEvent change(QEvent::LocaleChange);
    QCoreApplication::sendEvent(QCoreApplication::instance(), &change);
    EXPECT_TRUE(heard.empty()); // nothing is different
    setenv("LANG", "sv_SE.UTF-8", 1);
    QCoreApplication::sendEvent(QCoreApplication::instance(), &change);
    EXPECT_THAT(heard, ElementsAre(ElementsAre("sv")));

    setenv("LANG", "ru_RU.UTF-8", 1);
    SomeTranslator translator;
    QCoreApplication::installTranslator(&translator);
    EXPECT_THAT(heard, ElementsAre(ElementsAre("sv"), ElementsAre("ru")));
    QCoreApplication::removeTranslator(&translator);
    EXPECT_EQ(heard.size(), 2u);
}

TEST_F(LinuxLocalesTest, TheLocaleOfASinglePartOfTheProgramIsNoNews) {
    setenv("LANG", "sv_SE.UTF-8", 1);
    QObject part;
    QEvent change(QEvent::LocaleChange);
    QCoreApplication::sendEvent(&part, &change);
    EXPECT_TRUE(heard.empty());
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QCoreApplication>(argc, argv, lightpen::PrivateBus());
}
