// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "wayland/support/LoginSession.h"

namespace lightpen {

// One output of a layout.
struct Output {
    std::string name; // that the kernel gives it, and every desktop too
    int width = 0;    // of its mode, in pixels
    int height = 0;
    int left = 0;         // of its left edge in the layout; all outputs begin at the top
    double scale = 1;     // pixels a point
    bool turned = false;  // by a quarter, counter-clockwise
    bool primary = false; // the desktop's own, where it has such a one
};

// Its size as it is shown, in points of so many pixels.
Size sizeOf(const Output& output, double scale);

// How the outputs are set; those that are left out are off.
struct Layout {
    std::string name;
    std::vector<Output> outputs;
    std::string chosen; // the setting "Main Screen", empty when there is none
    std::string aimed;  // the output where the picture is then
};

// One output; two; the second chosen, and that scaled and turned; the second the desktop's primary one.
std::vector<Layout> everyLayout();
// What everyLayout calls that one. Throws when there is none.
Layout layoutNamed(const std::string& name);

// A desktop that runs in a session of its own on the guest's two outputs. Main thread.
class Compositor {
public:
    virtual ~Compositor() = default;
    Compositor() = default;
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;

    // Sets the outputs. Throws when the desktop refuses.
    virtual void set(const Layout& layout) = 0;
    // The size in points that a program is told of an output that is set so.
    virtual Size pointsOf(const Output& output) const { return sizeOf(output, output.scale); }
    // Whether it can have the layout.
    virtual bool offers(const Layout&) const { return true; }
    // The X server whose pixels any program may look at; empty where none may.
    virtual std::string serverToLookAt() const { return {}; }
    // Its name and version, as it tells them.
    virtual std::string version() const = 0;
    virtual const LoginSession& session() const = 0;
};

// Starts the desktop of this name ("sway", "mutter", "kwin", "xorg") and waits until it takes programs. The
// user outlives it. Throws when it does not start, or the name is none of these.
std::unique_ptr<Compositor> startCompositor(const std::string& name, const GuestUser& user);

// What startCompositor chooses from.
std::unique_ptr<Compositor> startSway(const GuestUser& user);
std::unique_ptr<Compositor> startMutter(const GuestUser& user);
std::unique_ptr<Compositor> startKwin(const GuestUser& user);
std::unique_ptr<Compositor> startXDesktop(const GuestUser& user);

} // namespace lightpen
