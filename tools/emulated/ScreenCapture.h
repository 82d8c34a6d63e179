// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "linux_desktop/pointer/PointerGeometry.h"
#include "linux_desktop/screen/XConnection.h"
#include "platform/Geometry.h"
#include "unit/room/ScreenSight.h"

namespace lightpen {

// Which part of the X server's desktop is the screen.
struct CaptureArea {
    PixelRect pixels = {}; // without an area: the whole desktop, whatever its size becomes
    double pointsPerPixel = 1;
};

// The pixels that an X server shows, through shared memory where it can, over a connection of its own. One
// thread at a time.
class ScreenCapture {
public:
    // The area of now; asked at each look, on the thread that looks.
    using AreaOfNow = std::function<CaptureArea()>;

    // Connects to the display of that name, null for the one of the environment. Null, and the reason, when
    // there is no such display or its pixels are not 32 bits wide.
    static std::unique_ptr<ScreenCapture> create(
        const char* display, std::string& problem, AreaOfNow area = [] { return CaptureArea(); });
    ~ScreenCapture();
    ScreenCapture(const ScreenCapture&) = delete;
    ScreenCapture& operator=(const ScreenCapture&) = delete;

    // Whether there may be something new since the last look; always, on a server that does not tell.
    bool changed();
    // What is shown now, without the pointer. The pixels stay valid until the next look. None when the server
    // is gone or the area has left the desktop.
    std::optional<ScreenPicture> look();
    // Where the pointer is, in points of the screen: whole pixels. None when the server is gone.
    std::optional<ScreenPoint> pointer();
    // Whether pictures come through shared memory.
    bool sharesMemory() const { return shares_; }

private:
    class Memory;

    ScreenCapture(XConnection connection, const xcb_screen_t& screen, AreaOfNow area);
    void askForChanges();
    std::optional<PixelRect> visiblePart(const PixelRect& wanted);
    const std::uint8_t* sharedPixels(const PixelRect& area);
    const std::uint8_t* sentPixels(const PixelRect& area);

    const XConnection connection_;
    const std::uint32_t root_;
    const AreaOfNow areaOfNow_;
    bool shares_ = false;
    std::unique_ptr<Memory> memory_;
    std::unique_ptr<void, void (*)(void*)> sent_; // the last picture that came as a message
    std::uint32_t damage_ = 0;                    // 0: the server does not tell of changes
    std::uint8_t damageEvent_ = 0;
    bool changed_ = true;
};

} // namespace lightpen
