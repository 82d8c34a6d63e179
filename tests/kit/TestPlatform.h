// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kit/TestShell.h"
#include "kit/VirtualTime.h"
#include "platform/Platform.h"
#include "platform/ServiceRegistry.h"

namespace lightpen {

// Keeps every event that is posted. Thread-safe.
class RecordingPointer final : public PointerEvents {
public:
    struct Posted {
        std::uint32_t type = 0;
        IOGPoint location;
        NXMouseEventData data;
        friend bool operator==(const Posted&, const Posted&) = default;
    };
    // What IOServiceOpen answers with; 0 stands for a desktop that takes no events.
    io_connect_t connection = 7;

    IOReturn IOServiceOpen(io_service_t, std::uint32_t, io_connect_t& opened) override {
        opened = connection;
        return connection ? kIOReturnSuccess : kIOReturnNotPrivileged;
    }
    IOReturn IOHIDPostEvent(io_connect_t, std::uint32_t eventType, IOGPoint location,
                            const NXMouseEventData& data, std::uint32_t, std::uint32_t,
                            std::uint32_t) override {
        const Posted posted{eventType, location, data};
        if (onPost)
            onPost(posted);
        const std::lock_guard hold(mutex_);
        posted_.push_back(posted);
        return kIOReturnSuccess;
    }
    void releaseButtons() override {
        ++releases;
        if (onReleaseButtons)
            onReleaseButtons();
    }

    // The events since the last call, oldest first.
    std::vector<Posted> takePosted() {
        const std::lock_guard hold(mutex_);
        return std::exchange(posted_, {});
    }
    int releases = 0;
    // Called with each event, and with each release of all buttons, by the one who posts. Set them before
    // there are other threads.
    std::function<void(const Posted&)> onPost;
    std::function<void()> onReleaseButtons;

private:
    std::mutex mutex_;
    std::vector<Posted> posted_;
};

// How a failing comparison shows an event.
inline void PrintTo(const RecordingPointer::Posted& posted, std::ostream* stream) {
    *stream << "type " << posted.type << " at (" << posted.location.x << ", " << posted.location.y
            << ") click " << posted.data.click << " pressure " << int{posted.data.pressure};
}

// Keeps the entries of the threads that were asked for; the test runs them where it likes.
class RecordingThreads final : public Threads {
public:
    void detachNewThread(std::function<void()> entry) override {
        entries.push_back(std::move(entry));
        if (onDetach)
            onDetach();
    }
    bool setThreadPriority(double priority) override {
        priorities.push_back(priority);
        return true;
    }
    std::vector<std::function<void()>> entries;
    std::vector<double> priorities;
    // Called for each thread that is asked for, by the one who asks.
    std::function<void()> onDetach;
};

// Tells the names that are broadcast.
class RecordingBroadcast final : public DistributedNotificationCenter {
public:
    void postNotificationName(std::string_view name) override {
        if (onName)
            onName(name);
    }
    // Called with each name, by the one who posts. Set it before there are other threads.
    std::function<void(std::string_view)> onName;
};

class FixedDesktop final : public Desktop {
public:
    std::optional<ScreenRect> mainScreenFrame() const override { return frame; }
    std::vector<Screen> screens() const override {
        std::vector<Screen> all = others;
        if (frame)
            all.insert(all.begin(), {name, *frame, quarterTurns});
        return all;
    }
    void setMain(const std::optional<Screen>& screen) {
        frame = screen ? std::optional(screen->frame) : std::nullopt;
        name = screen ? screen->name : "";
        quarterTurns = screen ? screen->quarterTurns : 0;
    }
    // Of the main screen.
    std::string name = "main";
    int quarterTurns = 0;
    std::optional<ScreenRect> frame = ScreenRect{{0, 0}, {1920, 1080}};
    std::vector<Screen> others; // beside the main one
};

// Does nothing but keep what was asked, in words: "mode 3 options 76", "hide cursor 1", "show cursor 1",
// "activate". Main thread.
class RecordingSystemUI final : public SystemUI {
public:
    static constexpr CGDirectDisplayID kMainDisplay = 1;

    void GetSystemUIMode(SystemUIMode& currentMode, SystemUIOptions& currentOptions) const override {
        currentMode = mode;
        currentOptions = options;
    }
    IOReturn SetSystemUIMode(SystemUIMode newMode, SystemUIOptions newOptions) override {
        mode = newMode;
        options = newOptions;
        return note("mode " + std::to_string(newMode) + " options " + std::to_string(newOptions));
    }
    CGDirectDisplayID CGMainDisplayID() const override { return kMainDisplay; }
    IOReturn CGDisplayHideCursor(CGDirectDisplayID display) override {
        return note("hide cursor " + std::to_string(display));
    }
    IOReturn CGDisplayShowCursor(CGDirectDisplayID display) override {
        return note("show cursor " + std::to_string(display));
    }
    void activateIgnoringOtherApps() override { note("activate"); }
    bool isScreenCovered() override { return covered; }

