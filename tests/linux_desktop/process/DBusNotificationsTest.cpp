// SPDX-License-Identifier: MIT
#include "linux_desktop/process/DBusNotifications.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include <QCoreApplication>
#include <QFile>
#include <QXmlStreamReader>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/linux/SignalRecorder.h"
#include "kit/linux/TestMain.h"
#include "linux_desktop/process/QtRunLoop.h"
#include "linux_desktop/process/SystemClock.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

const std::vector<std::string> kRegionNames{"LightPenNX7RegionLeft", "LightPenNX7RegionRight",
                                            "LightPenNX7RegionTop", "LightPenNX7RegionButtom"};

struct Description {
    std::string path;
    std::string interface;
    std::multiset<std::string> signals_;
    int arguments = 0;
};

Description readDescription() {
    QFile file(QStringLiteral(LIGHTPEN_SIGNALS));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    Description description;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const std::string name = xml.attributes().value(QLatin1String("name")).toString().toStdString();
        if (xml.name() == QLatin1String("node"))
            description.path = name;
        else if (xml.name() == QLatin1String("interface"))
            description.interface = name;
        else if (xml.name() == QLatin1String("signal"))
            description.signals_.insert(name);
        else
            ++description.arguments;
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return description;
}

class DBusNotificationsTest : public testing::Test {
protected:
    bool runUntil(const std::function<bool()>& condition) {
        return eventually(condition, [&] { loop.runFor(1ms); });
    }
    SystemClock clock;
    QtRunLoop loop{clock};
    DBusNotifications notifications{loop};
    RecordingLog log;
};

TEST_F(DBusNotificationsTest, SendsExactlyWhatTheDescriptionSays) {
    const PrivateBus bus;
    bus.enter();
    const Description description = readDescription();
    SignalRecorder listener(bus.address(), description.interface);
    std::thread pen([&] {
        for (const std::string& name : kRegionNames)
            notifications.postNotificationName(name);
    });
    pen.join();
    EXPECT_TRUE(listener.messages().empty()); // nothing was sent from the pen's thread
    ASSERT_TRUE(runUntil([&] { return listener.messages().size() >= kRegionNames.size(); }));

    std::multiset<std::string> sent;
    for (const QDBusMessage& message : listener.messages()) {
        sent.insert(message.member().toStdString());
        EXPECT_EQ(message.path().toStdString(), description.path);
        EXPECT_TRUE(message.arguments().isEmpty());
    }
    EXPECT_EQ(sent, description.signals_);
    EXPECT_EQ(description.arguments, 0);
    EXPECT_THAT(log.lines(), ElementsAre());
}

TEST_F(DBusNotificationsTest, WithoutABusSaysSoOnceAndGoesOn) {
    EXPECT_EXIT(
        {
            const NoBus none;
            none.enter();
            for (const std::string& name : kRegionNames)
                notifications.postNotificationName(name);
            loop.runFor(50ms);
            std::fputs(log.lines().size() == 1 ? log.lines()[0].c_str() : "not one line", stderr);
            std::_Exit(0);
        },
        testing::ExitedWithCode(0),
        "^Notifications: LightPenNX7RegionLeft cannot be sent to other programs: no session bus: .+");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QCoreApplication>(argc, argv);
}
