// SPDX-License-Identifier: MIT
#include "linux_desktop/process/UserSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include <QCoreApplication>

#include "kit/RecordingLog.h"
#include "kit/VirtualTime.h"
#include "kit/linux/FakeLogind.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The bus of the test's own, which is both of them.
std::string bus() {
    return std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
}

// A desktop's screen saver on the session bus.
class FakeScreenSaver {
public:
    explicit FakeScreenSaver(const QString& name = QStringLiteral("saver"))
        : name_(name), bus_(QDBusConnection::connectToBus(QString::fromStdString(bus()), name)) {}
    ~FakeScreenSaver() { QDBusConnection::disconnectFromBus(name_); }
    void tell(const QVariantList& arguments, const char* interface = "org.freedesktop.ScreenSaver",
              const char* path = "/ScreenSaver") {
        auto signal = QDBusMessage::createSignal(QString::fromLatin1(path), QString::fromLatin1(interface),
                                                 QStringLiteral("ActiveChanged"));
        signal.setArguments(arguments);
        bus_.send(signal);
    }

private:
    const QString name_;
    QDBusConnection bus_;
};

class UserSessionTest : public testing::Test {
protected:
    void startLogind(const std::function<void(FakeLogind&)>& setUp = {}) {
        logind = std::make_unique<LogindProgram>(bus(), setUp);
    }
    // Once it returns, the bus knows what the session listens to: the others speak from connections of their
    // own.
    UserSession& begin() {
        session = std::make_unique<UserSession>(loop);
        session->setObserver([this] { ++changes; });
        QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
            QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
        return *session;
    }
    void tell(const std::function<void(FakeLogind&)>& what) { logind->perform(what); }
    bool becomes(bool covered) {
        return comesTrue([&] { return session->isCovered() == covered; });
    }
    bool heldUpBecomes(bool held) {
        return comesTrue([&] {
            bool now = !held;
            tell([&](const FakeLogind& fake) { now = fake.isHeldUp(); });
            return now == held;
        });
    }
    // Everything that was sent before has arrived.
    void expectUntouched() {
        tell([](FakeLogind& fake) { fake.setLocked(true); });
        EXPECT_TRUE(becomes(true));
        tell([](FakeLogind& fake) { fake.setLocked(false); });
        EXPECT_TRUE(becomes(false));
        EXPECT_EQ(changes, 2);
    }

    RecordingLog log;
    VirtualClock clock;
    VirtualRunLoop loop{clock};
    int changes = 0;
    std::unique_ptr<LogindProgram> logind;
    std::unique_ptr<UserSession> session;
};

TEST_F(UserSessionTest, WithoutLogindItIsActiveAndUnlocked) {
    begin();
    EXPECT_TRUE(session->hasTheSeat());
    EXPECT_FALSE(session->isCovered());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UserSessionTest, TheStateAtTheStartCounts) {
    startLogind([](FakeLogind& fake) { fake.session.active = false; });
    begin();
    EXPECT_FALSE(session->hasTheSeat());
    EXPECT_TRUE(session->isCovered());
    tell([](FakeLogind& fake) {
        fake.session.active = true;
        fake.session.locked = true;
    });
    begin();
    EXPECT_TRUE(session->hasTheSeat());
    EXPECT_TRUE(session->isCovered());
}

TEST_F(UserSessionTest, FollowsWhoIsActive) {
    startLogind();
    begin();
    tell([](FakeLogind& fake) { fake.setActive(false); });
    EXPECT_TRUE(becomes(true));
    EXPECT_FALSE(session->hasTheSeat());
    tell([](FakeLogind& fake) { fake.setActive(true); });
    EXPECT_TRUE(becomes(false));
    EXPECT_TRUE(session->hasTheSeat());
    EXPECT_EQ(changes, 2);
    EXPECT_THAT(log.lines(), ElementsAre("Session: inactive; the camera unit is left to whoever is active",
                                         "Session: active; the camera unit is the user's"));
}

TEST_F(UserSessionTest, ALockedSessionIsCoveredAndKeepsItsSeat) {
    startLogind();
    begin();
    tell([](FakeLogind& fake) { fake.setLockedWithoutSaying(true); });
    EXPECT_TRUE(becomes(true));
    EXPECT_TRUE(session->hasTheSeat());
    tell([](FakeLogind& fake) { fake.setLocked(false); });
    EXPECT_TRUE(becomes(false));
}

TEST_F(UserSessionTest, TheWishToLockCountsAtOnceAndUntilItIsTakenBack) {
    startLogind();
    begin();
    for (const bool hinted : {false, true}) {
        tell([](FakeLogind& fake) { Q_EMIT fake.session.Lock(); });
        EXPECT_TRUE(becomes(true));
        if (hinted)
            tell([](FakeLogind& fake) { fake.setLocked(false); });
        else
            tell([](FakeLogind& fake) { Q_EMIT fake.session.Unlock(); });
        EXPECT_TRUE(becomes(false));
    }
}

TEST_F(UserSessionTest, AWishToLockThatNobodyFollowsIsForgotten) {
    startLogind();
    begin();
    tell([](FakeLogind& fake) { Q_EMIT fake.session.Lock(); });
    EXPECT_TRUE(becomes(true));
    loop.runFor(UserSession::kLockTime - Microseconds(1));
    EXPECT_TRUE(session->isCovered());
    loop.runFor(Microseconds(1));
    EXPECT_FALSE(session->isCovered());
    EXPECT_EQ(changes, 2);
}

