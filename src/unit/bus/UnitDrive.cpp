// SPDX-License-Identifier: MIT
#include "unit/bus/UnitDrive.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace lightpen {

namespace {

constexpr Microseconds kShortestNap{100};
constexpr Microseconds kLongestNap{4'000};

} // namespace

UnitDrive::~UnitDrive() {
    stop();
}

void UnitDrive::add(std::shared_ptr<SoftwareUnit> unit) {
    const std::lock_guard hold(mutex_);
    units_.push_back(std::move(unit));
}

std::vector<std::shared_ptr<SoftwareUnit>> UnitDrive::units() const {
    const std::lock_guard hold(mutex_);
    return units_;
}

void UnitDrive::advance(Microseconds now) {
    for (const auto& unit : units())
        unit->advance(now);
}

Microseconds UnitDrive::untilNextEvent() const {
    const Microseconds now = clock_.now();
    Microseconds nap = kLongestNap;
    for (const auto& unit : units())
        if (const auto next = unit->nextEvent())
            nap = std::min(nap, *next - now);
    return std::max(nap, kShortestNap);
}

void UnitDrive::start() {
    {
        const std::lock_guard hold(mutex_);
        if (std::exchange(running_, true))
            return;
    }
    thread_ = std::thread([this] { run(); });
    // It stands for hardware: whoever counts what the driver costs leaves it out by this name.
    pthread_setname_np(thread_.native_handle(), "emulated unit");
}

void UnitDrive::stop() {
    {
        const std::lock_guard hold(mutex_);
        running_ = false;
    }
    wake_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

void UnitDrive::run() {
    while (true) {
        advance(clock_.now());
        const Microseconds nap = untilNextEvent();
        std::unique_lock<std::mutex> hold(mutex_);
        if (!running_)
            return;
        wake_.wait_for(hold, nap);
        if (!running_)
            return;
    }
}

} // namespace lightpen
