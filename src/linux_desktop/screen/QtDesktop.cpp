// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/QtDesktop.h"

#include <algorithm>
#include <utility>

#include <QGuiApplication>
#include <QScreen>

#include "linux_desktop/screen/XConnection.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// While there is no screen Qt keeps one without a size.
QList<QScreen*> realScreens() {
    auto all = QGuiApplication::screens();
    all.removeIf([](const QScreen* screen) { return screen->geometry().isEmpty(); });
    return all;
}

// The size of the whole X desktop, which can be larger than what its screens show; empty elsewhere.
QSize xDesktopSize() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return {};
    const auto request = xcb_get_geometry(x11->connection(), rootOf(x11->connection()));
    const auto reply = owned(xcb_get_geometry_reply(x11->connection(), request, nullptr));
    return reply ? QSize(reply->width, reply->height) : QSize();
}

// Wayland's desktop is laid out in points; the others' in pixels.
bool layoutIsInPoints() {
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

double pixelsPerPoint(const QScreen& screen) {
    return layoutIsInPoints() ? 1.0 : screen.devicePixelRatio();
}

// Qt scales a screen's size to points but leaves its origin where the window system has put it.
QRect pixelRect(const QScreen& screen) {
    const QRect points = screen.geometry();
    return {points.topLeft(), (QSizeF(points.size()) * pixelsPerPoint(screen)).toSize()};
}

PixelRect wholeDesktop() {
    if (const QSize size = xDesktopSize(); !size.isEmpty())
        return {0, 0, size.width(), size.height()};
    QRect whole;
    for (const QScreen* screen : realScreens())
        whole |= pixelRect(*screen);
    return {whole.x(), whole.y(), whole.width(), whole.height()};
}

int quarterTurnsUnderWayland(const QScreen& screen) {
    switch (screen.orientation()) {
    case Qt::PortraitOrientation:
        return 1;
    case Qt::InvertedLandscapeOrientation:
        return 2;
    case Qt::InvertedPortraitOrientation:
        return 3;
    default:
        return 0;
    }
}

QScreen* screenNamed(const std::string& name) {
    const auto screens = realScreens();
    const auto found = std::ranges::find_if(
        screens, [&](const QScreen* screen) { return screen->name().toStdString() == name; });
    return found == screens.end() ? nullptr : *found;
}

std::string namesOfScreens() {
    QStringList names;
    for (const QScreen* screen : realScreens())
        names += screen->name();
    return names.join(QStringLiteral(", ")).toStdString();
}

} // namespace

QtDesktop::QtDesktop(const UserDefaults& defaults, SharedGeometry& geometry, std::string chosen,
                     std::unique_ptr<PrimaryOutput> primary)
    : defaults_(defaults), geometry_(geometry), chosen_(std::move(chosen)), primary_(std::move(primary)) {
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
        watch(*screen);
        update();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this] { update(); });
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, [this] { update(); });
    primary_->setObserver([this] { update(); });
    for (QScreen* screen : QGuiApplication::screens())
        watch(*screen);
    update();
}

void QtDesktop::watch(QScreen& screen) {
    const auto again = [this] { update(); };
    connect(&screen, &QScreen::geometryChanged, this, again);
    connect(&screen, &QScreen::virtualGeometryChanged, this, again);
    connect(&screen, &QScreen::logicalDotsPerInchChanged, this, again);
    connect(&screen, &QScreen::orientationChanged, this, again);
}

int QtDesktop::quarterTurnsOf(const QScreen& screen) const {
    return layoutIsInPoints() ? quarterTurnsUnderWayland(screen)
                              : rotations_.quarterTurnsOf(screen.name().toStdString());
}

std::vector<Screen> QtDesktop::screens() const {
    std::vector<Screen> all;
    const QScreen* main = mainScreen();
    if (!main)
        return all;
    for (const QScreen* screen : realScreens()) {
        const QRect points = screen->geometry();
        const QPointF corner = QPointF(points.topLeft() - main->geometry().topLeft()) / pixelsPerPoint(*main);
        all.insert(screen == main ? all.begin() : all.end(),
                   {screen->name().toStdString(),
                    {{corner.x(), corner.y()}, {double(points.width()), double(points.height())}},
                    quarterTurnsOf(*screen)});
    }
    return all;
}

std::string QtDesktop::chosenName() const {
    return chosen_.empty() ? textForKey(defaults_, kMainScreenKey) : chosen_;
}

QScreen* QtDesktop::mainScreen() const {
    for (const std::string& name : {chosenName(), primary_->name()})
        if (QScreen* screen = name.empty() ? nullptr : screenNamed(name))
            return screen;
    const auto screens = realScreens();
    QScreen* const primary = QGuiApplication::primaryScreen();
    if (screens.isEmpty())
        return nullptr;
    return screens.contains(primary) ? primary : screens.front();
}

// A screen that is not there yet, or any more, may well come: a projector is plugged in after the login.
void QtDesktop::tellOfChosen() {
    const std::string name = chosenName();
    const std::string missing = name.empty() || screenNamed(name) ? "" : name;
    if (missing == std::exchange(missing_, missing) || missing.empty())
        return;
    logLine("Screen: there is no screen called \"%s\" now (there are: %s); until it comes, the desktop's "
            "primary one counts",
            missing.c_str(), namesOfScreens().c_str());
}

// Where nobody says, Qt takes the first screen that was announced.
void QtDesktop::tellOfGuess() {
    const bool guess =
        primary_->isAsked() && primary_->name().empty() && chosenName().empty() && realScreens().size() > 1;
    const std::string names = guess ? namesOfScreens() : "";
    if (names == std::exchange(guessedAmong_, names) || names.empty())
        return;
    logLine(
        "Screen: there are several (%s) and the desktop does not say which is the primary one; \"%s\" counts "
        "until --screen NAME or the setting \"%s\" names one",
        names.c_str(), mainScreen()->name().toStdString().c_str(), kMainScreenKey.data());
}

// It is no desktop for a lesson, so this is only said.
void QtDesktop::tellOfOnePointersOutput() {
    const auto all = screens();
    if (toldOfOneOutput_ || !primary_->pointersHaveOneOutput() || all.empty() ||
        (all.size() == 1 && all.front().quarterTurns == 0))
        return;
    toldOfOneOutput_ = true;
    logLine(
        "Screen: this compositor (weston) is supported with one screen that is not turned; with these the "
        "pen misses its place");
}

void QtDesktop::update() {
    const bool started = std::exchange(started_, true);
    rotations_.look();
    tellOfChosen();
    tellOfGuess();
    tellOfOnePointersOutput();
    const QScreen* main = mainScreen();
    const std::vector<Screen> screens = this->screens();
    const PointerGeometry geometry = main ? PointerGeometry({main->geometry().x(), main->geometry().y()},
                                                            pixelsPerPoint(*main), wholeDesktop())
                                          : PointerGeometry();
    if (screens == screens_ && geometry == geometry_.load())
        return;
    const auto first = [](const std::vector<Screen>& all) {
        return all.empty() ? std::nullopt : std::optional(all.front());
    };
    const auto now = first(screens), before = first(screens_);
    if (beforeMainScreenChanges && (now != before || geometry != geometry_.load()))
        beforeMainScreenChanges();
    if (started && now && now != before)
        logLine("Screen: the picture is on \"%s\", %g x %g points", now->name.c_str(), now->frame.size.width,
                now->frame.size.height);
    screens_ = screens;
    frame_.store(now ? std::optional(now->frame) : std::nullopt);
    geometry_.store(geometry);
    if (afterChange)
        afterChange();
}

} // namespace lightpen
