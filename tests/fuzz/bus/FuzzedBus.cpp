// SPDX-License-Identifier: MIT
#include "fuzz/bus/FuzzedBus.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

namespace lightpen {

namespace {

// The kinds of messages, and the fields of their heads.
enum Type : std::uint8_t { methodCall = 1, methodReply = 2, errorReply = 3, signalMessage = 4 };
enum Field : std::uint8_t {
    path = 1,
    interface = 2,
    member = 3,
    errorName = 4,
    replySerial = 5,
    destination = 6,
    sender = 7,
    signature = 8,
    descriptors = 9
};
constexpr std::uint8_t kNoReplyExpected = 1;
constexpr std::size_t kFixedHead = 16;
constexpr const char* kOwnName = ":1.1"; // the program's
constexpr std::string_view kGuid{"0123456789abcdef0123456789abcdef"};

// Reads what libdbus has written, which is trusted.
class WireReader {
public:
    WireReader(std::span<const std::uint8_t> bytes, std::size_t at) : bytes_(bytes), at_(at) {}
    std::size_t at() const { return at_; }
    void align(std::size_t to) { at_ = (at_ + to - 1) / to * to; }
    std::uint32_t number(std::size_t size) {
        align(size);
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value |= static_cast<std::uint32_t>(bytes_[at_++]) << 8 * i;
        return value;
    }
    std::string text(std::size_t lengthBytes) {
        const std::size_t length = number(lengthBytes);
        const std::string text(bytes_.begin() + static_cast<std::ptrdiff_t>(at_),
                               bytes_.begin() + static_cast<std::ptrdiff_t>(at_ + length));
        at_ += length + 1;
        return text;
    }

private:
    const std::span<const std::uint8_t> bytes_;
    std::size_t at_;
};

ReceivedCall readCall(std::span<const std::uint8_t> message) {
    ReceivedCall call;
    call.wantsReply = !(message[2] & kNoReplyExpected);
    call.serial = WireReader(message, 8).number(4);
    WireReader head(message, 12);
    const std::size_t end = kFixedHead + head.number(4);
    while (head.at() < end) {
        head.align(8);
        const auto field = head.number(1);
        const std::string letter = head.text(1);
        const std::string value = letter == "u"   ? std::to_string(head.number(4))
                                  : letter == "g" ? head.text(1)
                                                  : head.text(4);
        if (field == Field::destination)
            call.destination = value;
        if (field == Field::member)
            call.member = value;
        if (field == Field::signature)
            call.signature = value;
    }
    head.align(8);
    for (std::size_t i = 0; i < 2 && call.signature.substr(i).starts_with('s'); ++i)
        call.texts.push_back(head.text(4));
    return call;
}

void sendAll(int client, std::span<const std::uint8_t> bytes, bool withDescriptor) {
    iovec part{const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    static const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (withDescriptor) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* head = CMSG_FIRSTHDR(&message);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(head), &null, sizeof null);
    }
    // A program that has left misses the answer to its next call, which tells.
    (void)::sendmsg(client, &message, MSG_NOSIGNAL);
}

void sendText(int client, std::string_view text) {
    sendAll(client, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, false);
}

} // namespace

FuzzedBus::FuzzedBus(std::function<GoodAnswer(const ReceivedCall&)> good) : good_(std::move(good)) {
    const std::string name = "lightpen-fuzz-" + std::to_string(::getpid());
    listen(buses_[static_cast<std::size_t>(WhichBus::session)], name + "-session");
    listen(buses_[static_cast<std::size_t>(WhichBus::system)], name + "-system");
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:abstract=" + name + "-session").c_str(), 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:abstract=" + name + "-system").c_str(), 1);
    std::thread([this] { serve(); }).detach();
}

void FuzzedBus::listen(Bus& bus, const std::string& name) {
    bus.listener = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), address.sun_path + 1); // in no folder, so that nothing stays behind
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (::bind(bus.listener.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        ::listen(bus.listener.get(), 1) != 0)
        throw std::runtime_error("cannot be a bus");
}

