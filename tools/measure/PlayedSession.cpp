// SPDX-License-Identifier: MIT
#include "measure/PlayedSession.h"

#include <QImage>
#include <QString>

#include "emulated/SeekingHand.h"
#include "unit/room/ScreenSight.h"

namespace lightpen {

namespace {

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
    SeekingHand hand([this](const Hand& played) { unit_.play(played); }, eyes_, platform_.clock);
    const Microseconds end = platform_.clock.now() + kSessionPatience;
    while (completions_ == 0 && platform_.clock.now() < end && !platform_.runLoop.terminating()) {
        if (kind == SessionKind::byHand)
            hand.look([this](const ScreenPicture& picture) { keepPicture(picture); });
        else
            watch();
        platform_.runLoop.runFor(SeekingHand::kLookPeriod);
    }
    touches_ = hand.touches();
    if (completions_ == 0)
        return kind == SessionKind::byHand ? "The calibration by hand was not completed."
                                           : "The automatic calibration was not completed.";
    return pictureKept_ ? "" : "The target could not be pictured in " + pictureFile + ".";
}

void PlayedSession::watch() {
    const auto picture = pictureKept_ ? std::nullopt : eyes_.look();
    if (!picture)
        return;
    const DisplayedPicture view = cameraView(*picture);
    if (view.dark && view.blobs.size() == 1)
        keepPicture(*picture);
}

void PlayedSession::keepPicture(const ScreenPicture& picture) {
    if (pictureKept_)
        return;
    const QImage image(picture.bytes.data(), picture.width, picture.height,
                       static_cast<qsizetype>(picture.stride), QImage::Format_RGB32);
    pictureKept_ = image.save(QString::fromStdString(pictureFile_), "PNG");
}

} // namespace lightpen
