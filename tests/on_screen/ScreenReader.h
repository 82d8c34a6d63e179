// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include "kit/ChildProcess.h"
#include "measure/desktop/Patience.h"

namespace lightpen {

// What is told of one thing in a window.
struct Told {
    std::string role; // one of those that the window has; for others their number
    std::string name;
    std::string description;
    std::string label; // the name of what stands beside it and labels it; empty for none
    bool canHaveTheKeyboard = false;
    bool hasTheKeyboard = false;
};

// A screen reader as it is beside the program: the desktop's accessibility bus (AT-SPI) with its registry,
// and whoever walks there over what programs tell of their windows. It is on the session bus of this process,
// and to be made before the program starts.
class ScreenReader {
public:
    ScreenReader() {
        const auto asked =
            QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress");
        QDBusMessage answer;
        if (!comesTrue([&] {
                answer = QDBusConnection::sessionBus().call(asked);
                return answer.type() == QDBusMessage::ReplyMessage;
            }))
            throw std::runtime_error("there is no accessibility bus");
        QDBusConnection::connectToBus(answer.arguments().value(0).toString(), kConnection);
    }
    ~ScreenReader() { QDBusConnection::disconnectFromBus(kConnection); }
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;

    // Everything that is seen of the window of this title, in the order of the tree; empty without such a
    // window.
    std::vector<Told> read(const std::string& title) const {
        std::vector<Told> all;
        const Place registry{"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"};
        for (const Place& program : childrenOf(registry))
            for (const Place& window : childrenOf(program))
                if (property(window, "Name") == title && isIn(statesOf(window), kShowing))
                    readOut(window, all);
        return all;
    }

private:
    // An object of the bus.
    struct Place {
        QString service;
        QString path;
    };
    // The numbers of the registry's lists. Some of their names have changed with the years.
    static std::string roleOf(std::uint32_t number) {
        static const std::map<std::uint32_t, std::string> names{
            {7, "check box"}, {11, "combo box"}, {23, "window"}, {29, "label"},
            {31, "list"},     {32, "list item"}, {43, "button"}};
        const auto found = names.find(number);
        return found == names.end() ? std::to_string(number) : found->second;
    }
    static constexpr unsigned kFocusable = 11, kFocused = 12, kShowing = 25;
    static constexpr std::uint32_t kLabelledBy = 2;
    static constexpr const char* kInterface = "org.a11y.atspi.Accessible";
    static inline const QString kConnection = QStringLiteral("accessibility");

    static QDBusMessage ask(const Place& place, const QString& interface, const char* method,
                            const QVariantList& arguments = {}) {
        auto message = QDBusMessage::createMethodCall(place.service, place.path, interface, method);
        message.setArguments(arguments);
        return QDBusConnection(kConnection).call(message);
    }
    static std::string property(const Place& place, const char* name) {
        const auto answer =
            ask(place, "org.freedesktop.DBus.Properties", "Get", {QString(kInterface), QString(name)});
        return answer.arguments().value(0).value<QDBusVariant>().variant().toString().toStdString();
    }
    // a(so)
    static std::vector<Place> placesIn(const QDBusArgument& list) {
        std::vector<Place> places;
        list.beginArray();
        while (!list.atEnd()) {
            Place place;
            QDBusObjectPath path;
            list.beginStructure();
            list >> place.service >> path;
            list.endStructure();
            place.path = path.path();
            places.push_back(place);
        }
        list.endArray();
        return places;
    }
    static std::optional<QDBusArgument> listOf(const QDBusMessage& answer) {
        const QVariant first = answer.arguments().value(0);
        return first.canConvert<QDBusArgument>() ? std::optional(first.value<QDBusArgument>()) : std::nullopt;
    }
    static std::vector<Place> childrenOf(const Place& place) {
        const auto list = listOf(ask(place, kInterface, "GetChildren"));
        return list ? placesIn(*list) : std::vector<Place>{};
    }
    // Two words of bits.
    static QList<std::uint32_t> statesOf(const Place& place) {
        return qdbus_cast<QList<std::uint32_t>>(ask(place, kInterface, "GetState").arguments().value(0));
    }
    static bool isIn(const QList<std::uint32_t>& states, unsigned state) {
        return !states.isEmpty() && (states[0] >> state & 1U) != 0;
    }
    // a(ua(so))
    static std::string labelOf(const Place& place) {
        const auto list = listOf(ask(place, kInterface, "GetRelationSet"));
        std::string label;
        if (!list)
            return label;
        list->beginArray();
        while (!list->atEnd()) {
            std::uint32_t kind = 0;
            list->beginStructure();
            *list >> kind;
            const auto others = placesIn(*list);
            list->endStructure();
            if (kind == kLabelledBy && !others.empty())
                label = property(others.front(), "Name");
        }
        list->endArray();
        return label;
    }
    static void readOut(const Place& place, std::vector<Told>& all) {
        const auto states = statesOf(place);
        if (!isIn(states, kShowing))
            return;
        all.push_back({roleOf(ask(place, kInterface, "GetRole").arguments().value(0).toUInt()),
                       property(place, "Name"), property(place, "Description"), labelOf(place),
                       isIn(states, kFocusable), isIn(states, kFocused)});
        for (const Place& child : childrenOf(place))
            readOut(child, all);
    }

    // The launcher brings the registry, as a desktop's session does where a screen reader runs.
    ChildProcess bus_{
        {"/usr/libexec/at-spi-bus-launcher", "--launch-immediately", "--a11y=1", "--screen-reader=1"},
        {.environment = {{"GSETTINGS_BACKEND", "memory"}}}};
};

} // namespace lightpen
