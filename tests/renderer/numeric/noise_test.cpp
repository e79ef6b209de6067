// Laws of the noise: range, mean, smoothness, and that nothing repeats.

#include "numeric/noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "numeric/sampling.h"

namespace orvane::numeric {
namespace {

// A pseudo-random coordinate in -range..range.
float coordinate(std::uint64_t number, int axis, float range) {
    return static_cast<float>(uniform(mix(number, static_cast<std::uint64_t>(axis))) * 2 - 1) *
           range;
}

struct Statistics {
    double mean = 0, deviation = 0, low = 1, high = 0;
};

template <typename Noise>
Statistics statistics(float range, const Noise& noise) {
    constexpr int kCount = 200000;
    Statistics s;
    double squares = 0;
    for (int i = 0; i < kCount; ++i) {
        const auto n = static_cast<std::uint64_t>(i);
        const double value =
            noise(coordinate(n, 0, range), coordinate(n, 1, range), coordinate(n, 2, range));
        s.mean += value / kCount;
        squares += value * value / kCount;
        s.low = std::min(s.low, value);
        s.high = std::max(s.high, value);
    }
    s.deviation = std::sqrt(squares - s.mean * s.mean);
    return s;
}

TEST(Noise, FillsItsRangeAroundOneHalfNearTheOriginAndFarAway) {
    for (const float range : {30.0f, 50000.0f}) {
        for (const Statistics& s :
             {statistics(range, noise_3d),
              statistics(range, [](float x, float y, float) { return noise_2d(x, y); })}) {
            EXPECT_NEAR(s.mean, 0.5, 0.01);
            EXPECT_GT(s.deviation, 0.15);
            EXPECT_GE(s.low, 0);
            EXPECT_LE(s.high, 1);
            EXPECT_LT(s.low, 0.05);
            EXPECT_GT(s.high, 0.95);
        }
    }
}

TEST(Noise, StaysInRangeForAnyArgument) {
    constexpr float kMax = std::numeric_limits<float>::max();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float values[] = {-0.0f, -1e-45f, 0.3f,  -0.7f, -1.5e6f,   1e9f,       2147483648,
                            -3e9f, 1e20f,   -kMax, kMax,  kInfinity, -kInfinity, NAN};
    const auto fits = [](float noise, bool finite) {
        return finite ? noise >= 0 && noise <= 1 : noise == 0.5f;
    };
    for (const float x : values) {
        for (const float y : values) {
            const bool finite = std::isfinite(x) && std::isfinite(y);
            EXPECT_TRUE(fits(noise_2d(x, y), finite)) << x << ' ' << y;
            for (const float z : values) {
                EXPECT_TRUE(fits(noise_3d(x, y, z), finite && std::isfinite(z)))
                    << x << ' ' << y << ' ' << z;
            }
        }
    }
}

// A jump, or a kink at cell borders, would show as a large second difference.
TEST(Noise, IsSmoothAcrossCellsAndZero) {
    constexpr float kStep = 1.0f / 512;
    for (int line = 0; line < 50; ++line) {
        const auto n = static_cast<std::uint64_t>(line);
        const float a = coordinate(n, 3, 5), b = coordinate(n, 4, 5);
        for (float t = -3; t < 3; t += kStep) {
            const auto bend = [&](auto&& noise) {
                return noise(t - kStep) - 2 * noise(t) + noise(t + kStep);
            };
            constexpr float kLargestBend = 40 * kStep * kStep;
            ASSERT_LT(std::abs(bend([&](float x) { return noise_3d(x, a, b); })), kLargestBend);
            ASSERT_LT(std::abs(bend([&](float y) { return noise_3d(a, y, b); })), kLargestBend);
            ASSERT_LT(std::abs(bend([&](float z) { return noise_3d(a, b, z); })), kLargestBend);
            ASSERT_LT(std::abs(bend([&](float x) { return noise_2d(x, a); })), kLargestBend);
            ASSERT_LT(std::abs(bend([&](float y) { return noise_2d(a, y); })), kLargestBend);
        }
    }
}

// Hashes that mix badly make cells alike along an axis, a diagonal, or after a power of two.
TEST(Noise, IsUncorrelatedBetweenCells) {
    const float shifts[][3] = {{2, 0, 0}, {0, 2, 0},   {0, 0, 2},    {3, 3, 0},    {3, 0, -3},
                               {0, 4, 4}, {256, 0, 0}, {0, 4096, 0}, {0, 0, 65536}};
    constexpr int kCount = 20000;
    for (const auto& [dx, dy, dz] : shifts) {
        double solid = 0, flat = 0;
        for (std::uint64_t i = 0; i < kCount; ++i) {
            const float x = coordinate(i, 0, 99), y = coordinate(i, 1, 99),
                        z = coordinate(i, 2, 99);
            solid += (noise_3d(x, y, z) - 0.5) * (noise_3d(x + dx, y + dy, z + dz) - 0.5) / kCount;
            if (dz == 0) flat += (noise_2d(x, y) - 0.5) * (noise_2d(x + dx, y + dy) - 0.5) / kCount;
        }
        EXPECT_NEAR(solid, 0, 0.0025) << dx << ' ' << dy << ' ' << dz;
        EXPECT_NEAR(flat, 0, 0.0025) << dx << ' ' << dy;
    }
}

}  // namespace
}  // namespace orvane::numeric