    SystemUIMode mode = kUIModeNormal;
    SystemUIOptions options = 0;
    bool covered = false;
    // Called with each of the words.
    std::function<void(const std::string&)> onCall;

private:
    IOReturn note(const std::string& call) {
        if (onCall)
            onCall(call);
        return kIOReturnSuccess;
    }
};

// Tells the names of the sounds that are played.
class RecordingSounds final : public Sounds {
public:
    SoundRef soundNamed(std::string_view name) override {
        return std::make_shared<Recorded>(std::string(name), *this);
    }
    // Called with each name, by the one who plays. Set it before there are other threads.
    std::function<void(const std::string&)> onPlay;

private:
    class Recorded final : public Sound {
    public:
        Recorded(std::string name, RecordingSounds& sounds) : Sound(std::move(name)), sounds_(sounds) {}
        void play() override {
            if (sounds_.onPlay)
                sounds_.onPlay(name());
        }

    private:
        RecordingSounds& sounds_;
    };
};

class MemoryDefaults final : public UserDefaults {
public:
    void registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults) override {
        registered = std::move(defaults);
    }
    std::optional<DefaultsValue> objectForKey(std::string_view key) const override {
        for (const auto* values : {&set, &registered})
            if (const auto found = values->find(key); found != values->end())
                return found->second;
        return std::nullopt;
    }
    bool setObject(std::string_view key, DefaultsValue value) override {
        set.insert_or_assign(std::string(key), std::move(value));
        return true;
    }
    bool removeObjectForKey(std::string_view key) override {
        if (const auto found = set.find(key); found != set.end())
            set.erase(found);
        return true;
    }
    std::map<std::string, DefaultsValue, std::less<>> set;
    std::map<std::string, DefaultsValue, std::less<>> registered;
};

// Data files in memory. A file that is there under its name may have no contents: it cannot be read then.
// Thread-safe.
class MemoryDataFiles final : public DataFiles {
public:
    using Contents = std::vector<std::uint8_t>;
    std::optional<DataFilePaths> locate(std::string_view name) const override {
        const std::lock_guard hold(mutex_);
        if (!files_.contains(std::string(name)))
            return std::nullopt;
        return DataFilePaths{"/shipped/" + std::string(name), "/user/" + std::string(name)};
    }
    std::optional<Contents> read(const std::string& path, std::size_t limit) const override {
        const std::lock_guard hold(mutex_);
        const auto found = files_.find(path.substr(path.rfind('/') + 1));
        if (found == files_.end() || !found->second)
            return std::nullopt;
        Contents front = *found->second;
        front.resize(std::min(front.size(), limit));
        return front;
    }
    bool replace(const std::string& path, std::span<const std::uint8_t> bytes) const override {
        const std::lock_guard hold(mutex_);
        if (!full)
            files_[path.substr(path.rfind('/') + 1)] = Contents(bytes.begin(), bytes.end());
        return !full;
    }
    // Puts a file there; none for one that cannot be read.
    void put(const std::string& name, std::optional<Contents> contents) {
        const std::lock_guard hold(mutex_);
        files_[name] = std::move(contents);
    }
    std::optional<Contents> contents(const std::string& name) const {
        const std::lock_guard hold(mutex_);
        const auto found = files_.find(name);
        return found == files_.end() ? std::nullopt : found->second;
    }
    std::atomic<bool> full{false}; // nothing can be written

private:
    mutable std::mutex mutex_;
    mutable std::map<std::string, std::optional<Contents>> files_;
};

// The real registry, which counts how often its services are listed.
class CountingRegistry final : public ServiceRegistry {
public:
    using ServiceRegistry::ServiceRegistry;
    IOReturn IOServiceGetMatchingServices(mach_port_t port, const MatchingDictionary& matching,
                                          io_iterator_t& iterator) override {
        ++enumerations;
        return ServiceRegistry::IOServiceGetMatchingServices(port, matching, iterator);
    }
    IOReturn IOServiceAddMatchingNotification(const std::shared_ptr<IONotificationPort>& port,
                                              std::string_view type, const MatchingDictionary& matching,
                                              IOServiceMatchingCallback callback, void* refcon,
                                              io_iterator_t& iterator) override {
        ++enumerations;
        return ServiceRegistry::IOServiceAddMatchingNotification(port, type, matching, callback, refcon,
                                                                 iterator);
    }
    std::atomic<int> enumerations{0};
};

// A whole platform of doubles in virtual time, current while it lives. The registry and the notification
// centre are the real ones.
struct TestPlatform : TestShell {
    VirtualClock clock;
    VirtualRunLoop runLoop{clock};
    CountingRegistry registry{runLoop, clock};
    RecordingPointer pointer;
    RecordingThreads threads;
    NotificationCenter notifications;
    RecordingBroadcast broadcast;
    FixedDesktop desktop;
    MemoryDefaults defaults;
    RecordingSystemUI systemUI;
    RecordingSounds sounds;
    MemoryDataFiles dataFiles;
    Platform platform{registry, pointer,  runLoop,  clock,  threads,   notifications, broadcast,
                      desktop,  defaults, systemUI, sounds, dataFiles, shell};

    TestPlatform() { Platform::setCurrent(&platform); }
    ~TestPlatform() { Platform::setCurrent(nullptr); }
    TestPlatform(const TestPlatform&) = delete;
    TestPlatform& operator=(const TestPlatform&) = delete;
};

} // namespace lightpen
