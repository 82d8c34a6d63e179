// SPDX-License-Identifier: MIT
#include "measure/ApplicationPictures.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <QFile>
#include <QRect>

#include "measure/desktop/Patience.h"

namespace lightpen {

namespace {

constexpr std::uint8_t kReturn = 36, kRight = 114, kDown = 116, kEscape = 9;
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
    if (!eyes_)
        throw std::runtime_error(problem);
    std::filesystem::create_directories(output_ / "help");
}

std::string ApplicationPictures::take() {
    for (const auto& [identifier, name] : kMenus)
        if (std::string problem = takeMenu(identifier, name); !problem.empty())
            return problem;
    if (std::string problem = takeWindows(); !problem.empty())
        return problem;
    if (std::string problem = takeCalibration(); !problem.empty())
        return problem;
    for (const auto& [identifier, name] : kPreviews)
        if (std::string problem = takePreview(identifier, name); !problem.empty())
            return problem;
    return {};
}

template <class Condition>
bool ApplicationPictures::comes(Condition condition) {
    return comesTrue([&] {
        tray_.handleEvents();
        return condition();
    });
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

std::string ApplicationPictures::start(const std::vector<std::string>& options, const std::string& settings) {
    home_ = std::make_unique<QTemporaryDir>();
    const std::filesystem::path home = home_->path().toStdString();
    std::filesystem::create_directories(home / "config/LightPenNX7");
    QFile file(QString::fromStdString((home / "config/LightPenNX7/settings.ini").string()));
    if (!file.open(QIODevice::WriteOnly) || file.write(("[General]\n" + settings + "\n").c_str()) < 0)
        return "no settings can be written below " + home.string();
    file.close();
    std::string problem = program_.start(options, environmentOf(home));
    if (!problem.empty())
        return problem;
    if (!comes([this] { return tray_.hasIcon() || !program_.running(); }) || !program_.running())
        return "The application's icon did not come. It said:\n" + program_.log();
    return {};
}

void ApplicationPictures::end() {
    program_.perform("quit");
    program_.waitForEnd();
    comes([this] { return !tray_.hasIcon(); });
}

std::vector<ShownWindow> ApplicationPictures::fresh() {
    auto shown = windows_.shown(program_.processId());
    std::erase_if(shown, [this](const ShownWindow& window) {
        return std::find(known_.begin(), known_.end(), window) != known_.end();
    });
    return shown;
}

std::string ApplicationPictures::openMenu() {
    if (!comes([this] { return program_.isIn("ready=yes"); }))
        return "The unit was not taken into use. The application said:\n" + program_.log();
    comesToRest();
    forget();
    windows_.click(tray_.iconX(), XTrayPanel::iconY(), kRightButton);
    return comes([this] { return !fresh().empty(); }) ? "" : "The menu did not open.";
}

std::string ApplicationPictures::choose(int entry) {
    if (std::string problem = openMenu(); !problem.empty())
        return problem;
    for (int i = 0; i < entry; ++i)
        windows_.pressKey(kDown);
    windows_.pressKey(kReturn);
    return {};
}

std::string ApplicationPictures::takeMenu(const std::string& language, const std::string& name) {
    std::string problem = start(kPlugged, "Language=" + language);
    if (problem.empty())
        problem = openMenu();
    if (!problem.empty())
        return problem;
    comesToRest();
    if (language == "en")
        problem = save(pictureOf(fresh()), "help/menu");
    for (int i = 0; i < kLanguage; ++i)
        windows_.pressKey(kDown);
    windows_.pressKey(kRight);
    if (!comes([this] { return fresh().size() == 2; }))
        return "The menu of the languages did not open.";
    comesToRest();
    if (problem.empty())
        problem = save(pictureOf(fresh()), name);
    windows_.pressKey(kEscape);
    windows_.pressKey(kEscape);
    end();
    return problem;
}

std::string ApplicationPictures::takeWindows() {
    auto options = kPlugged;
    options.insert(options.end(), {"--wireless", "0"});
    std::string problem = start(options, "");
    if (problem.empty())
        problem = choose(kAbout);
    if (problem.empty() && !comes([this] { return fresh().size() == 1 && comesToRest(); }))
        problem = "The about panel did not come.";
    if (problem.empty())
        problem = save(pictureOf(fresh()), "about");
    end();
    if (!problem.empty())
        return problem;
    known_.clear();
    if (problem = start(kPlugged, "Debug%20Window=true"); !problem.empty())
        return problem;
    if (!comes([this] { return program_.log().find("value deviceDidAddCallback") != std::string::npos; }) ||
        !comesToRest())
        return "The unit was not taken into use.";
    // The smaller one of the two: the other is the unit's.
    auto shown = windows_.shown(program_.processId());
    std::erase_if(shown, [](const ShownWindow& window) { return window.height <= XTrayPanel::kHeight; });
    if (shown.empty())
        return "The debug window did not come.";
    problem = save(pictureOf({*std::min_element(shown.begin(), shown.end(),
                                                [](const ShownWindow& one, const ShownWindow& other) {
                                                    return one.width < other.width;
                                                })}),
                   "debug");
    end();
    return problem;
}

std::string ApplicationPictures::takeCalibration() {
    std::string problem = start(kPlugged, "");
    if (problem.empty())
        problem = choose(kCalibration);
    const auto covers = [this](const ShownWindow& window) { return placeOf(window) == screen().rect(); };
    const auto session = [&] {
        const auto shown = fresh();
        return std::any_of(shown.begin(), shown.end(), covers);
    };
    if (problem.empty() && (!comes(session) || !comesToRest()))
        problem = "The calibration did not come. The application said:\n" + program_.log();
    if (problem.empty())
        problem = save(screen().scaledToWidth(kHelpWidth, Qt::SmoothTransformation), "help/calibration");
    windows_.pressKey(kEscape);
    end();
    return problem;
}

std::string ApplicationPictures::takePreview(const std::string& language, const std::string& name) {
    std::string problem =
        start({"--commands", "--xtest", "--calibrated", "--no-hand"}, "Language=" + language);
    if (!problem.empty())
        return problem;
    comesToRest();
    // The unit's own window, whose small bright things the camera would see without its filter.
    for (const ShownWindow& window : windows_.shown(program_.processId()))
        if (window.height > XTrayPanel::kHeight)
            windows_.hide(window);
    forget();
    program_.perform(kStrayLight);
    program_.perform("plug");
    // The check view's panel, and the window.
    if (!comes([this] { return fresh().size() == 2; }) || !comesToRest())
        return "The preview window did not come. The application said:\n" + program_.log();
    auto shown = fresh();
    std::sort(shown.begin(), shown.end(),
              [](const ShownWindow& one, const ShownWindow& other) { return one.y < other.y; });
    if (language == "en")
        problem = save(pictureOf({shown.front()}), "help/check-panel");
    program_.perform("hold 500 300 20000");
    const QImage without = pictureOf({shown.back()});
    windows_.pressKey(kReturn);
    if (!comes([&] { return pictureOf({shown.back()}) != without; }) || !comesToRest())
        return "No picture came. The application said:\n" + program_.log();
    if (problem.empty())
        problem = save(pictureOf({shown.back()}), name);
    if (problem.empty() && language == "en")
        problem = save(pictureOf({shown.back()}), "preview");
    end();
    return problem;
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

std::string ApplicationPictures::save(const QImage& picture, const std::string& name) {
    const auto file = QString::fromStdString((output_ / (name + ".png")).string());
    constexpr int kSmallest = 0; // of Qt's qualities for PNG
    return picture.save(file, "PNG", kSmallest) ? "" : file.toStdString() + " cannot be written";
}

} // namespace lightpen
