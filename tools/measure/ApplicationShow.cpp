// SPDX-License-Identifier: MIT
#include "measure/ApplicationShow.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

#include "measure/Analysis.h"
#include "measure/Requirement.h"
#include "measure/desktop/Patience.h"
#include "platform/Geometry.h"

namespace lightpen {

namespace {

using Kind = CanvasEvent::Kind;

constexpr std::chrono::seconds kCalibrationPatience{90};
constexpr std::size_t kWholeMenu = 7, kExitMenu = 1;
constexpr double kFarthest = 4; // pixels from the hand to the pointer

// A pen, drawn with one: strokes through these points of a screen of 1280 x 720.
const std::vector<std::vector<ScreenPoint>> kStrokes{
    {{300, 520}, {330, 430}, {760, 130}, {830, 230}, {400, 530}, {300, 520}},
    {{330, 430}, {400, 530}},
    {{700, 172}, {770, 272}},
    {{420, 600}, {980, 600}},
};

std::string lineOf(const std::vector<ScreenPoint>& stroke) {
    std::string line = "drag";
    for (const ScreenPoint& point : stroke)
        line += " " + std::to_string(std::lround(point.x)) + " " + std::to_string(std::lround(point.y));
    return line;
}

// Where a stroke began and ended.
struct StrokeEnds {
    std::optional<ScreenPoint> press, release;
};

// A stroke may be more than one where the machine is held up: its first press and last release count.
StrokeEnds endsSince(const std::vector<CanvasEvent>& events, std::size_t seen) {
    StrokeEnds ends;
    for (std::size_t i = seen; i < events.size(); ++i) {
        if (events[i].kind == Kind::press && !ends.press)
            ends.press = events[i].position;
        if (events[i].kind == Kind::release)
            ends.release = events[i].position;
    }
    return ends;
}

std::string busAddress() {
    return qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS").toStdString();
}

void print(const MenuEntry& entry, int depth) {
    for (const MenuEntry& child : entry.children) {
        const char* const mark = child.checked.value_or(false) ? "x " : "  ";
        std::printf("    %*s%s%s\n", depth * 4, "", mark,
                    child.isSeparator() ? "--------" : child.label.c_str());
        print(child, depth + 1);
    }
}

} // namespace

ApplicationShow::ApplicationShow(std::string program, std::string canvasProgram, RunLoop& runLoop,
                                 std::filesystem::path output)
    : canvasProgram_(std::move(canvasProgram)), runLoop_(runLoop), output_(std::move(output)),
      panel_(busAddress()), application_(std::move(program)) {}

void ApplicationShow::run() {
    try {
        begin();
        plug();
        calibrate();
        draw();
        changeLanguage();
        exit();
    } catch (const std::runtime_error& problem) {
        throw std::runtime_error(std::string(problem.what()) + "\nThe application's log:\n" +
                                 application_.log());
    }
}

void ApplicationShow::begin() {
    std::puts("The application starts; its item is in the panel. Its menu without a unit:");
    panel_.appear();
    requireNone(application_.start({"--commands", "--xtest"}, environmentOf(home_.path().toStdString())));
    const bool came = comesTrue([this] {
        if (const auto item = panel_.itemOf(application_.processId()))
            menu_ = std::make_unique<MenuOverDBus>(busAddress(), item->service, item->path);
        return menu_ || !application_.running();
    });
    require(came && menu_ && menuHas(kExitMenu), "No item with a menu came into the panel.");
    printMenu();
}

void ApplicationShow::plug() {
    std::puts("A unit with an empty flash is plugged in:");
    require(application_.perform("plug") && menuHas(kWholeMenu), "The menu did not become whole.");
    printMenu();
}

void ApplicationShow::calibrate() {
    std::puts("\"Calibration\" is clicked; a hand touches the targets that it sees:");
    require(unitIsReady() && menu_->click({"Calibration"}), "Calibration cannot be clicked.");
    std::string stored;
    const auto done = [&] {
        stored = application_.ask("flash").value_or("ok empty");
        return stored != "ok empty";
    };
    require(comesTrue(done, kCalibrationPatience) && unitIsReady(), "The calibration was not stored.");
    std::printf("    The flash now holds%s.\n", stored.substr(stored.find(' ')).c_str());
}

void ApplicationShow::draw() {
    std::puts("The pen draws on a canvas, which sees what the X server delivers:");
    CanvasProcess canvas(runLoop_);
    requireNone(canvas.start(canvasProgram_));
    drawStrokes(canvas);
    const std::string picture = (output_ / "application.png").string();
    canvas.command("save " + picture);
    require(canvas.waitFor(Kind::saved, std::chrono::seconds(10)),
            "The picture of the canvas could not be written.");
    std::printf("    The canvas: %s\n", picture.c_str());
}

void ApplicationShow::drawStrokes(CanvasProcess& canvas) {
    double farthest = 0;
    for (const auto& stroke : kStrokes) {
        const std::size_t seen = canvas.events().size();
        require(comesTrue([&] { return application_.perform(lineOf(stroke)); }), "The hand did not draw.");
        StrokeEnds ends;
        const auto whole = [&] {
            ends = endsSince(canvas.events(), seen);
            return ends.press && ends.release && distance(*ends.release, stroke.back()) < kFarthest;
        };
        require(comesTrue(whole), "A stroke did not arrive whole.");
        require(application_.perform("wait"), "The hand did not come to rest.");
        farthest = std::max(
            {farthest, distance(*ends.press, stroke.front()), distance(*ends.release, stroke.back())});
    }
    std::printf("    %zu strokes; the ends are at most %.1f pixels from the hand.\n", kStrokes.size(),
                farthest);
    require(farthest < kFarthest, "That is too far.");
}

void ApplicationShow::changeLanguage() {
    std::puts("\"French\" is clicked, and the unit is unplugged and plugged in again:");
    require(menu_->click({"Language", "French"}) && application_.perform("unplug") && menuHas(kExitMenu),
            "The menu did not shrink.");
    require(application_.perform("plug") && menuHas(kWholeMenu), "The menu did not become whole again.");
    printMenu();
}

void ApplicationShow::exit() {
    const auto root = menu_->layout();
    require(root && !root->children.empty(), "There is no entry to be clicked.");
    menu_->click(root->children.back().id); // an answer may come too late
    require(application_.waitForEnd() == EXIT_SUCCESS, "The application did not end in order.");
    std::printf("\"%s\" is clicked; the application has ended in order.\n",
                root->children.back().label.c_str());
}

bool ApplicationShow::menuHas(std::size_t entries) {
    return comesTrue([&] {
        const auto root = menu_->layout();
        return root && root->children.size() == entries;
    });
}

bool ApplicationShow::unitIsReady() {
    return comesTrue([this] { return application_.isIn("ready=yes"); });
}

void ApplicationShow::printMenu() {
    if (const auto root = menu_->layout())
        print(*root, 0);
    std::fflush(stdout);
}

} // namespace lightpen
