// SPDX-License-Identifier: MIT
// Any messages from the buses, as answers, signals and calls, to each part that listens there. Whatever came
// before, what is said well at the end holds; and whoever does not own a service's name cannot speak for it.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

#include "fuzz/bus/FuzzedBus.h"
#include "kit/AnyBytes.h"
#include "kit/RecordingLog.h"
#include "kit/VirtualTime.h"
#include "linux_desktop/panel/DesktopNotices.h"
#include "linux_desktop/panel/StatusNotifierHosts.h"
#include "linux_desktop/process/ApplicationBus.h"
#include "linux_desktop/process/LinuxLocales.h"
#include "linux_desktop/process/SystemThreads.h"
#include "linux_desktop/process/UserSession.h"
#include "linux_desktop/screen/MutterOutputs.h"

namespace {

using namespace lightpen;

constexpr WhichBus kUser = WhichBus::session;
constexpr WhichBus kSystem = WhichBus::system;
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kChanged = "sa{sv}as";
constexpr const char* kSessionPath = "/session/_1";
constexpr const char* kSession = "org.freedesktop.login1.Session";
constexpr const char* kLogind = "org.freedesktop.login1";
constexpr const char* kLocale = "org.freedesktop.locale1";
constexpr const char* kNotices = "org.freedesktop.Notifications";
constexpr const char* kMutter = "org.gnome.Mutter.DisplayConfig";
constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr int kNumber = 7; // of every notice that is taken well
constexpr std::chrono::seconds kPatience{10};
constexpr int kMostSteps = 64;

GoodAnswer wellSaidProperty(const std::string& name) {
    static const std::map<std::string, GoodAnswer, std::less<>> properties{
        {"PreparingForSleep", {"v", {"b", 0}}},
        {"Locale", {"v", {"as", 1, "LANG=th_TH.UTF-8"}}},
        {"IsStatusNotifierHostRegistered", {"v", {"b", 1}}},
        {"MaxRealtimePriority", {"v", {"i", 20}}},
        {"RTTimeUSecMax", {"v", {"x", 200'000}}}};
    return properties.at(name);
}

GoodAnswer wellSaid(const ReceivedCall& call) {
    static const std::map<std::string, GoodAnswer, std::less<>> methods{
        {"GetSession", {"o", {kSessionPath}}},
        {"GetAll", {"a{sv}", {2, "Active", "b", 1, "LockedHint", "b", 0}}},
        {"Inhibit", {"h", {}}},
        {"Notify", {"u", {kNumber}}},
        {"GetCurrentState",
         {"ua((ssss)a(siiddada{sv})a{sv})a(iiduba(ssss)a{sv})a{sv}",
          {1, 0, 1, 0, 0, 1, 0, 1, 1, "HDMI-1", "maker", "kind", "1", 0, 0}}},
        {"MakeThreadRealtime", {}}};
    return call.member == "Get" ? wellSaidProperty(call.texts.at(1)) : methods.at(call.member);
}

FuzzedBus& buses() {
    static auto* const buses = new FuzzedBus(wellSaid);
    return *buses;
}

void ping() {
    for (const auto& bus : {QDBusConnection::sessionBus(), QDBusConnection::systemBus()})
        require(bus.call(QDBusMessage::createMethodCall(kBusItself, QStringLiteral("/"),
                                                        QStringLiteral("org.freedesktop.DBus.Peer"),
                                                        QStringLiteral("Ping")))
                    .type() == QDBusMessage::ReplyMessage);
}

// All that has been sent has arrived, for a bus keeps the order. What is asked then is answered at once, so
// that it takes its bytes before anybody else does.
void settle() {
    ping();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ping();
}

void settleFully() {
    for (int i = 0; i < 3; ++i) // a signal, the question that it leads to, and what the answer leads to
        settle();
}

SignalForm ownerChanged(WhichBus bus) {
    return {bus, "/org/freedesktop/DBus", kBusItself, "NameOwnerChanged", "sss"};
}

// Somebody has come who owns the name now; whoever had it before has gone.
void come(WhichBus bus, const char* name) {
    buses().signal(ownerChanged(bus), kBusItself, {name, "", kOwner});
    settleFully();
}

// Begins with the bytes. Where only strangers speak, what is asked at the start is answered well before that.
void begin(std::span<const std::uint8_t> bytes, bool strangersOnly, const std::function<void()>& start) {
    if (!strangersOnly)
        buses().begin(bytes);
    start();
    settle();
    if (strangersOnly)
        buses().begin(bytes);
}

// The bytes as what is said to the object: signals of these forms, and deeds between them.
class Talk {
public:
    Talk(std::vector<SignalForm> forms, const char* service, bool strangersOnly)
        : forms_(std::move(forms)), service_(service), strangersOnly_(strangersOnly) {}

    void play(const std::function<void()>& deed = {}) const {
        for (int step = 0; step < kMostSteps && !buses().usedUp(); ++step)
            perform(buses().next(), deed);
        buses().answerWell();
        settleFully();
    }

private:
    void perform(std::uint8_t choice, const std::function<void()>& deed) const {
        if (choice % 8 == 0 && deed)
            return deed(), settle();
        if (choice % 8 == 1 && !strangersOnly_)
            changeOwner();
        else
            buses().signalAny(forms_[choice / 8 % forms_.size()], strangersOnly_);
        if (choice < 0xC0) // else more comes before anybody looks
            settle();
    }
    void changeOwner() const {
        static constexpr std::array kOwners{"", kOwner, kStranger};
        const std::uint8_t who = buses().next();
        const char* name = who & 0x80 ? kStranger : service_;
        for (const WhichBus bus : {kUser, kSystem})
            buses().signal(ownerChanged(bus), kBusItself,
                           {name, kOwners[who % kOwners.size()], kOwners[who / 4 % kOwners.size()]});
    }

    const std::vector<SignalForm> forms_;
    const char* const service_;
    const bool strangersOnly_;
};

// Who it was does not count among screen savers: each speaks for itself.
void talkToSession(std::span<const std::uint8_t> bytes, bool strangersOnly) {
    const SignalForm saver{kUser, "/ScreenSaver", "org.freedesktop.ScreenSaver", "ActiveChanged", "b"};
    const Talk talk(
        {{kSystem, kSessionPath, kProperties, "PropertiesChanged", kChanged},
         {kSystem, "/session/_2", kProperties, "PropertiesChanged", kChanged},
         {kSystem, kSessionPath, kSession, "Lock", ""},
         {kSystem, kSessionPath, kSession, "Unlock", ""},
         {kSystem, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep", "b"},
         saver,
         {kUser, "/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", "ActiveChanged", "b"}},
        kLogind, strangersOnly);
    VirtualClock clock;
    VirtualRunLoop loop(clock);
    std::optional<UserSession> session;
    begin(bytes, strangersOnly, [&] { session.emplace(loop); });
    int told = 0;
    session->setObserver([&] { ++told; });
    talk.play([&] { loop.runFor(UserSession::kLockTime / 4); });
    for (const char* sender : {kOwner, kStranger})
        buses().signal(saver, sender, {0});
    settleFully();
    if (strangersOnly)
        require(session->hasTheSeat() && !session->isCovered());
    come(kSystem, kLogind);
    require(session->hasTheSeat() && !session->isCovered());
    buses().signal(saver, kStranger, {1});
    settleFully();
    require(session->isCovered() && told > 0);
}

void talkToLocales(std::span<const std::uint8_t> bytes, bool strangersOnly) {
    const SignalForm changed{kSystem, "/org/freedesktop/locale1", kProperties, "PropertiesChanged", kChanged};
    NotificationCenter notifications;
    LinuxLocales locales(notifications);
    std::vector<std::string> heard = locales.preferredLanguages();
    const auto before = heard;
    notifications.addObserver(&heard, kCurrentLocaleDidChange, nullptr,
                              [&](const Notification&) { heard = locales.preferredLanguages(); });
    begin(bytes, strangersOnly, [] {});
    Talk({changed}, kLocale, strangersOnly).play();
    require(heard == locales.preferredLanguages() && !heard.empty());
    require(!strangersOnly || heard == before);
    come(kSystem, kLocale);
    buses().signal(changed, kOwner, {kLocale, 0, 1, "Locale"});
    settleFully();
    require(heard == std::vector<std::string>{"th"});
}

void talkToNotices(std::span<const std::uint8_t> bytes, bool strangersOnly) {
    const SignalForm invoked{kUser, "/org/freedesktop/Notifications", kNotices, "ActionInvoked", "us"};
    const Talk talk(
        {invoked, {kUser, "/org/freedesktop/Notifications", kNotices, "NotificationClosed", "uu"}}, kNotices,
        strangersOnly);
    DesktopNotices notices;
    std::vector<int> chosen;
    const auto show = [&] {
        const std::size_t which = chosen.size();
        chosen.push_back(0);
        notices.show({"title", "text", {{"label", [&, which] { ++chosen[which]; }}}});
    };
    begin(bytes, strangersOnly, show);
    talk.play(show);
    require(std::ranges::all_of(chosen, [&](int times) { return times <= (strangersOnly ? 0 : 1); }));
    come(kUser, kNotices);
    show();
    settleFully();
    for (int i = 0; i < 2; ++i)
        buses().signal(invoked, kOwner, {kNumber, "0"});
    settleFully();
    require(chosen.back() == 1);
}

void talkToOutputs(std::span<const std::uint8_t> bytes, bool strangersOnly) {
    const SignalForm changed{kUser, "/org/gnome/Mutter/DisplayConfig", kMutter, "MonitorsChanged", ""};
    std::string heard;
    std::optional<MutterOutputs> outputs;
    begin(bytes, strangersOnly, [&] {
        outputs.emplace([&] { heard = outputs->name(); }, kPatience);
        outputs->settle();
    });
    Talk({changed}, kMutter, strangersOnly).play();
    require(heard == outputs->name());
    come(kUser, kMutter);
    buses().signal(changed, kOwner, {});
    settleFully();
    require(outputs->name() == "HDMI-1" && heard == "HDMI-1");
}

void talkToHosts(std::span<const std::uint8_t> bytes, bool strangersOnly) {
    const SignalForm registered{kUser, "/StatusNotifierWatcher", kWatcher, "StatusNotifierHostRegistered",
                                ""};
    int found = 0;
    StatusNotifierHosts hosts([&] { ++found; }, kPatience);
    begin(bytes, strangersOnly, [] {});
    Talk({registered}, kWatcher, strangersOnly).play([&] { hosts.search(); });
    come(kUser, kWatcher);
    found = 0;
    buses().signal(registered, kOwner, {});
    settleFully();
    require(found == 1 && hosts.search());
}

// Whatever other programs ask, nothing but words comes of it, and of the right to the keyboard one word at
// most.
void askApplication(std::span<const std::uint8_t> bytes) {
    constexpr const char* kPath = "/org/lightpen/LightPenNX7";
    constexpr const char* kInterface = "org.freedesktop.Application";
    constexpr const char* kToken = "XDG_ACTIVATION_TOKEN";
    const SignalForm action{kUser, kPath, kInterface, "ActivateAction", "sava{sv}"};
    const std::array forms{action, SignalForm{kUser, kPath, kInterface, "Activate", "a{sv}"},
                           SignalForm{kUser, kPath, kInterface, "Open", "asa{sv}"}};
    buses().begin(bytes);
    ApplicationBus application("LightPenNX7");
    std::vector<std::string> asked;
    const auto listen = [&] {
        application.setHandler([&](const std::string& word) {
            asked.push_back(word);
            return asked.size() % 2 == 1;
        });
    };
    for (int step = 0; step < kMostSteps && !buses().usedUp(); ++step) {
        const std::uint8_t choice = buses().next();
        if (choice % 8 == 0)
            listen();
        buses().callAny(forms[choice / 8 % forms.size()]);
        if (choice < 0xC0)
            settle();
    }
    buses().answerWell();
    settleFully();
    const QByteArray token = qgetenv(kToken);
    require(token.size() <= 256 && std::ranges::all_of(token, [](char c) { return c > ' ' && c < 0x7F; }));
    qunsetenv(kToken);
    listen();
    asked.clear();
    buses().call(action, {"help", 0, 0});
    settleFully();
    require(asked == std::vector<std::string>{"help"});
}

// The library's patience with RealtimeKit is short, and this machine may be busy.
void askForRealtime(std::span<const std::uint8_t> bytes) {
    buses().begin(bytes);
    for (int i = 0; i < kMostSteps && !buses().usedUp(); ++i)
        makeThreadRealtime(1, kPatience);
    buses().answerWell();
    bool granted = false;
    for (int i = 0; i < 10 && !granted; ++i)
        granted = makeThreadRealtime(1, kPatience);
    require(granted);
}

void beAProgram() {
    static int count = 1;
    static char name[] = "DBusMessagesFuzz";
    static char* arguments[] = {name, nullptr};
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANGUAGE"})
        unsetenv(variable);
    setenv("LANG", "es_MX.UTF-8", 1);
    buses();
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type == QtFatalMsg) // the library warns of every owner that it did not expect
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    new QCoreApplication(count, arguments);
}

} // namespace

// The first byte chooses whom the bytes are said to, and whether only others than the services speak.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool begun = (beAProgram(), true);
    if (size == 0 || !begun)
        return 0;
    const RecordingLog log;
    const auto bytes = std::span(data, size).subspan(1);
    const bool strangersOnly = data[0] & 0x80;
    static constexpr std::array kTalks{talkToSession, talkToLocales, talkToNotices, talkToOutputs,
                                       talkToHosts};
    const std::size_t whom = (data[0] & 0x7F) % (kTalks.size() + 2);
    if (whom < kTalks.size())
        kTalks[whom](bytes, strangersOnly);
    else if (whom == kTalks.size())
        askForRealtime(bytes);
    else
        askApplication(bytes);
    buses().answerWell();
    settleFully();
    return 0;
}
