// SPDX-License-Identifier: MIT
#include "measure/ApplicationShow.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

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

double distance(ScreenPoint one, ScreenPoint other) {
    return std::hypot(one.x - other.x, one.y - other.y);
}

// Where a stroke began and ended.
struct StrokeEnds {
    bool pressed = false, released = false;
    ScreenPoint press, release;
};

// A stroke may be more than one where the machine is held up: its first press and last release count.
StrokeEnds endsSince(const std::vector<CanvasEvent>& events, std::size_t seen) {
    StrokeEnds ends;
    for (std::size_t i = seen; i < events.size(); ++i) {
        if (events[i].kind == Kind::press && !std::exchange(ends.pressed, true))
            ends.press = events[i].position;
        if (events[i].kind == Kind::release) {
            ends.released = true;
            ends.release = events[i].position;
        }
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
    : program_(std::move(program)), canvasProgram_(std::move(canvasProgram)), runLoop_(runLoop),
      output_(std::move(output)), panel_(busAddress()), application_(program_) {}

std::string ApplicationShow::run() {
    using Step = std::string (ApplicationShow::*)();
    for (const Step step : {&ApplicationShow::begin, &ApplicationShow::plug, &ApplicationShow::calibrate,
                            &ApplicationShow::draw, &ApplicationShow::changeLanguage, &ApplicationShow::exit})
        if (std::string problem = (this->*step)(); !problem.empty())
            return problem + "\nThe application's log:\n" + application_.log();
    return {};
}

std::string ApplicationShow::begin() {
    std::puts("The application starts; its item is in the panel. Its menu without a unit:");
    panel_.appear();
    std::string problem =
        application_.start({"--commands", "--xtest"}, environmentOf(home_.path().toStdString()));
    if (!problem.empty())
        return problem;
    const bool came = comesTrue([this] {
        if (const auto item = panel_.itemOf(application_.processId()))
            menu_ = std::make_unique<MenuOverDBus>(busAddress(), item->service, item->path);
        return menu_ || !application_.running();
    });
    if (!came || !menu_ || !menuHas(kExitMenu))
        return "No item with a menu came into the panel.";
    printMenu();
    return {};
}

std::string ApplicationShow::plug() {
    std::puts("A unit with an empty flash is plugged in:");
    if (!application_.perform("plug") || !menuHas(kWholeMenu))
        return "The menu did not become whole.";
    printMenu();
    return {};
}

std::string ApplicationShow::calibrate() {
    std::puts("\"Calibration\" is clicked; a hand touches the targets that it sees:");
    if (!unitIsReady() || !menu_->click({"Calibration"}))
        return "Calibration cannot be clicked.";
    std::string stored;
    const auto done = [&] {
        stored = application_.ask("flash").value_or("ok empty");
        return stored != "ok empty";
    };
    if (!comesTrue(done, kCalibrationPatience) || !unitIsReady())
        return "The calibration was not stored.";
    std::printf("    The flash now holds%s.\n", stored.substr(stored.find(' ')).c_str());
    return {};
}

std::string ApplicationShow::draw() {
    std::puts("The pen draws on a canvas, which sees what the X server delivers:");
    CanvasProcess canvas(runLoop_);
    if (std::string problem = canvas.start(canvasProgram_); !problem.empty())
        return problem;
    if (std::string problem = drawStrokes(canvas); !problem.empty())
        return problem;
    const std::string picture = (output_ / "application.png").string();
    canvas.command("save " + picture);
    if (!canvas.waitFor(Kind::saved, std::chrono::seconds(10)))
        return "The picture of the canvas could not be written.";
    std::printf("    The canvas: %s\n", picture.c_str());
    return {};
}

std::string ApplicationShow::drawStrokes(CanvasProcess& canvas) {
    double farthest = 0;
    for (const auto& stroke : kStrokes) {
        const std::size_t seen = canvas.events().size();
        if (!comesTrue([&] { return application_.perform(lineOf(stroke)); }))
            return "The hand did not draw.";
        StrokeEnds ends;
        const auto whole = [&] {
            ends = endsSince(canvas.events(), seen);
            return ends.pressed && ends.released && distance(ends.release, stroke.back()) < kFarthest;
        };
        if (!comesTrue(whole))
            return "A stroke did not arrive whole.";
        if (!application_.perform("wait"))
            return "The hand did not come to rest.";
        farthest =
            std::max({farthest, distance(ends.press, stroke.front()), distance(ends.release, stroke.back())});
    }
    std::printf("    %zu strokes; the ends are at most %.1f pixels from the hand.\n", kStrokes.size(),
                farthest);
    return farthest < kFarthest ? "" : "That is too far.";
}

std::string ApplicationShow::changeLanguage() {
    std::puts("\"French\" is clicked, and the unit is unplugged and plugged in again:");
    if (!menu_->click({"Language", "French"}) || !application_.perform("unplug") || !menuHas(kExitMenu))
        return "The menu did not shrink.";
    if (!application_.perform("plug") || !menuHas(kWholeMenu))
        return "The menu did not become whole again.";
    printMenu();
    return {};
}

std::string ApplicationShow::exit() {
    const auto root = menu_->layout();
    if (!root || root->children.empty())
        return "There is no entry to be clicked.";
    menu_->click(root->children.back().id); // an answer may come too late
    const auto status = application_.waitForEnd();
    if (status != EXIT_SUCCESS)
        return "The application did not end in order.";
    std::printf("\"%s\" is clicked; the application has ended in order.\n",
                root->children.back().label.c_str());
    return {};
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
