// SPDX-License-Identifier: MIT
#include "kernel/support/PointerWatch.h"

#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "kernel/support/HostNodes.h"
#include "kit/Eventually.h"

namespace lightpen::test {

namespace {

namespace fs = std::filesystem;

std::string nodeNamed(const std::string& name) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/sys/class/input", error)) {
        std::ifstream file(entry.path() / "device" / "name");
        std::string found;
        if (entry.path().filename().string().starts_with("event") && std::getline(file, found) &&
            found == name)
            return "/dev/input/" + entry.path().filename().string();
    }
    return {};
}

} // namespace

PointerWatch::PointerWatch(const std::string& name) {
    eventually([&] {
        const std::string path = nodeNamed(name);
        if (!path.empty()) {
            node_ = FileDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
            state_ = FileDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        }
        return found();
    });
}

void PointerWatch::readAll() {
    std::array<input_event, 64> events{};
    for (;;) {
        const auto got = retryInterrupted([&] { return ::read(node_.get(), events.data(), sizeof(events)); });
        if (got <= 0)
            return;
        const std::size_t count = static_cast<std::size_t>(got) / sizeof(input_event);
        for (std::size_t place = 0; place < count; ++place)
            if (events[place].type == EV_KEY && events[place].code == BTN_LEFT)
                ++(events[place].value != 0 ? presses_ : releases_);
    }
}

int PointerWatch::presses() {
    readAll();
    return presses_;
}

int PointerWatch::releases() {
    readAll();
    return releases_;
}

bool PointerWatch::waitForPresses(int count, std::chrono::milliseconds patience) {
    return eventually([&] { return presses() >= count; }, patience);
}

bool PointerWatch::buttonDown() {
    std::array<unsigned char, KEY_MAX / 8 + 1> keys{};
    if (::ioctl(state_.get(), EVIOCGKEY(sizeof(keys)), keys.data()) < 0)
        return true;
    const auto down = [&](unsigned key) { return ((keys[key / 8] >> (key % 8)) & 1) != 0; };
    return down(BTN_LEFT) || down(BTN_RIGHT);
}

} // namespace lightpen::test
