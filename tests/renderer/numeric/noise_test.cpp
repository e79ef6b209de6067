// Laws of the noise: range, mean, smoothness, and that nothing repeats.

#include "numeric/noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "frame/types.h"
#include "numeric/sampling.h"

namespace orvane::numeric {
namespace {

// A pseudo-random point in -range..range.
miVector point(std::uint64_t number, float range) {
    const auto coordinate = [&](std::uint64_t axis) {
        return static_cast<float>(uniform(mix(number, axis)) * 2 - 1) * range;
    };
    return {coordinate(0), coordinate(1), coordinate(2)};
}

float solid(const miVector& p) { return noise_3d(p.x, p.y, p.z); }
float flat(const miVector& p) { return noise_2d(p.x, p.y); }

TEST(Noise, FillsItsRangeAroundOneHalfNearTheOriginAndFarAway) {
    constexpr int kCount = 100000;
    for (const float range : {30.0f, 50000.0f})
        for (const auto& noise : {solid, flat}) {
            std::vector<double> values(kCount);
            double mean = 0, variance = 0;
            for (int i = 0; i < kCount; ++i) mean += (values[i] = noise(point(i, range))) / kCount;
            for (const double value : values) variance += std::pow(value - mean, 2) / kCount;
            const auto [low, high] = std::ranges::minmax(values);
            EXPECT_NEAR(mean, 0.5, 0.01);
            EXPECT_GT(variance, 0.15 * 0.15);
            EXPECT_TRUE(low >= 0 && low < 0.05 && high <= 1 && high > 0.95) << low << ' ' << high;
        }
}

// Where even a sum of the coordinates is no number, the noise is one half.
TEST(Noise, StaysInRangeForAnyArgument) {
    const float values[] = {-0.0f, -1e-45f,  0.3f,    -1.5e6f,  1e9f,      2147483648,
                            1e20f, -3.4e38f, 3.4e38f, INFINITY, -INFINITY, NAN};
    const auto fits = [](float noise, float sum) {
        return std::isfinite(sum) ? noise >= 0 && noise <= 1 : noise == 0.5f;
    };
    for (const float x : values)
        for (const float y : values)
            for (const float z : values) {
                const float xy = x / 4 + y / 4;
                EXPECT_TRUE(fits(noise_2d(x, y), xy)) << x << ' ' << y;
                EXPECT_TRUE(fits(noise_3d(x, y, z), xy + z / 4)) << x << ' ' << y << ' ' << z;
            }
}

// A jump, or a kink at cell borders, would show as a large second difference.
TEST(Noise, IsSmoothAcrossCellsAndZero) {
    constexpr float kStep = 1.0f / 512;
    for (std::uint64_t line = 0; line < 50; ++line)
        for (const auto& axis : {&miVector::x, &miVector::y, &miVector::z})
            for (const auto& noise : {solid, flat}) {
                miVector p = point(line, 5);
                const auto at = [&](float t) { return p.*axis = t, noise(p); };
                for (float t = -3; t < 3; t += kStep)
                    ASSERT_LT(std::abs(at(t - kStep) - 2 * at(t) + at(t + kStep)),
                              40 * kStep * kStep);
            }
}

// Hashes that mix badly make cells alike along an axis, a diagonal, or after a power of two.
TEST(Noise, IsUncorrelatedBetweenCells) {
    constexpr int kCount = 20000;
    const miVector shifts[] = {{2, 0, 0}, {0, 2, 0},   {0, 0, 2},    {3, 3, 0},    {3, 0, -3},
                               {0, 4, 4}, {256, 0, 0}, {0, 4096, 0}, {0, 0, 65536}};
    for (const auto& noise : {solid, flat})
        for (const auto& [dx, dy, dz] : shifts) {
            if (noise == flat && dz != 0) continue;
            double product = 0;
            for (std::uint64_t i = 0; i < kCount; ++i) {
                const miVector p = point(i, 99), q = {p.x + dx, p.y + dy, p.z + dz};
                product += (noise(p) - 0.5) * (noise(q) - 0.5) / kCount;
            }
            EXPECT_NEAR(product, 0, 0.0025) << dx << ' ' << dy << ' ' << dz;
        }
}

}  // namespace
}  // namespace orvane::numeric
