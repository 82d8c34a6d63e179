// SPDX-License-Identifier: MIT
#include "calibration/Calibrator.h"

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using Coefficients = std::array<float, 8>;

// The same arithmetic by another way: each step in double precision and then rounded (which gives the
// correctly rounded single for +, -, * and /), rows exchanged by a table of row numbers.
class Reference {
public:
    Reference(const _KVRQuadPoints& quad, const ScreenRect& rect) {
        const double xs[] = {rect.origin.x, rect.origin.x + rect.size.width};
        const double ys[] = {rect.origin.y, rect.origin.y + rect.size.height};
        equations(quad.topLeft, xs[0], ys[0]);
        equations(quad.topRight, xs[1], ys[0]);
        equations(quad.bottomLeft, xs[0], ys[1]);
        equations(quad.bottomRight, xs[1], ys[1]);
    }

    Coefficients solve() {
        std::vector<std::size_t> order = {0, 1, 2, 3, 4, 5, 6, 7};
        for (std::size_t k = 0; k < 7; ++k) {
            std::size_t best = k;
            for (std::size_t i = k + 1; i < 8; ++i)
                best = std::abs(rows_[order[i]][k]) > std::abs(rows_[order[best]][k]) ? i : best;
            std::swap(order[k], order[best]);
            const std::vector<double>& pivot = rows_[order[k]];
            for (std::size_t i = k + 1; i < 8; ++i) {
                std::vector<double>& row = rows_[order[i]];
                const double factor = single(row[k] / pivot[k]);
                for (std::size_t j = k; j < 9; ++j)
                    row[j] = single(row[j] - single(pivot[j] * factor));
            }
        }
        std::vector<double> solution(8);
        for (std::size_t i = 8; i-- > 0;) {
            double rest = rows_[order[i]][8];
            for (std::size_t j = 7; j > i; --j)
                rest = single(rest - single(solution[j] * rows_[order[i]][j]));
            solution[i] = single(rest / rows_[order[i]][i]);
        }
        Coefficients result;
        for (std::size_t i = 0; i < 8; ++i)
            result[i] = static_cast<float>(solution[i]);
        return result;
    }

private:
    static double single(double value) { return static_cast<float>(value); }
    void equations(CameraPoint from, double x, double y) {
        addRow({from.x, from.y, 1, 0, 0, 0, -from.x * x, -from.y * x, x});
        addRow({0, 0, 0, from.x, from.y, 1, -from.x * y, -from.y * y, y});
    }
    void addRow(std::vector<double> row) {
        for (double& entry : row)
            entry = single(entry);
        rows_.push_back(std::move(row));
    }
    std::vector<std::vector<double>> rows_;
};

// The bit patterns; every not-a-number counts as the same one, since its sign is the processor's choice.
std::vector<std::uint32_t> bits(const Coefficients& coefficients) {
    std::vector<std::uint32_t> patterns;
    for (const float value : coefficients)
        patterns.push_back(std::bit_cast<std::uint32_t>(
            std::isnan(value) ? std::numeric_limits<float>::quiet_NaN() : value));
    return patterns;
}

void expectExact(const _KVRQuadPoints& quad, const ScreenRect& rect) {
    EXPECT_EQ(bits(Calibrator(quad, rect).vector()), bits(Reference(quad, rect).solve()))
        << NSStringFromPoint(quad.topLeft) << NSStringFromPoint(quad.topRight)
        << NSStringFromPoint(quad.bottomRight) << NSStringFromPoint(quad.bottomLeft)
        << NSStringFromRect(rect);
}

constexpr _KVRQuadPoints kKeystone{{312, 271}, {2201, 188.5}, {2390, 1702}, {164, 1633}};
constexpr ScreenRect kFullHD{{170, 75}, {1580, 930}};
// The camera on its side, before an upright screen.
constexpr _KVRQuadPoints kTurned{{2100.25, 140}, {2222, 1811}, {333, 1702.5}, {401, 99}};
constexpr ScreenRect kUpright{{170, 75}, {740, 1770}};

TEST(CalibratorTest, CoefficientsAreExactToTheBit) {
    EXPECT_THAT(bits(Calibrator(kKeystone, kFullHD).vector()),
                ElementsAre(0x3f7da660, 0x3e04dffb, 0xc3249d29, 0x3d2b073b, 0x3f5b5cac, 0xc325f817,
                            0x3885a84b, 0x390f8aec));
    EXPECT_THAT(bits(Calibrator(kTurned, kUpright).vector()),
                ElementsAre(0xbc173259, 0x3f07d625, 0x42f75365, 0xbf87564c, 0x3da8b483, 0x450efe2b,
                            0x37a242a5, 0x389251e8));
}

