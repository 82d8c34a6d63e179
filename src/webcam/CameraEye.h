// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <optional>
#include <vector>

#include "platform/PriorityInheritance.h"
#include "platform/Time.h"
#include "unit/wire/Eye.h"
#include "webcam/SightCorrection.h"
#include "webcam/sight/DisplayedSight.h"
#include "webcam/sight/DotPass.h"
#include "webcam/sight/GreyView.h"
#include "webcam/sight/SpotFinder.h"

namespace lightpen::webcam {

// A webcam as the unit's eye. One thread, that of the pictures, calls what concerns them; the unit's side may
// be any other, and never waits for a picture: what the last one showed is kept for it.
class CameraEye final : public Eye {
public:
    // What holds until the host has said otherwise: the usual threshold and distance.
    static constexpr EyeSettings kAtFirst{.threshold = 512, .exposure = 23, .filterOut = false};
    // What is not needed for the pen, the small picture and the foreign lights, is looked for so often.
    static constexpr Microseconds kSlowly{200'000};
    // So often the unit has looked and seen no displayed light before it is shown one at another place. A
    // disc that goes from target to target would otherwise be a touch that never ends: between two pictures
    // the unit may not look at all.
    static constexpr int kLooksBetween = 3;

    // The thread of the pictures

    // A camera begins to send, so many pictures a second (0: it does not tell); nothing has been seen yet.
    void begin(double rate);
    // What is wanted of the camera now: by the unit, or to watch.
    EyeSettings wanted() const;
    // Pictures are taken in this way from now on. With another exposure or filter, what was learnt of the
    // room counts no more.
    void use(const EyeSettings& settings);
    // A picture has come, at this time of the unit's clock. It is only looked at, and not kept.
    void take(const GreyView& picture, Microseconds now);
    // The camera sends no more: nothing is seen.
    void end();

    // Any thread

    // This is undone from the next picture on: the lens of all that is seen, the lamp of the pen alone.
    void correct(const SightCorrection& correction);
    SightCorrection correction() const;
    // What the displayed picture's lights are, for whoever watches: where the camera shows them, with nothing
    // undone. Meanwhile pictures are taken as for targets, and the unit sees nothing.
    void watch(bool on);
    // How bright the screen has been counts no more from the next picture on: a film may have come on the
    // lens.
    void forgetShown() { forgetShown_ = true; }
    // The number is another one with each picture since the watch began; none before the first.
    struct Watched {
        unsigned number = 0;
        SeenLights lights;
    };
    std::optional<Watched> watched() const;

    // The unit's side

    Scene look(Microseconds time) override;
    Picture picture(Microseconds time) override;
    bool foreignLight(Microseconds time) override;
    void set(const EyeSettings& settings) override;

private:
    std::optional<CameraPoint> penIn(const GreyView& picture, Microseconds now,
                                     const SightCorrection& correction);
    bool goesOn(const std::vector<CameraPoint>& blobs) const;
    static Scene sceneOf(const SeenLights& lights, const LensModel& lens);

    // The thread of the pictures
    SpotFinder finder_;
    DisplayedSight displayed_;
    double pace_ = 1; // the finder's time, which knows no slow cameras, in real time
    EyeSettings used_ = kAtFirst;
    std::optional<CameraPoint> pen_;
    std::optional<Microseconds> lookedSlowly_;

    std::atomic<bool> forgetShown_{false};   // asked for, and not done yet; any thread
    mutable PriorityInheritanceMutex mutex_; // guards what follows
    EyeSettings wanted_ = kAtFirst;
    SightCorrection correction_;
    bool watching_ = false;
    std::optional<Watched> watched_;
    Microseconds patience_{};            // without a picture for longer, nothing is seen
    std::optional<Microseconds> seenAt_; // when the last picture came; none before the first
    Scene scene_;                        // what it has shown
    std::vector<CameraPoint> toldBlobs_; // the lights of the last scene that had some
    int looksSince_ = kLooksBetween;     // of the unit, without any
    bool foreignLight_ = false;
    Picture picture_{};
};

} // namespace lightpen::webcam
