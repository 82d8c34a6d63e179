// SPDX-License-Identifier: MIT
// A desktop on which nothing happens, so that a benchmark sees the driver's own work.
#pragma once

#include <cstdlib>

#include <QApplication>

#include <benchmark/benchmark.h>

#include "platform/Platform.h"
#include "platform/ServiceRegistry.h"

namespace lightpen::bench {

inline constexpr ScreenRect kScreen{{0, 0}, {1920, 1080}};

class SleeplessClock final : public Clock {
public:
    Microseconds now() override { return Microseconds{1}; }
    void sleep(Microseconds) override {}
};

// Nobody waits on the main thread's answers, so nothing is performed.
class IdleRunLoop final : public RunLoop {
public:
    void addCommonMode(std::string_view) override {}
    bool containsSource(const RunLoopSourceRef&, std::string_view) const override { return false; }
    void addSource(const RunLoopSourceRef&, std::string_view) override {}
    void performOnMainThread(PerformRequest request) override { benchmark::DoNotOptimize(&request); }
    void performAfterDelay(PerformRequest, Microseconds) override {}
    void cancelPreviousPerformRequests(const void*, std::string_view, std::string_view) override {}
    void runFor(Microseconds) override {}
    void terminate(int) override {}
    bool terminating() const override { return false; }
    void exitProcess(int status) override { std::exit(status); }
};

class NoThreads final : public Threads {
public:
    void detachNewThread(std::function<void()>) override {}
    bool setThreadPriority(double) override { return false; }
};

class NoBroadcast final : public DistributedNotificationCenter {
public:
    void postNotificationName(std::string_view) override {}
};

class OneScreen final : public Desktop {
public:
    std::optional<ScreenRect> mainScreenFrame() const override { return kScreen; }
    std::vector<Screen> screens() const override { return {{"main", kScreen}}; }
};

class NoSystemUI final : public SystemUI {
public:
    void GetSystemUIMode(SystemUIMode&, SystemUIOptions&) const override {}
    IOReturn SetSystemUIMode(SystemUIMode, SystemUIOptions) override { return kIOReturnUnsupported; }
    CGDirectDisplayID CGMainDisplayID() const override { return 0; }
    IOReturn CGDisplayHideCursor(CGDirectDisplayID) override { return kIOReturnUnsupported; }
    IOReturn CGDisplayShowCursor(CGDirectDisplayID) override { return kIOReturnUnsupported; }
    void activateIgnoringOtherApps() override {}
};

class NoSounds final : public Sounds {
public:
    SoundRef soundNamed(std::string_view) override { return nullptr; }
};

class NoDefaults final : public UserDefaults {
public:
    void registerDefaults(std::map<std::string, DefaultsValue, std::less<>>) override {}
    std::optional<DefaultsValue> objectForKey(std::string_view) const override { return std::nullopt; }
    bool setObject(std::string_view, DefaultsValue) override { return false; }
    bool removeObjectForKey(std::string_view) override { return false; }
};

class NoDataFiles final : public DataFiles {
public:
    std::optional<DataFilePaths> locate(std::string_view) const override { return std::nullopt; }
    std::optional<std::vector<std::uint8_t>> read(const std::string&, std::size_t) const override {
        return std::nullopt;
    }
    bool replace(const std::string&, std::span<const std::uint8_t>) const override { return false; }
};

class NoBundle final : public Bundle {
public:
    std::string bundlePath() const override { return {}; }
    std::string executablePath() const override { return {}; }
    std::optional<std::string> bundleIdentifier() const override { return std::nullopt; }
    std::optional<std::string> bundleIdentifierAtPath(const std::string&) const override {
        return std::nullopt;
    }
    std::optional<PropertyListValue> objectForInfoDictionaryKey(std::string_view) const override {
        return std::nullopt;
    }
    std::optional<std::string> pathForResource(std::string_view, std::string_view) const override {
        return std::nullopt;
    }
    std::optional<PropertyListDictionary> dictionaryWithContentsOfResource(std::string_view,
                                                                           std::string_view) const override {
        return std::nullopt;
    }
    std::string localizedStringForKey(std::string_view key) const override { return std::string(key); }
};

// Nothing of the application's own: no menu, no languages, no login.
struct NoShell final : Locales, LoginItems, StatusBar, Workspace {
    std::vector<std::string> preferredLanguages() const override { return {"en"}; }
    std::optional<std::vector<LoginItem>> copyValue() const override { return std::nullopt; }
    void setValue(std::vector<LoginItem>) override {}
    bool synchronize() override { return false; }
    void whenAvailable(std::function<void()>) override {}
    bool openFile(const std::string&) override { return false; }
    NoBundle bundle;
    ApplicationShell shell{bundle, *this, *this, *this, *this};
};

class NoPointer final : public PointerEvents {
public:
    IOReturn IOServiceOpen(io_service_t, std::uint32_t, io_connect_t&) override {
        return kIOReturnUnsupported;
    }
    IOReturn IOHIDPostEvent(io_connect_t, std::uint32_t, IOGPoint, const NXMouseEventData&, std::uint32_t,
                            std::uint32_t, std::uint32_t) override {
        return kIOReturnUnsupported;
    }
    void releaseButtons() override {}
};

// The platform of all of these, current while it lives. The pointer outlives it.
struct IdlePlatform {
    explicit IdlePlatform(PointerEvents& usedPointer) : pointer(usedPointer) {
        Platform::setCurrent(&platform);
    }
    ~IdlePlatform() { Platform::setCurrent(nullptr); }
    IdlePlatform(const IdlePlatform&) = delete;
    IdlePlatform& operator=(const IdlePlatform&) = delete;

    PointerEvents& pointer;
    SleeplessClock clock;
    IdleRunLoop runLoop;
    ServiceRegistry registry{runLoop, clock};
    NoThreads threads;
    NotificationCenter notifications;
    NoBroadcast broadcast;
    OneScreen desktop;
    NoDefaults defaults;
    NoSystemUI systemUI;
    NoSounds sounds;
    NoDataFiles dataFiles;
    NoShell none;
    Platform platform{registry, pointer,  runLoop,  clock,  threads,   notifications, broadcast,
                      desktop,  defaults, systemUI, sounds, dataFiles, none.shell};
};

// Runs the benchmarks with Qt's application object, which the calibration's widgets need, and no display.
template <class Run>
int withApplication(int argc, char** argv, Run run) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    return run();
}

} // namespace lightpen::bench