TEST(CalibratorTest, MappedPointsAreExactToTheBit) {
    const Calibrator calibrator(kKeystone, kFullHD);
    const ScreenPoint inside = calibrator.transformed({1277, 911});
    EXPECT_EQ(std::bit_cast<std::uint64_t>(inside.x), 0x408f94c2f4062ce7u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(inside.y), 0x40814ea3a7ff6764u);
    const ScreenPoint beside = calibrator.transformed({40, 1899});
    EXPECT_EQ(std::bit_cast<std::uint64_t>(beside.x), 0x40580bd6aac37198u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(beside.y), 0x40921af74ac2297au);
    const ScreenPoint turned = Calibrator(kTurned, kUpright).transformed({1000, 1000});
    EXPECT_EQ(std::bit_cast<std::uint64_t>(turned.x), 0x408282226d1c8467u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(turned.y), 0x4092d60c981c08b5u);
}

// Sums from the left, each step kept in memory so that no other order can come of it.
TEST(CalibratorTest, MappingAddsInItsOrder) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> x(-3000, 5000), y(-2000, 4000);
    for (const Calibrator& calibrator : {Calibrator(kKeystone, kFullHD), Calibrator(kTurned, kUpright)}) {
        const auto& v = calibrator.vector();
        const auto sum = [&v](std::size_t first, CameraPoint p, double last) {
            volatile const double byX = static_cast<double>(v[first]) * p.x;
            volatile const double byY = static_cast<double>(v[first + 1]) * p.y;
            volatile const double both = byX + byY;
            return both + last;
        };
        for (int i = 0; i < 2000; ++i) {
            const CameraPoint p{x(random), y(random)};
            volatile const float w = static_cast<float>(sum(6, p, 1));
            const ScreenPoint mapped = calibrator.transformed(p);
            EXPECT_EQ(mapped.x, sum(0, p, v[2]) / static_cast<double>(w));
            EXPECT_EQ(mapped.y, sum(3, p, v[5]) / static_cast<double>(w));
        }
    }
}

TEST(CalibratorTest, CoefficientsOfRandomQuadrilateralsAreExact) {
    std::mt19937 random(20240607);
    std::uniform_real_distribution<double> x(0, 2560), y(0, 1920), length(-2000, 4000);
    const auto corner = [&] { return CameraPoint{x(random), y(random)}; };
    for (int i = 0; i < 5000; ++i)
        expectExact({corner(), corner(), corner(), corner()},
                    {{length(random), length(random)}, {length(random), length(random)}});
}

// The unit reports whole numbers, which meet more ties between pivots.
TEST(CalibratorTest, CoefficientsOfWholeNumbersAreExact) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> x(0, 2560), y(0, 1920), few(-2, 2);
    const auto corner = [&] { return CameraPoint{double(x(random)), double(y(random))}; };
    const auto small = [&] { return CameraPoint{double(few(random)), double(few(random))}; };
    for (int i = 0; i < 3000; ++i) {
        expectExact({corner(), corner(), corner(), corner()}, kFullHD);
        expectExact({small(), small(), small(), small()}, {{1, -1}, {2, 1}});
    }
}

TEST(CalibratorTest, DegenerateQuadrilateralsAreNotFiniteInTheSamePlaces) {
    const CameraPoint p{700, 300}, q{900, 1100}, r{2000, 400};
    for (const _KVRQuadPoints& quad :
         std::vector<_KVRQuadPoints>{{p, p, p, p},
                                     {p, p, q, r},
                                     {p, q, p, r},
                                     {p, q, r, p},
                                     {{100, 100}, {200, 200}, {300, 300}, {100, 900}},
                                     {{100, 100}, {200, 200}, {300, 300}, {400, 400}},
                                     {{0, 0}, {2560, 0}, {1280, 0}, {640, 0}},
                                     {{0, 0}, {0, 0}, {0, 0}, {0, 0}},
                                     {{1e300, 1}, {2, -1e300}, {3, 3}, {4, 1}},
                                     {{std::numeric_limits<double>::quiet_NaN(), 1}, {2, 1}, {3, 3}, {4, 1}},
                                     {{std::numeric_limits<double>::infinity(), 1}, {2, 1}, {3, 3}, {4, 1}}})
        for (const ScreenRect& rect : {kFullHD, kUpright, ScreenRect{}})
            expectExact(quad, rect);
}

