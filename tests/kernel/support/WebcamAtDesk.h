// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kernel/room/CameraRoom.h"
#include "kernel/support/ApplicationAtDesk.h"
#include "kernel/support/RuleFile.h"
#include "measure/Analysis.h"
#include "measure/PlayedSession.h"

namespace lightpen {

// What came of a scene. A place of the pointer is the middle of its pixel.
struct WebcamFigures {
    std::size_t strokes = 0; // that the hand drew
    std::size_t arrived = 0; // of these, that pressed, and released what they pressed
    std::size_t whole = 0;   // of these, with one press alone: nothing has broken them in two
    std::size_t strays = 0;  // presses while there was no pen
    Spread taps;             // points from the hand to where the pointer pressed and released
    Spread drags;            // points from the hand's line to where the pointer was
};

// The program for webcams of an ordinary user at a desk with a panel, in a room whose camera it reads. It is
// seen from outside only. Main thread.
class WebcamAtDesk : public HandAtDesk {
protected:
    // What a stroke may be off, in points.
    static constexpr double kMostOff = 1.5;

    // The desk outlives the test.
    explicit WebcamAtDesk(DeskWithPanel& at) : HandAtDesk(at.desk), desk(at) {}
    // The program ends before its camera goes.
    ~WebcamAtDesk() override { endDriver(); }

    void perform(const Hand& hand) override { room->play(hand); }

    // Sets up a camera like this, starts the program on it, and waits for its item and for the unit.
    void enter(const CameraMode& mode, const RoomLight& light = {}, SessionKind kind = SessionKind::automatic,
               const Optics& optics = Optics::strongKeystone(kScreen));
    // Puts a camera back that was pulled.
    void plugCameraIn();
    // Chooses the calibration from the menu, and plays it to its end as it was chosen. Then the film comes on
    // the lens, the cross behind an automatic one is touched, and the pen is used until it is heard.
    void calibrate();
    // Draws so many strokes all over the screen, every other one a tap. Each waits for its press before it
    // goes on, and for its release.
    void draw(std::size_t count);
    // Lifts the pen for so long.
    void rest(Microseconds duration) { runLoop.runFor(duration); }
    // What was drawn up to now is not measured.
    void forget();
    // What has come of all that was drawn, also as a line of text.
    WebcamFigures figures(const std::string& name);
    // Draws, and expects that every stroke came, where it was drawn, and nothing else.
    void expectToDraw(const std::string& name, std::size_t count);

    DeskWithPanel& desk;
    std::unique_ptr<CameraRoom> room;
    std::unique_ptr<MenuOverDBus> menu;
    SessionKind calibration = SessionKind::automatic;

private:
    void permit() const;
    void touchTargets(const std::function<bool()>& completed);
    void touchCross();
    void drawStroke(ScreenPoint from, ScreenPoint to);
    void awaitLift();

    // The camera is set up before the program may open it, which otherwise does so as soon as there is a
    // node.
    const RuleFile shut{"99-lightpen-test-camera.rules", "SUBSYSTEM==\"video4linux\", MODE=\"0600\"\n"};

    unsigned long picturesBefore = 0; // written before that
    Microseconds drawnFrom{};         // presses before that belong to nothing that is measured
};

} // namespace lightpen
