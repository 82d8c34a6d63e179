// SPDX-License-Identifier: MIT
#include "webcam/sight/SpotFinder.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "webcam/sight/LevelCounts.h"

namespace lightpen::webcam {

namespace {

constexpr int kWhite = 255;
// The unit's usual threshold is 512.
constexpr int kThresholdOfLevel = 512 / SpotFinder::kUsualLevel;
constexpr int kLeastLevel = 8;
constexpr int kMostLevel = 128;

// Pictures that are all taken for what is there without a pen: an exposure takes some to arrive.
constexpr int kSettling = 10;
// So many pictures after something that was no spot, a spot has to be seen twice.
constexpr int kUnrest = 30;
// How far a pen moves from one picture to the next, as a part of the picture's width.
constexpr int kReachPart = 12;
constexpr double kLeastReach = 24;
// How wide a pen's light is at most, as a part of the picture's width.
constexpr int kWidthPart = 48;
constexpr double kLeastWidth = 10;
// With more cells than this that are brighter than before, and more than this part of all, much is new.
constexpr int kFewCells = 24;
constexpr int kFewPart = 100;
// A pen that comes down may already move; one that is followed may draw a long line in a dim room.
constexpr double kFirstFlatness = 4;
constexpr double kFollowedFlatness = 20;
// Of two spots the brighter one is the pen's when it has so many times the light, and the other its
// reflection.
constexpr double kReflection = 3;
// A spot stands out when it is so many times as bright as anything else that is new.
constexpr double kStandsOut = 2;
// Of spots that are followed and have nearly the same light, the nearest to where the pen was going.
constexpr double kNearlyAsBright = 0.7;
// What is so bright is no displayed thing, or the exposure is far too long.
constexpr int kLightLevel = 250;
// What the screen shows has so many cells of the picture at least, and this part of all; a pen's light has
// fewer.
constexpr int kShownCells = 9;
constexpr int kShownPart = 50;
constexpr double kShownFades = 1.0 / 60; // a picture
// A blind place has so many cells at least, and this part of all. A pen that was there from the start has
// fewer.
constexpr int kBlindCells = 5;
constexpr int kBlindPart = 300;
// How far a lamp's spot seems to move, in pixels.
constexpr double kStillReach = 1;

double light(const Spot& spot) {
    return spot.peak * spot.size * spot.size;
}

double distance(const Spot& spot, double x, double y) {
    return std::hypot(spot.x - x, spot.y - y);
}

// A line of a slide may have more light than a pen, but not as bright a one.
void keepBright(std::vector<Spot>& spots) {
    double peak = 0;
    for (const Spot& spot : spots)
        peak = std::max(peak, spot.peak);
    std::erase_if(spots, [&](const Spot& spot) { return kStandsOut * spot.peak < peak; });
}

const Spot& brightest(const std::vector<Spot>& spots) {
    return *std::max_element(spots.begin(), spots.end(),
                             [](const Spot& a, const Spot& b) { return light(a) < light(b); });
}

double reachOf(int width) {
    return std::max(kLeastReach, static_cast<double>(width) / kReachPart);
}

} // namespace

int levelOfThreshold(std::uint16_t threshold) {
    return std::clamp(threshold / kThresholdOfLevel, kLeastLevel, kMostLevel);
}

void SpotFinder::setThreshold(int level) {
    level_ = std::clamp(level, 1, kWhite);
}

void SpotFinder::forget() {
    width_ = 0;
    height_ = 0;
    tracked_.reset();
    pending_.reset();
}

std::optional<Spot> SpotFinder::find(const GreyView& picture, Microseconds taken) {
    if (taken - taken_ > kPatience) {
        tracked_.reset();
        pending_.reset();
    }
    taken_ = taken;
    if (!picture.whole())
        return lose(std::nullopt);
    if (picture.width != width_ || picture.height != height_)
        begin(picture);
    if (settling_ > 0) {
        settle(picture);
        return std::nullopt;
    }
    if (tracked_)
        if (const auto spot = follow(picture))
            return accept(*spot);
    return search(picture);
}

void SpotFinder::begin(const GreyView& picture) {
    forget();
    width_ = picture.width;
    height_ = picture.height;
    cells_.resize(width_, height_);
    backdrop_.resize(width_, height_);
    settling_ = kSettling;
    unrest_ = 0;
    shown_ = 0;
}

void SpotFinder::settle(const GreyView& picture) {
    --settling_;
    cells_.measure(picture, cells_.whole());
    for (int row = 0; row < cells_.rows(); ++row)
        for (int column = 0; column < cells_.columns(); ++column)
            if (cells_.brightest(column, row) > cells_.before(column, row))
                cells_.setBefore(column, row, cells_.brightest(column, row));
    backdrop_.learn(picture, cells_.whole(), {});
    noteShown();
}

SpotLimits SpotFinder::limitsOf(bool followed) const {
    const double width = std::max(kLeastWidth, static_cast<double>(width_) / kWidthPart);
    const double length = std::max(width * kFirstFlatness, followed ? 1.5 * reachOf(width_) : 0.0);
    return {followed ? (level_ + 1) / 2 : level_, width, length,
            followed ? kFollowedFlatness : kFirstFlatness};
}

std::optional<Spot> SpotFinder::follow(const GreyView& picture) {
    const double steps = tracked_->dark + 1;
    const double x = tracked_->spot.x + steps * tracked_->stepX;
    const double y = tracked_->spot.y + steps * tracked_->stepY;
    const double reach = reachOf(width_);
    const CellGrid::Area area = cells_.around(x, y, reach);
    cells_.measure(picture, area);
    findHot(area, limitsOf(true).level);
    lookAtHot(picture, area, limitsOf(true));
    auto& spots = sighting_.spots;
    std::erase_if(spots, [&](const Spot& spot) { return distance(spot, x, y) > reach; });
    if (spots.empty())
        return std::nullopt;
    keepBright(spots);
    learn(area, limitsOf(true).level, false);
    const double enough = kNearlyAsBright * light(brightest(spots));
    std::erase_if(spots, [&](const Spot& spot) { return light(spot) < enough; });
    const Spot spot = *std::min_element(spots.begin(), spots.end(), [&](const Spot& a, const Spot& b) {
        return distance(a, x, y) < distance(b, x, y);
    });
    backdrop_.learnAround(picture, area, spot);
    return spot;
}

// The one spot that stands out of everything else that is new in the whole picture.
std::optional<Spot> SpotFinder::search(const GreyView& picture) {
    unrest_ = std::max(unrest_ - 1, 0);
    const SpotLimits limits = limitsOf(tracked_.has_value());
    const CellGrid::Area area = cells_.whole();
    cells_.measure(picture, area);
    noteShown();
    findHot(area, limits.level);
    const bool few = hot_.size() <= static_cast<std::size_t>(std::max(kFewCells, cells_.count() / kFewPart));
    std::optional<Spot> found;
    if (few) {
        lookAtHot(picture, area, limits);
        keepBright(sighting_.spots);
        found = standsOut();
    }
    if (found && !tracked_ && !outshines(*found))
        found.reset();
    const bool refused = !few || sighting_.other > 0 || (!found && !sighting_.spots.empty());
    if (refused)
        unrest_ = kUnrest;
    learn(area, limits.level, refused && !found);
    backdrop_.learn(picture, area, hot_);
    if (tracked_ && found && distance(*found, tracked_->spot.x, tracked_->spot.y) <= 2 * reachOf(width_))
        return accept(*found);
    if (tracked_)
        return lose(found);
    return begins(found);
}

std::optional<Spot> SpotFinder::standsOut() const {
    if (sighting_.spots.empty())
        return std::nullopt;
    const Spot& best = brightest(sighting_.spots);
    if (best.peak < kStandsOut * sighting_.other)
        return std::nullopt;
    for (const Spot& spot : sighting_.spots)
        if (&spot != &best && light(best) < kReflection * light(spot))
            return std::nullopt;
    return best;
}

// Whether it is brighter than what the screen shows.
bool SpotFinder::outshines(const Spot& spot) const {
    const CellGrid::Area area = cells_.around(spot.x, spot.y, 0);
    int level = 0;
    for (int row = area.top; row < area.bottom; ++row)
        for (int column = area.left; column < area.right; ++column)
            level = std::max(level, cells_.brightest(column, row));
    return level >= std::min(shown_ + level_ / 2.0, static_cast<double>(kLightLevel));
}

// A spot that is strong in a quiet picture is one at once; others are when the next picture has them too.
std::optional<Spot> SpotFinder::begins(const std::optional<Spot>& spot) {
    const auto before = pending_;
    pending_ = spot;
    if (!spot)
        return std::nullopt;
    const bool sure = unrest_ == 0 && spot->peak >= 2 * level_;
    const bool again = before && distance(*spot, before->x, before->y) <= reachOf(width_) &&
                       2 * spot->peak >= before->peak && 2 * before->peak >= spot->peak;
    if (!sure && !again)
        return std::nullopt;
    return accept(*spot);
}

std::optional<Spot> SpotFinder::accept(const Spot& spot) {
    Track track{spot};
    if (tracked_) {
        track.stepX = spot.x - tracked_->spot.x;
        track.stepY = spot.y - tracked_->spot.y;
    } else {
        rest_ = {taken_, spot.x, spot.x, spot.y, spot.y};
    }
    tracked_ = track;
    pending_.reset();
    if (!keptStill(spot))
        return spot;
    tracked_.reset();
    learnLamp(spot);
    return std::nullopt;
}

// One dark picture may be a fault of the camera. A spot that is somewhere else is another touch.
std::optional<Spot> SpotFinder::lose(const std::optional<Spot>& elsewhere) {
    pending_ = elsewhere;
    if (tracked_ && (elsewhere || ++tracked_->dark >= 2))
        tracked_.reset();
    return std::nullopt;
}

bool SpotFinder::keptStill(const Spot& spot) {
    rest_.left = std::min(rest_.left, spot.x);
    rest_.right = std::max(rest_.right, spot.x);
    rest_.top = std::min(rest_.top, spot.y);
    rest_.bottom = std::max(rest_.bottom, spot.y);
    if (std::max(rest_.right - rest_.left, rest_.bottom - rest_.top) > kStillReach)
        rest_ = {taken_, spot.x, spot.x, spot.y, spot.y};
    return taken_ - rest_.since >= kStill;
}

void SpotFinder::learnLamp(const Spot& spot) {
    const CellGrid::Area area = cells_.around(spot.x, spot.y, spot.size);
    for (int row = area.top; row < area.bottom; ++row)
        for (int column = area.left; column < area.right; ++column)
            cells_.setBefore(column, row, kWhite);
}

void SpotFinder::lookAtHot(const GreyView& picture, const CellGrid::Area& area, const SpotLimits& limits) {
    sighting_.spots.clear();
    sighting_.other = 0;
    for (const Cell& cell : hot_) {
        if (!isTop(cell, area))
            continue;
        const double excess = cells_.brightest(cell.column, cell.row) - cells_.before(cell.column, cell.row);
        if (const auto spot = spotOf(picture, cell, limits))
            sighting_.spots.push_back(*spot);
        else
            sighting_.other = std::max(sighting_.other, excess);
    }
}

// The spot of a cell, without the slide behind it. What is not found so is looked for in the picture as it
// is: the slide that is taken off has its own noise.
std::optional<Spot> SpotFinder::spotOf(const GreyView& picture, const Cell& cell, const SpotLimits& limits) {
    const CellGrid::Pixel pixel = cells_.brightestPixel(picture, cell.column, cell.row);
    const int around = surroundingsReach(limits);
    const bool behind = backdrop_.isBehind(picture, pixel, around);
    if (!behind && tracked_ && !mayBeTracked(cell, backdrop_.guess(picture, pixel, around)))
        return std::nullopt;
    if (behind || tracked_) {
        const int reach = static_cast<int>(std::ceil(limits.length)) + Backdrop::kMoved;
        const Backdrop::Part part = backdrop_.takenOff(picture, pixel, reach);
        if (const auto spot = spotAt(part.view, part.brightest.x, part.brightest.y, limits))
            return Spot{spot->x + part.left, spot->y + part.top, spot->size,
                        std::max(spot->peak, static_cast<double>(part.height))};
    }
    return spotAt(picture, pixel.x, pixel.y, limits);
}

// While the slide is another than before, only a pen that is followed is known to be there. It has to be
// nearly as bright as it was, or as it could be above this level: things of the new slide may stand out as
// well.
bool SpotFinder::mayBeTracked(const Cell& cell, int level) const {
    const double most = std::min(tracked_->spot.peak, static_cast<double>(kWhite - level));
    return cells_.brightest(cell.column, cell.row) - level >= most / 2;
}

void SpotFinder::findHot(const CellGrid::Area& area, int level) {
    hot_.clear();
    for (int row = area.top; row < area.bottom; ++row)
        for (int column = area.left; column < area.right; ++column)
            if (cells_.brightest(column, row) > cells_.before(column, row) + level)
                hot_.push_back({column, row});
}

// Whether no cell beside it is brighter; of equals the first one counts. Cells beyond the area are of the
// past.
bool SpotFinder::isTop(const Cell& cell, const CellGrid::Area& area) const {
    const int own = cells_.brightest(cell.column, cell.row);
    const int right = std::min(cell.column + 2, area.right);
    const int bottom = std::min(cell.row + 2, area.bottom);
    for (int row = std::max(cell.row - 1, area.top); row < bottom; ++row)
        for (int column = std::max(cell.column - 1, area.left); column < right; ++column) {
            const bool earlier = row < cell.row || (row == cell.row && column < cell.column);
            const int other = cells_.brightest(column, row);
            if (other > own || (other == own && earlier))
                return false;
        }
    return true;
}

// How bright the screen shows things, as far as the camera can tell: the level that a share of the cells has
// at least. It fades slowly, since a dark slide says nothing about the next one. White is a lamp's or the
// sun's.
void SpotFinder::noteShown() {
    LevelCounts counts{};
    for (int row = 0; row < cells_.rows(); ++row)
        for (int column = 0; column < cells_.columns(); ++column)
            ++counts[static_cast<std::size_t>(cells_.brightest(column, row))];
    const int level = brightestBut(counts, std::max(kShownCells, cells_.count() / kShownPart));
    shown_ = std::max(shown_ - kShownFades, level < kLightLevel ? level : 0.0);
}

// What is darker than before is followed down within a second or two, so that a video's brightest pictures
// are remembered. What is brighter is followed by one level a picture. Where it is no spot it is believed
// sooner, but not as far as that a pen's white could not be told from it: the pen may come down in the midst
// of it.
void SpotFinder::learn(const CellGrid::Area& area, int level, bool refused) {
    const int room = std::max(kWhite - 1 - level_, 0);
    for (int row = area.top; row < area.bottom; ++row)
        for (int column = area.left; column < area.right; ++column) {
            const int now = cells_.brightest(column, row);
            int before = cells_.before(column, row);
            const bool hot = now > before + level;
            if (now < before)
                before -= std::max(1, (before - now) / 32);
            else if (hot && refused)
                before = std::max(before + 1, std::min((before + now + 1) / 2, room));
            else if (!hot && now > before)
                ++before;
            cells_.setBefore(column, row, before);
        }
}

// The largest group of cells in which not even white would stand out.
std::optional<Spot> SpotFinder::blindPlace() const {
    const int least = std::max(kBlindCells, cells_.count() / kBlindPart);
    std::vector<bool> taken(static_cast<std::size_t>(cells_.count()));
    std::vector<Cell> largest;
    for (int row = 0; row < cells_.rows(); ++row)
        for (int column = 0; column < cells_.columns(); ++column) {
            std::vector<Cell> group = blindGroup({column, row}, taken);
            if (group.size() > largest.size())
                largest.swap(group);
        }
    if (largest.size() < static_cast<std::size_t>(least))
        return std::nullopt;
    Spot place;
    for (const Cell& cell : largest) {
        place.x += (cell.column + 0.5) * CellGrid::kSide / static_cast<double>(largest.size());
        place.y += (cell.row + 0.5) * CellGrid::kSide / static_cast<double>(largest.size());
    }
    place.size = CellGrid::kSide * std::sqrt(static_cast<double>(largest.size()) * 4 / std::numbers::pi);
    place.peak = kWhite;
    return place;
}

// The blind cells that hang together with this one, which are then taken; none when it is taken or not blind.
std::vector<SpotFinder::Cell> SpotFinder::blindGroup(const Cell& first, std::vector<bool>& taken) const {
    std::vector<Cell> group;
    const auto take = [&](int column, int row) {
        const auto index = static_cast<std::size_t>(row * cells_.columns() + column);
        if (taken[index] || cells_.before(column, row) + level_ < kWhite)
            return;
        taken[index] = true;
        group.push_back({column, row});
    };
    take(first.column, first.row);
    std::size_t next = 0;
    while (next < group.size()) {
        const Cell cell = group[next++];
        if (cell.column > 0)
            take(cell.column - 1, cell.row);
        if (cell.column + 1 < cells_.columns())
            take(cell.column + 1, cell.row);
        if (cell.row > 0)
            take(cell.column, cell.row - 1);
        if (cell.row + 1 < cells_.rows())
            take(cell.column, cell.row + 1);
    }
    return group;
}

} // namespace lightpen::webcam