TEST(CalibratorTest, FourEqualCornersMapToNothingFiniteWithoutAnError) {
    const RecordingLog log;
    const Calibrator calibrator({{640, 480}, {640, 480}, {640, 480}, {640, 480}}, kFullHD);
    EXPECT_THAT(log.lines(), testing::IsEmpty());
    const ScreenPoint mapped = calibrator.mapPointFrom({640, 480});
    EXPECT_FALSE(std::isfinite(mapped.x));
    EXPECT_FALSE(std::isfinite(mapped.y));
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(CalibratorTest, CornersMapToTheirOwnCorners) {
    for (const auto& [quad, rect] : {std::pair(kKeystone, kFullHD), std::pair(kTurned, kUpright)}) {
        const Calibrator calibrator(quad, rect);
        const double right = rect.origin.x + rect.size.width;
        const double bottom = rect.origin.y + rect.size.height;
        const std::pair<CameraPoint, ScreenPoint> pairs[] = {{quad.topLeft, rect.origin},
                                                             {quad.topRight, {right, rect.origin.y}},
                                                             {quad.bottomRight, {right, bottom}},
                                                             {quad.bottomLeft, {rect.origin.x, bottom}}};
        for (const auto& [camera, screen] : pairs) {
            const ScreenPoint mapped = calibrator.transformed(camera);
            EXPECT_NEAR(mapped.x, screen.x, 0.01);
            EXPECT_NEAR(mapped.y, screen.y, 0.01);
        }
    }
}

TEST(CalibratorTest, PointsOutsideAreMappedOutsideAndStillCountAsInside) {
    const Calibrator calibrator(kKeystone, kFullHD);
    for (const CameraPoint point : {CameraPoint{0, 0}, {2560, 1920}, {4294967295.0, 4294967295.0}})
        EXPECT_TRUE(calibrator.pointInside(point));
    EXPECT_LT(calibrator.transformed({0, 0}).x, 170);
    EXPECT_LT(calibrator.transformed({0, 0}).y, 75);
    EXPECT_GT(calibrator.transformed({2560, 1920}).x, 1750);
    EXPECT_GT(calibrator.transformed({2560, 1920}).y, 1005);
}

TEST(CalibratorTest, ABlockIsMappedAsItsPointsAre) {
    const Calibrator calibrator({{450, 350}, {2100, 300}, {2200, 1650}, {350, 1550}},
                                {{170, 75}, {1580, 930}});
    std::vector<CameraPoint> points;
    for (int i = 0; i < 131; ++i) // two of the steps that it takes, and a bit
        points.push_back({17.0 * i + 3, 1900.0 - 13 * i});
    std::vector<ScreenPoint> mapped(points.size() + 1, ScreenPoint{-5, -6});
    calibrator.transformed(points, mapped);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const ScreenPoint alone = calibrator.transformed(points[i]);
        EXPECT_NEAR(mapped[i].x, alone.x, 1e-9) << i;
        EXPECT_NEAR(mapped[i].y, alone.y, 1e-9) << i;
    }
    EXPECT_EQ(mapped.back(), (ScreenPoint{-5, -6})) << "nothing is written behind them";
}

TEST(CalibratorTest, EachMappedPointIsOneLogLine) {
    const RecordingLog log;
    const Calibrator calibrator({{0, 0}, {2, 0}, {2, 4}, {0, 4}}, {{0, 0}, {4, 2}});
    EXPECT_EQ(calibrator.mapPointFrom({1.25, -3}), calibrator.transformed({1.25, -3}));
    EXPECT_THAT(log.lines(), ElementsAre("Calibr n:503 map point result: {2.5, -1.5}"));
}

TEST(CalibratorTest, SettersStoreAndLeaveTheMappingAlone) {
    Calibrator calibrator(kKeystone, kFullHD);
    const Coefficients before = calibrator.vector();
    calibrator.setSourcePoints(kTurned);
    calibrator.setDestinationRect(kUpright);
    calibrator.setMode(-3);
    EXPECT_EQ(calibrator.sourcePoints(), kTurned);
    EXPECT_EQ(calibrator.destinationRect(), kUpright);
    EXPECT_EQ(calibrator.mode(), -3);
    EXPECT_EQ(calibrator.vector(), before);
    calibrator.calculateConstant();
    EXPECT_EQ(calibrator.vector(), Calibrator(kTurned, kUpright).vector());
}

TEST(CalibratorTest, FactoryMakesACalibratorAndBareInitNone) {
    const auto calibrator = Calibrator::calibratorWithSourceQuadPoints(kKeystone, kFullHD);
    ASSERT_NE(calibrator, nullptr);
    EXPECT_EQ(calibrator->sourcePoints(), kKeystone);
    EXPECT_EQ(calibrator->destinationRect(), kFullHD);
    EXPECT_EQ(calibrator->mode(), 0);
    EXPECT_EQ(Calibrator::init(), nullptr);
}

} // namespace
} // namespace lightpen
