// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "fuzz/bus/MessageBody.h"
#include "platform/FileDescriptor.h"

namespace lightpen {

enum class WhichBus : std::size_t { session, system };

// The owner of every service on the buses, and somebody else.
inline constexpr const char* kOwner = ":1.20";
inline constexpr const char* kStranger = ":1.66";
inline constexpr const char* kBusItself = "org.freedesktop.DBus";

// A signal that somebody may send, or a method of the program's own that somebody may call.
struct SignalForm {
    WhichBus bus;
    const char* path;
    const char* interface;
    const char* member;
    const char* signature; // as it should be
};

// A method call as it came in, with the texts that its body begins with, two at most.
struct ReceivedCall {
    std::uint32_t serial = 0;
    bool wantsReply = true;
    std::string destination, member, signature;
    std::vector<std::string> texts;
};

// How a service answers a method, when it answers well.
struct GoodAnswer {
    std::string signature;
    std::vector<GivenValue> values;
};

// A session bus and a system bus in this process, which speak the protocol and make up what the services on
// them say. They are no program of their own: an answer comes at once, and the same bytes say the same again.
// What they send is what a bus lets through: well-formed messages of any types.
class FuzzedBus {
public:
    // Makes them the buses of this process; before anything uses a bus. Never destroyed.
    explicit FuzzedBus(std::function<GoodAnswer(const ReceivedCall&)> good);

    // From now on the services answer as these bytes say, and well once they are used up.
    void begin(std::span<const std::uint8_t> bytes);
    // From now on the services answer well.
    void answerWell();
    bool usedUp() const;
    std::uint8_t next();

    // Sends the signal with what the bytes make up: its types or others, from the owner or from somebody
    // else.
    void signalAny(const SignalForm& form, bool fromStranger);
    void signal(const SignalForm& form, const std::string& sender, const std::vector<GivenValue>& values);
    // The same of calls, from somebody else; what the program answers is not looked at.
    void callAny(const SignalForm& form);
    void call(const SignalForm& form, const std::vector<GivenValue>& values);

private:
    struct Bus {
        FileDescriptor listener;
        FileDescriptor client;
        std::vector<std::uint8_t> received;
        bool speaks = false; // it is through with its greeting
        std::uint32_t serial = 0;
    };
    struct HeaderText {
        std::uint8_t field;
        char letter;
        std::string text;
    };
    struct Header {
        std::uint8_t type;
        std::vector<HeaderText> texts;
        std::uint32_t replySerial = 0; // of replies alone
    };

    void listen(Bus& bus, const std::string& name);
    void serve();
    void take(Bus& bus);
    bool greet(Bus& bus);
    bool takeMessage(Bus& bus);
    void answer(Bus& bus, const ReceivedCall& call);
    void answerAsService(Bus& bus, const ReceivedCall& call);
    void send(Bus& bus, const Header& header, const MessageBody& body);
    void reply(Bus& bus, const ReceivedCall& call, const char* sender, const MessageBody& body);
    void refuse(Bus& bus, const ReceivedCall& call, const char* error);
    void sendForm(std::uint8_t type, const SignalForm& form, const std::string& sender,
                  const MessageBody& body);
    MessageBody anyBody(const SignalForm& form, std::uint8_t how);

    const std::function<GoodAnswer(const ReceivedCall&)> good_;
    mutable std::mutex mutex_;
    std::array<Bus, 2> buses_;
    FuzzedValues values_{{}};
};

} // namespace lightpen
