// SPDX-License-Identifier: MIT
#include "kernel/room/CameraRoom.h"

#include <chrono>
#include <utility>

namespace lightpen {

namespace {

using std::chrono::milliseconds;

// Two are the fewest that the device works with: each is seen as soon as it may be.
constexpr unsigned kBuffers = 3;
constexpr Microseconds kReaderLooks = milliseconds(100);
constexpr milliseconds kNothingToDo{5};

} // namespace

CameraRoom::CameraRoom(const CameraMode& mode, Size screen, const Optics& optics, Clock& clock,
                       std::unique_ptr<ScreenCapture> eyes)
    : clock_(clock), eyes_(std::move(eyes)), camera_(mode), view_(mode.format.size, screen, optics),
      grey_(static_cast<std::size_t>(mode.format.size.width) *
            static_cast<std::size_t>(mode.format.size.height)),
      thread_([this](const std::stop_token& stop) { run(stop); }) {}

CameraRoom::~CameraRoom() {
    thread_.request_stop();
    thread_.join();
    stream_.reset(); // before the camera goes
}

void CameraRoom::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        bool waits = true;
        {
            const std::lock_guard lock(mutex_);
            try {
                if (ready()) {
                    followReader();
                    writePicture();
                    problem_.clear();
                }
            } catch (const VideoError& error) {
                stream_.reset();
                problem_ = error.what();
            }
            waits = !stream_;
        }
        // The lock is free for a moment in any case.
        std::this_thread::sleep_for(waits ? kNothingToDo : milliseconds(1));
    }
}

bool CameraRoom::ready() {
    if (!signal_ || !plugged_) {
        stream_.reset();
        return false;
    }
    if (!stream_)
        stream_ = std::make_unique<VideoStream>(camera_.outputNode(), VideoEnd::output, kBuffers);
    return true;
}

// Both ends are joined only while they have the same kind of pixels, and it is the reader's to choose.
void CameraRoom::followReader() {
    if (clock_.now() - readerSeen_ < kReaderLooks)
        return;
    readerSeen_ = clock_.now();
    const auto wanted = videoFormat(openVideo(camera_.node()).get(), VideoEnd::capture);
    if (!wanted || *wanted == stream_->format())
        return;
    stream_.reset();
    setVideoFormat(openVideo(camera_.outputNode()).get(), VideoEnd::output, *wanted);
    stream_ = std::make_unique<VideoStream>(camera_.outputNode(), VideoEnd::output, kBuffers);
}

void CameraRoom::writePicture() {
    const auto picture = stream_->take(milliseconds(0));
    if (!picture)
        return;
    if (eyes_ && eyes_->changed())
        if (const auto shown = eyes_->look())
            view_.show(*shown);
    view_.draw(penNow(), grey_);
    fromGrey(grey_, stream_->format().kind, picture->bytes);
    stream_->giveBack(*picture);
    ++pictures_;
}

std::optional<ScreenPoint> CameraRoom::penNow() const {
    return hand_.at(clock_.now() - handStart_);
}

void CameraRoom::play(Hand hand) {
    const std::lock_guard lock(mutex_);
    hand_ = std::move(hand);
    handStart_ = clock_.now();
}

Microseconds CameraRoom::toPlay() const {
    const std::lock_guard lock(mutex_);
    return std::max(Microseconds::zero(), handStart_ + hand_.duration() - clock_.now());
}

RoomLight CameraRoom::light() const {
    const std::lock_guard lock(mutex_);
    return view_.light();
}

void CameraRoom::setLight(const RoomLight& light) {
    const std::lock_guard lock(mutex_);
    view_.setLight(light);
}

void CameraRoom::setSignal(bool there) {
    const std::lock_guard lock(mutex_);
    signal_ = there;
}

void CameraRoom::setLoss(int percent) {
    const std::lock_guard lock(mutex_);
    camera_.setLoss(percent);
}

void CameraRoom::pull() {
    const std::lock_guard lock(mutex_);
    plugged_ = false;
    stream_.reset();
    camera_.pull();
}

void CameraRoom::plugIn() {
    const std::lock_guard lock(mutex_);
    camera_.plugIn();
    plugged_ = true;
}

unsigned long CameraRoom::pictures() const {
    const std::lock_guard lock(mutex_);
    return pictures_;
}

std::string CameraRoom::problem() const {
    const std::lock_guard lock(mutex_);
    return problem_;
}

} // namespace lightpen
