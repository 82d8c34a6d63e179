// SPDX-License-Identifier: MIT
#include "wayland/support/PressWatch.h"

#include <chrono>
#include <sstream>

#include "kit/Eventually.h"

namespace lightpen {

PressWatch::PressWatch(const LoginSession& session)
    : program_({LIGHTPEN_PRESSES}, session.options(output_.writeEnd())) {}

bool PressWatch::covers(const std::map<std::string, Size>& screens) {
    return eventually(
        [&] {
            presses();
            std::map<std::string, Size> covered;
            for (const auto& [name, sizes] : screens_)
                covered[name] = sizes.screen;
            return covered == screens;
        },
        std::chrono::seconds(60));
}

const std::vector<PressWatch::Press>& PressWatch::presses() {
    rest_ += output_.readAvailable();
    for (auto end = rest_.find('\n'); end != rest_.npos; end = rest_.find('\n')) {
        take(rest_.substr(0, end));
        rest_.erase(0, end + 1);
    }
    return presses_;
}

void PressWatch::take(const std::string& line) {
    said_ += line + "\n";
    std::istringstream words(line);
    std::string kind;
    std::string screen;
    words >> kind >> screen;
    if (kind == "window") {
        Covered covered;
        words >> covered.window.width >> covered.window.height >> covered.screen.width >>
            covered.screen.height;
        screens_[screen] = covered;
    } else if (kind == "press" && screens_.contains(screen)) {
        ScreenPoint place;
        words >> place.x >> place.y;
        // A window can have other points than those that Qt counts for its screen.
        const auto& [window, whole] = screens_.at(screen);
        presses_.push_back(
            {screen, {place.x / window.width * whole.width, place.y / window.height * whole.height}});
    }
}

} // namespace lightpen