void FuzzedBus::begin(std::span<const std::uint8_t> bytes) {
    const std::lock_guard hold(mutex_);
    values_ = FuzzedValues(bytes);
}

void FuzzedBus::answerWell() {
    begin({});
}

bool FuzzedBus::usedUp() const {
    const std::lock_guard hold(mutex_);
    return values_.empty();
}

std::uint8_t FuzzedBus::next() {
    const std::lock_guard hold(mutex_);
    return values_.next();
}

void FuzzedBus::serve() {
    for (;;) {
        std::vector<pollfd> states;
        for (const Bus& bus : buses_)
            states.push_back({bus.client ? bus.client.get() : bus.listener.get(), POLLIN, 0});
        ::poll(states.data(), states.size(), -1);
        const std::lock_guard hold(mutex_);
        for (std::size_t i = 0; i < states.size(); ++i) {
            if (!states[i].revents)
                continue;
            if (buses_[i].client)
                take(buses_[i]);
            else
                buses_[i].client =
                    FileDescriptor(::accept4(buses_[i].listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        }
    }
}

void FuzzedBus::take(Bus& bus) {
    std::uint8_t bytes[4096];
    const ssize_t count = ::recv(bus.client.get(), bytes, sizeof bytes, 0);
    if (count <= 0) { // at its end, or when it does not take a message for one
        bus.client = {};
        bus.speaks = false;
        return bus.received.clear();
    }
    bus.received.insert(bus.received.end(), bytes, bytes + count);
    while (bus.speaks ? takeMessage(bus) : greet(bus)) {
    }
}

// One line of the greeting; the first has a zero before it.
bool FuzzedBus::greet(Bus& bus) {
    const auto end = std::find(bus.received.begin(), bus.received.end(), '\n');
    if (end == bus.received.end())
        return false;
    const std::string line(bus.received.begin(), end);
    bus.received.erase(bus.received.begin(), end + 1);
    if (line.find("AUTH") != std::string::npos)
        sendText(bus.client.get(), "OK " + std::string(kGuid) + "\r\n");
    else if (line.starts_with("NEGOTIATE_UNIX_FD"))
        sendText(bus.client.get(), "AGREE_UNIX_FD\r\n");
    else
        bus.speaks = line.starts_with("BEGIN");
    return true;
}

bool FuzzedBus::takeMessage(Bus& bus) {
    const auto& bytes = bus.received;
    if (bytes.size() < kFixedHead)
        return false;
    const std::size_t head = kFixedHead + (WireReader(bytes, 12).number(4) + 7) / 8 * 8;
    const std::size_t length = head + WireReader(bytes, 4).number(4);
    if (bytes.size() < length)
        return false;
    if (bytes[1] == Type::methodCall)
        answer(bus, readCall(std::span(bytes).first(length)));
    bus.received.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    return true;
}

void FuzzedBus::answer(Bus& bus, const ReceivedCall& call) {
    if (!call.wantsReply)
        return;
    if (call.destination != kBusItself)
        answerAsService(bus, call);
    else if (call.member == "Hello")
        reply(bus, call, kBusItself, givenBody("s", {kOwnName}));
    else if (call.member == "GetNameOwner")
        reply(bus, call, kBusItself,
              givenBody("s", {call.texts.at(0).starts_with(':') ? call.texts[0] : std::string(kOwner)}));
    else if (call.member == "RequestName")
        reply(bus, call, kBusItself, givenBody("u", {1}));
    else if (call.member == "NameHasOwner")
        reply(bus, call, kBusItself, givenBody("b", {1}));
    else
        reply(bus, call, kBusItself, {});
}

void FuzzedBus::answerAsService(Bus& bus, const ReceivedCall& call) {
    const GoodAnswer good = good_(call);
    switch (values_.empty() ? 0 : values_.next() % 8) {
    case 0:
    case 1:
        return reply(bus, call, kOwner, givenBody(good.signature, good.values));
    case 2:
    case 3:
    case 4:
        return reply(bus, call, kOwner, bodyOf(good.signature, values_));
    case 5:
        return refuse(bus, call, "org.freedesktop.DBus.Error.NoReply");
    case 6:
        return refuse(bus, call, "org.freedesktop.DBus.Error.AccessDenied");
    default:
        return reply(bus, call, kOwner, bodyOf(values_.signature(), values_));
    }
}

void FuzzedBus::reply(Bus& bus, const ReceivedCall& call, const char* from, const MessageBody& body) {
    send(bus, {Type::methodReply, {{Field::sender, 's', from}}, call.serial}, body);
}

void FuzzedBus::refuse(Bus& bus, const ReceivedCall& call, const char* error) {
    send(bus, {Type::errorReply, {{Field::errorName, 's', error}, {Field::sender, 's', kOwner}}, call.serial},
         bodyOf(values_.signature(), values_));
}

void FuzzedBus::send(Bus& bus, const Header& header, const MessageBody& body) {
    const bool hasDescriptor =
        body.signature.find('h') != std::string::npos || body.signature.find('v') != std::string::npos;
    WireWriter fields;
    const auto begin = [&](std::uint8_t field, char letter) {
        fields.align(8);
        fields.number(field, 1);
        fields.text(std::string(1, letter), 1);
    };
    for (const HeaderText& part : header.texts) {
        begin(part.field, part.letter);
        fields.text(part.text, 4);
    }
    if (header.type != Type::signalMessage) {
        begin(Field::destination, 's');
        fields.text(kOwnName, 4);
    }
    if (header.type == Type::methodReply || header.type == Type::errorReply) {
        begin(Field::replySerial, 'u');
        fields.number(header.replySerial, 4);
    }
    begin(Field::signature, 'g');
    fields.text(body.signature, 1);
    if (hasDescriptor) {
        begin(Field::descriptors, 'u');
        fields.number(1, 4);
    }
    WireWriter message;
    message.bytes = {'l', header.type, 0, 1};
    message.number(body.bytes.size(), 4);
    message.number(++bus.serial, 4);
    message.number(fields.bytes.size(), 4);
    message.bytes.insert(message.bytes.end(), fields.bytes.begin(), fields.bytes.end());
    message.align(8);
    message.bytes.insert(message.bytes.end(), body.bytes.begin(), body.bytes.end());
    sendAll(bus.client.get(), message.bytes, hasDescriptor);
}

void FuzzedBus::sendForm(std::uint8_t type, const SignalForm& form, const std::string& from,
                         const MessageBody& body) {
    send(buses_[static_cast<std::size_t>(form.bus)],
         {type,
          {{Field::path, 'o', form.path},
           {Field::interface, 's', form.interface},
           {Field::member, 's', form.member},
           {Field::sender, 's', from}}},
         body);
}

void FuzzedBus::signal(const SignalForm& form, const std::string& from,
                       const std::vector<GivenValue>& values) {
    const std::lock_guard hold(mutex_);
    sendForm(Type::signalMessage, form, from, givenBody(form.signature, values));
}

MessageBody FuzzedBus::anyBody(const SignalForm& form, std::uint8_t how) {
    return bodyOf(how % 4 == 0 ? values_.signature() : std::string(form.signature), values_);
}

void FuzzedBus::signalAny(const SignalForm& form, bool fromStranger) {
    const std::lock_guard hold(mutex_);
    const std::uint8_t how = values_.next();
    sendForm(Type::signalMessage, form, fromStranger || how & 0x80 ? kStranger : kOwner, anyBody(form, how));
}

void FuzzedBus::call(const SignalForm& form, const std::vector<GivenValue>& values) {
    const std::lock_guard hold(mutex_);
    sendForm(Type::methodCall, form, kStranger, givenBody(form.signature, values));
}

void FuzzedBus::callAny(const SignalForm& form) {
    const std::lock_guard hold(mutex_);
    const std::uint8_t how = values_.next();
    sendForm(Type::methodCall, form, kStranger, anyBody(form, how));
}

} // namespace lightpen