TEST_F(UserSessionTest, TheSleepWaitsForTheRelease) {
    startLogind();
    begin();
    ASSERT_TRUE(heldUpBecomes(true));
    tell([](const FakeLogind& fake) {
        EXPECT_THAT(fake.inhibitions, ElementsAre("sleep|LightPenNX7|delay"));
    });

    bool heldWhileTold = false;
    session->setObserver([&] { tell([&](const FakeLogind& fake) { heldWhileTold = fake.isHeldUp(); }); });
    tell([](FakeLogind& fake) { fake.sleep(true); });
    ASSERT_TRUE(becomes(true));
    EXPECT_FALSE(session->hasTheSeat());
    EXPECT_TRUE(heldWhileTold);
    loop.runFor(UserSession::kReleaseTime - Microseconds(1));
    tell([](const FakeLogind& fake) { EXPECT_TRUE(fake.isHeldUp()); });
    loop.runFor(Microseconds(1));
    EXPECT_TRUE(heldUpBecomes(false));

    tell([](FakeLogind& fake) { fake.sleep(false); });
    EXPECT_TRUE(becomes(false));
    EXPECT_TRUE(session->hasTheSeat());
    EXPECT_TRUE(heldUpBecomes(true)) << "for the next time";
    EXPECT_THAT(log.lines(),
                ElementsAre("Session: the machine goes to sleep", "Session: the machine is awake"));
}

TEST_F(UserSessionTest, ASleepThatIsGivenUpAtOnceLeavesTheNextOneHeldUp) {
    startLogind();
    begin();
    ASSERT_TRUE(heldUpBecomes(true));
    tell([](FakeLogind& fake) {
        fake.sleep(true);
        fake.sleep(false);
    });
    ASSERT_TRUE(comesTrue([&] { return changes == 2; }));
    ASSERT_TRUE(comesTrue([&] {
        std::size_t asked = 0;
        tell([&](const FakeLogind& fake) { asked = fake.inhibitions.size(); });
        return asked == 2;
    }));
    EXPECT_TRUE(heldUpBecomes(true));
    loop.runFor(2 * UserSession::kReleaseTime);
    tell([](const FakeLogind& fake) { EXPECT_TRUE(fake.isHeldUp()); });
}

TEST_F(UserSessionTest, AProgramInNoSessionSleepsAllTheSame) {
    startLogind([](FakeLogind& fake) {
        fake.knowsSession = false;
        fake.session.active = false;
    });
    begin();
    EXPECT_TRUE(session->hasTheSeat());
    EXPECT_TRUE(heldUpBecomes(true));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UserSessionTest, ALogindThatIsStartedAgainIsAskedAgain) {
    startLogind();
    begin();
    logind.reset();
    startLogind([](FakeLogind& fake) { fake.session.locked = true; });
    EXPECT_TRUE(becomes(true));
    EXPECT_TRUE(heldUpBecomes(true));
    tell([](FakeLogind& fake) { fake.setLocked(false); });
    EXPECT_TRUE(becomes(false));
}

TEST_F(UserSessionTest, ALogindThatIsStuckIsToldOfOnceAndLeftAlone) {
    startLogind([](FakeLogind& fake) { fake.session.active = false; });
    const auto goOn = logind->holdUp();
    begin();
    EXPECT_TRUE(session->hasTheSeat());
    EXPECT_THAT(log.lines(), ElementsAre("Session: logind does not answer; it is not followed"));
    goOn();
}

TEST_F(UserSessionTest, NonsenseChangesNothing) {
    startLogind();
    begin();
    FakeScreenSaver saver;
    tell([](FakeLogind& fake) { fake.babble(); });
    saver.tell({QStringLiteral("yes")});
    saver.tell({});
    saver.tell({true, true});
    saver.tell({true}, "org.example.ScreenSaver");
    expectUntouched();
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UserSessionTest, TheDesktopsScreenSaverCounts) {
    begin();
    FakeScreenSaver saver;
    for (const char* interface : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver"}) {
        for (const char* path : {"/ScreenSaver", "/org/freedesktop/ScreenSaver"})
            saver.tell({true}, interface, path);
        EXPECT_TRUE(becomes(true));
        EXPECT_TRUE(session->hasTheSeat());
        saver.tell({false}, interface);
        EXPECT_TRUE(becomes(false));
    }
}

TEST_F(UserSessionTest, AScreenSaverThatCrashesCoversNothing) {
    begin();
    auto saver = std::make_unique<FakeScreenSaver>();
    FakeScreenSaver other(QStringLiteral("other"));
    saver->tell({true});
    EXPECT_TRUE(becomes(true));
    other.tell({false}); // speaks for itself
    other.tell({true});
    other.tell({false});
    EXPECT_TRUE(comesTrue([&] { return changes == 4; }));
    EXPECT_TRUE(session->isCovered());
    saver.reset();
    EXPECT_TRUE(becomes(false));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QCoreApplication>(argc, argv, lightpen::PrivateBus());
}
