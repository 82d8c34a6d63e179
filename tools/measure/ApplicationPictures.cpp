// SPDX-License-Identifier: MIT
#include "measure/ApplicationPictures.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <utility>

#include <QRect>

#include "app/home/PenTrial.h"
#include "linux_desktop/process/ApplicationBus.h"
#include "measure/Requirement.h"
#include "measure/desktop/Patience.h"
#include "unit/room/LetterFont.h"

namespace lightpen {

namespace {

constexpr std::uint8_t kTab = 23, kSpace = 65, kReturn = 36, kRight = 114, kDown = 116, kEscape = 9;
constexpr std::uint8_t kRightButton = 3;
// The entries of the whole menu, separators left out.
constexpr int kCalibration = 1, kLanguage = 3, kAbout = 5;
constexpr int kHelpWidth = 640;
// Above the projection, as the camera sees it, and where the check view's panel can show it.
constexpr const char* kStrayLight = "stray on 1100 250";
constexpr std::chrono::milliseconds kRest{400};

const std::vector<std::string> kPlugged{"--commands", "--xtest", "--plugged", "--calibrated", "--no-hand"};

struct LanguageName {
    const char* identifier;
    const char* name;
};
constexpr LanguageName kMenus[] = {{"en", "menu-english"}, {"zh-Hans", "menu-chinese"}, {"th", "menu-thai"}};
// The help documents and their pictures of the preview window.
constexpr LanguageName kPreviews[] = {{"en", "help/preview"},          {"zh-Hant", "help/preview-cht"},
                                      {"zh-Hans", "help/preview-chs"}, {"ja", "help/preview-jpn"},
                                      {"it", "help/preview-ita"},      {"es", "help/preview-esp"},
                                      {"fr", "help/preview-fra"},      {"de", "help/preview-deu"}};

constexpr LanguageName kHomes[] = {
    {"en", "window-english"}, {"zh-Hans", "window-chinese"}, {"de", "window-german"}};
// The pages of the window.
constexpr int kCalibrationPage = 0, kPenTrialPage = 1, kUnitPage = 2, kSettingsPage = 3;
constexpr double kLetterShare = 0.3; // of the window's height: a capital

std::string displayName() {
    return qEnvironmentVariable("DISPLAY").toStdString();
}

QRect placeOf(const ShownWindow& window) {
    return {window.x, window.y, window.width, window.height};
}

} // namespace

ApplicationPictures::ApplicationPictures(std::string program, std::filesystem::path output)
    : output_(std::move(output)), tray_(displayName()), windows_(displayName()),
      program_(std::move(program)) {
    std::string problem;
    eyes_ = ScreenCapture::create(nullptr, problem);
    require(eyes_ != nullptr, problem);
    std::filesystem::create_directories(output_ / "help");
}

void ApplicationPictures::take() {
    for (const auto& [identifier, name] : kMenus)
        takeMenu(identifier, name);
    takeWindows();
    takeCalibration();
    for (const auto& [identifier, name] : kPreviews)
        takePreview(identifier, name);
    for (const auto& [identifier, name] : kHomes)
        takeHome(identifier, name);
    takePenTrial();
    takeUnitView();
    takeSettings();
}

template <class Condition>
bool ApplicationPictures::comes(Condition condition) {
    return comesTrue([&] {
        tray_.handleEvents();
        return condition();
    });
}

template <class Condition>
void ApplicationPictures::awaitThat(const char* problem, Condition condition) {
    require(comes(condition), std::string(problem) + " The application said:\n" + program_.log());
}

// Nothing on the screen has changed for a while.
bool ApplicationPictures::comesToRest() {
    QImage last;
    auto since = std::chrono::steady_clock::now();
    return comes([&] {
        const auto now = std::chrono::steady_clock::now();
        if (QImage present = screen(); present != last) {
            last = std::move(present);
            since = now;
        }
        return now - since > kRest;
    });
}

void ApplicationPictures::start(const std::vector<std::string>& options, const std::string& settings) {
    home_ = std::make_unique<QTemporaryDir>();
    const std::filesystem::path home = home_->path().toStdString();
    std::filesystem::create_directories(home / "config/LightPenNX7-emulated");
    std::ofstream file(home / "config/LightPenNX7-emulated/settings.ini");
    require(static_cast<bool>(file << "[General]\n"
                                   << settings << "\n"
                                   << std::flush),
            "no settings can be written below " + home.string());
    requireNone(program_.start(options, environmentOf(home)));
    require(comes([this] { return tray_.hasIcon() || !program_.running(); }) && program_.running(),
            "The application's icon did not come. It said:\n" + program_.log());
}

void ApplicationPictures::end() {
    program_.perform("quit");
    program_.waitForEnd();
    comes([this] { return !tray_.hasIcon(); });
}

std::vector<ShownWindow> ApplicationPictures::fresh() {
    auto shown = windows_.shown(program_.processId());
    std::erase_if(shown, [this](const ShownWindow& window) {
        return std::ranges::find(known_, window) != known_.end();
    });
    return shown;
}

void ApplicationPictures::openMenu() {
    awaitThat("The unit was not taken into use.", [this] { return program_.isIn("ready=yes"); });
    comesToRest();
    forget();
    windows_.click(tray_.iconX(), XTrayPanel::iconY(), kRightButton);
    awaitThat("The menu did not open.", [this] { return !fresh().empty(); });
}

void ApplicationPictures::choose(int entry) {
    openMenu();
    for (int i = 0; i < entry; ++i)
        windows_.pressKey(kDown);
    windows_.pressKey(kReturn);
}

void ApplicationPictures::takeMenu(const std::string& language, const std::string& name) {
    start(kPlugged, "Language=" + language);
    openMenu();
    comesToRest();
    if (language == "en")
        save(pictureOf(fresh()), "help/menu");
    for (int i = 0; i < kLanguage; ++i)
        windows_.pressKey(kDown);
    windows_.pressKey(kRight);
    awaitThat("The menu of the languages did not open.", [this] { return fresh().size() == 2; });
    comesToRest();
    save(pictureOf(fresh()), name);
    windows_.pressKey(kEscape);
    windows_.pressKey(kEscape);
    end();
}

void ApplicationPictures::takeWindows() {
    auto options = kPlugged;
    options.insert(options.end(), {"--wireless", "0"});
    start(options, "");
    choose(kAbout);
    awaitThat("The about panel did not come.", [this] { return fresh().size() == 1 && comesToRest(); });
    save(pictureOf(fresh()), "about");
    end();
    known_.clear();
    start(kPlugged, "Debug%20Window=true");
    awaitThat("The unit was not taken into use.", [this] {
        return program_.log().find("value deviceDidAddCallback") != std::string::npos && comesToRest();
    });
    // The smaller one of the two: the other is the unit's.
    auto shown = windows_.shown(program_.processId());
    std::erase_if(shown, [](const ShownWindow& window) { return window.height <= XTrayPanel::kHeight; });
    require(!shown.empty(), "The debug window did not come.");
    save(pictureOf({*std::ranges::min_element(shown, {}, &ShownWindow::width)}), "debug");
    end();
}

void ApplicationPictures::takeCalibration() {
    start(kPlugged, "");
    choose(kCalibration);
    awaitThat("The calibration did not come.", [this] {
        const QRect whole = screen().rect();
        return std::ranges::any_of(fresh(),
                                   [&](const ShownWindow& window) { return placeOf(window) == whole; }) &&
               comesToRest();
    });
    save(screen().scaledToWidth(kHelpWidth, Qt::SmoothTransformation), "help/calibration");
    windows_.pressKey(kEscape);
    end();
}

void ApplicationPictures::takePreview(const std::string& language, const std::string& name) {
    start({"--commands", "--xtest", "--calibrated", "--no-hand"}, "Language=" + language);
    comesToRest();
    hideUnitWindow();
    forget();
    program_.perform(kStrayLight);
    program_.perform("plug");
    // The check view's panel, and the window.
    awaitThat("The preview window did not come.", [this] { return fresh().size() == 2 && comesToRest(); });
    auto shown = fresh();
    std::ranges::sort(shown, {}, &ShownWindow::y);
    if (language == "en")
        save(pictureOf({shown.front()}), "help/check-panel");
    program_.perform("hold 500 300 20000");
    const QImage without = pictureOf({shown.back()});
    windows_.pressKey(kReturn);
    awaitThat("No picture came.", [&] { return pictureOf({shown.back()}) != without && comesToRest(); });
    save(pictureOf({shown.back()}), name);
    if (language == "en")
        save(pictureOf({shown.back()}), "preview");
    end();
}

// Its small bright things are lights without the camera's filter.
void ApplicationPictures::hideUnitWindow() {
    for (const ShownWindow& window : windows_.shown(program_.processId()))
        if (window.height > XTrayPanel::kHeight)
            windows_.hide(window);
}

void ApplicationPictures::openHome(int page) {
    forget();
    requireNone(askRunningApplication("LightPenNX7-emulated", "show"));
    awaitThat("The window did not come.", [this] { return fresh().size() == 1 && comesToRest(); });
    for (int i = 0; i < page; ++i)
        windows_.pressKey(kDown);
    comesToRest();
}

void ApplicationPictures::pressNext() {
    windows_.pressKey(kTab);
    windows_.pressKey(kSpace);
}

void ApplicationPictures::takeHome(const std::string& language, const std::string& name) {
    start(kPlugged, "Language=" + language);
    awaitThat("The unit was not taken into use.", [this] { return program_.isIn("ready=yes"); });
    hideUnitWindow();
    openHome(kCalibrationPage);
    save(pictureOf(fresh()), name);
    end();
}

void ApplicationPictures::takePenTrial() {
    start({"--commands", "--xtest", "--plugged"}, "");
    choose(kCalibration);
    awaitThat("The calibration was not completed.", [this] {
        return program_.log().find("calibrationDidComplete") != std::string::npos &&
               program_.isIn("ready=yes") && comesToRest();
    });
    hideUnitWindow();
    openHome(kPenTrialPage);
    write("Pen", placeOf(fresh().front()));
    save(pictureOf(fresh()), "canvas");
    pressNext();
    const QRect whole = screen().rect();
    awaitThat("The crosses did not come.", [&] {
        const auto shown = fresh();
        return !shown.empty() && placeOf(shown.back()) == whole && comesToRest();
    });
    const PenTrial trial({double(whole.width()), double(whole.height())});
    for (const ScreenPoint& cross : trial.crosses()) {
        const auto place = " " + std::to_string(int(cross.x)) + " " + std::to_string(int(cross.y));
        require(program_.perform("tap" + place) && program_.perform("wait"), "The pen touched nothing.");
    }
    comesToRest();
    save(screen().scaledToWidth(kHelpWidth, Qt::SmoothTransformation), "pen-trial");
    windows_.pressKey(kEscape);
    end();
}

void ApplicationPictures::takeUnitView() {
    start(kPlugged, "");
    awaitThat("The unit was not taken into use.", [this] { return program_.isIn("ready=yes"); });
    hideUnitWindow();
    openHome(kUnitPage);
    const auto shown = fresh();
    const QImage without = pictureOf(shown);
    pressNext();
    awaitThat("No picture came.", [&] {
        return program_.log().find("return image: <") != std::string::npos && pictureOf(shown) != without &&
               comesToRest();
    });
    save(pictureOf(shown), "unit-view");
    end();
}

void ApplicationPictures::takeSettings() {
    start(kPlugged, "");
    awaitThat("The unit was not taken into use.", [this] { return program_.isIn("ready=yes"); });
    hideUnitWindow();
    openHome(kSettingsPage);
    save(pictureOf(fresh()), "settings");
    end();
}

// The word begins in the middle, since the list of the pages stands at the left.
void ApplicationPictures::write(const std::string& word, const QRect& place) {
    const double height = kLetterShare * place.height();
    double left = place.center().x() - height / 2;
    const double top = place.center().y() - height / 2;
    for (const char letter : word) {
        const Glyph glyph = glyphOf(letter);
        for (const GlyphStroke& stroke : glyph.strokes) {
            std::string command = "drag";
            for (const GlyphPoint& point : stroke)
                command += ' ' + std::to_string(std::lround(left + height * point.x)) + ' ' +
                           std::to_string(std::lround(top + height * point.y));
            require(program_.perform(command) && program_.perform("wait"), "The pen wrote nothing.");
        }
        left += height * glyph.advance;
    }
    comesToRest();
}

QImage ApplicationPictures::screen() {
    const auto picture = eyes_->look();
    if (!picture)
        return {};
    return QImage(picture->bytes.data(), picture->width, picture->height,
                  static_cast<qsizetype>(picture->stride), QImage::Format_RGB32)
        .copy();
}

QImage ApplicationPictures::pictureOf(const std::vector<ShownWindow>& shown) {
    QRect place;
    for (const ShownWindow& window : shown)
        place = place.united(placeOf(window));
    return screen().copy(place);
}

void ApplicationPictures::save(const QImage& picture, const std::string& name) {
    const std::string file = (output_ / (name + ".png")).string();
    constexpr int kSmallest = 0; // of Qt's qualities for PNG
    require(picture.save(QString::fromStdString(file), "PNG", kSmallest), file + " cannot be written");
}

} // namespace lightpen
