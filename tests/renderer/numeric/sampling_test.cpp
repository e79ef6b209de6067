// The quasi-random sequence: strata exactly filled, for any key, and keys unrelated.

#include "numeric/sampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>
#include <utility>
#include <vector>

#include "frame/host.h"

namespace orvane::numeric {
namespace {

// Whether 2^bits points fill every division of the square into 2^bits equal boxes, one each.
template <typename Point>
bool fills_all_boxes(int bits, const Point& point) {
    const std::uint32_t count = 1u << bits;
    std::vector<std::array<double, 2>> points;
    for (std::uint32_t i = 0; i < count; ++i) points.push_back(point(i));
    for (int columns = 0; columns <= bits; ++columns) {
        std::set<std::pair<int, int>> boxes;
        for (const auto& [x, y] : points) {
            if (!(x >= 0 && x < 1 && y >= 0 && y < 1)) return false;
            boxes.emplace(static_cast<int>(std::ldexp(x, columns)),
                          static_cast<int>(std::ldexp(y, bits - columns)));
        }
        if (boxes.size() != count) return false;
    }
    return true;
}

TEST(Sampling, EveryAlignedBlockFillsAllElementaryIntervals) {
    for (const std::uint64_t key : {0ull, 1ull, 0xffffffffffffffffull, 0x123456789abcdefull}) {
        for (const int bits : {0, 1, 2, 3, 4, 6, 8, 10})
            for (const std::uint32_t block : {0u, 1u, 2u, 7u, 1000u, (1u << (32 - bits - 1))})
                EXPECT_TRUE(fills_all_boxes(
                    bits, [&](std::uint32_t i) { return sample_2d(key, (block << bits) + i); }))
                    << key << ' ' << bits << ' ' << block;
        std::set<int> strata;
        for (std::uint32_t i = 64; i < 128; ++i)
            strata.insert(static_cast<int>(sample_1d(key, i) * 64));
        EXPECT_EQ(strata.size(), 64u);
    }
}

// Correlation of what two neighboring keys, or two coordinates, give: 0 up to noise.
TEST(Sampling, KeysAreUnrelated) {
    constexpr int kCount = 20000;
    double between_keys = 0, within_point = 0;
    for (std::uint64_t key = 0; key < kCount; ++key) {
        const auto a = sample_2d(key, 5), b = sample_2d(key + 1, 5);
        between_keys += (a[0] - 0.5) * (b[0] - 0.5) / kCount;
        within_point += (a[0] - 0.5) * (a[1] - 0.5) / kCount;
    }
    EXPECT_NEAR(between_keys, 0, 0.003);
    EXPECT_NEAR(within_point, 0, 0.003);
}

// Single draws of one state fill the square, whatever loops there are in between; each loop has
// points of its own, and ends.
TEST(SampleOperation, SingleDrawsAndLoopsFillTheSquare) {
    miState state{};
    state.sample_key = 77;
    const miUint n = 16, none = 0;
    std::set<double> seen;
    double p[3] = {-1, -1, -1};
    for (int round = 0; round < 3; ++round) {
        int instance = 0;
        const auto draw = [&](int* counter, const miUint* count) {
            EXPECT_EQ(mi_sample(p, counter, &state, 2, count), miTRUE);
            return std::array{p[0], p[1]};
        };
        EXPECT_TRUE(fills_all_boxes(4, [&](auto) { return draw(nullptr, nullptr); }));
        EXPECT_TRUE(fills_all_boxes(4, [&](std::uint32_t i) {
            const auto point = draw(&instance, &n);
            EXPECT_EQ(instance, static_cast<int>(i) + 1);
            seen.insert(point[0]);
            return point;
        }));
        EXPECT_EQ(mi_sample(p + 2, &instance, &state, 1, &n), miFALSE);
        instance = 0;
        EXPECT_EQ(mi_sample(p + 2, &instance, &state, 1, &none), miFALSE);
    }
    EXPECT_EQ(seen.size(), 3u * 16);
    EXPECT_EQ(p[2], -1) << "no more is written than was asked for";
}

TEST(RandomOperation, IsTheCLibrarysGenerator) {
    unsigned short ours[3] = {0xee31, 0x59f1, 0xa7b3}, theirs[3] = {0xee31, 0x59f1, 0xa7b3};
    for (int i = 0; i < 100; ++i) EXPECT_EQ(mi_erandom(ours), erand48(theirs));
}

}  // namespace
}  // namespace orvane::numeric
