// SPDX-License-Identifier: MIT
#include "measure/PlayedSession.h"

#include <utility>

#include <QImage>
#include <QString>

#include "emulated/TargetSeeker.h"

namespace lightpen {

namespace {

constexpr Microseconds kLookPeriod = std::chrono::milliseconds(30);
constexpr Microseconds kDwell = std::chrono::milliseconds(120);
constexpr Microseconds kSessionPatience = std::chrono::seconds(40);
constexpr std::string_view kCompleted = "kCalibrationCompleted";

} // namespace

PlayedSession::PlayedSession(Platform& platform, CameraUnit& unit, ScreenCapture& eyes)
    : platform_(platform), unit_(unit), eyes_(eyes) {
    platform_.notifications.addObserver(this, kCompleted, nullptr,
                                        [this](const Notification&) { ++completions_; });
}

PlayedSession::~PlayedSession() {
    platform_.notifications.removeObserver(this);
}

std::string PlayedSession::run(SessionKind kind, const std::function<void()>& start,
                               const std::string& pictureFile) {
    pictureFile_ = pictureFile;
    start();
    if (kind == SessionKind::byHand)
        playByHand();
    else
        watch();
    if (completions_ == 0)
        return kind == SessionKind::byHand ? "The calibration by hand was not completed."
                                           : "The automatic calibration was not completed.";
    return pictureKept_ ? "" : "The target could not be pictured in " + pictureFile + ".";
}

void PlayedSession::playByHand() {
    TargetSeeker seeker;
    std::optional<ScreenPoint> seen;
    const Microseconds end = platform_.clock.now() + kSessionPatience;
    while (completions_ == 0 && platform_.clock.now() < end && !platform_.runLoop.terminating()) {
        const auto picture = eyes_.changed() ? eyes_.look() : std::nullopt;
        if (picture)
            seen = targetSeen(*picture);
        if (picture && seen)
            keepPicture(*picture);
        if (const auto place = seeker.look(seen, platform_.clock.now())) {
            unit_.play(Hand().press(*place).stay(kDwell).lift());
            ++touches_;
        }
        platform_.runLoop.runFor(kLookPeriod);
    }
}

void PlayedSession::watch() {
    const Microseconds end = platform_.clock.now() + kSessionPatience;
    while (completions_ == 0 && platform_.clock.now() < end && !platform_.runLoop.terminating()) {
        if (const auto picture = pictureKept_ ? std::nullopt : eyes_.look()) {
            const DisplayedPicture view = cameraView(*picture);
            if (view.dark && view.blobs.size() == 1)
                keepPicture(*picture);
        }
        platform_.runLoop.runFor(kLookPeriod);
    }
}

void PlayedSession::keepPicture(const ScreenPicture& picture) {
    if (pictureKept_)
        return;
    const QImage image(picture.bytes.data(), picture.width, picture.height,
                       static_cast<qsizetype>(picture.stride), QImage::Format_RGB32);
    pictureKept_ = image.save(QString::fromStdString(pictureFile_), "PNG");
}

} // namespace lightpen
