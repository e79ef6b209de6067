// Where samples lie.
#include "film/pattern.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace orvane::film {
namespace {

// Whether the first 4^n values lie one each in as many equal intervals.
template <typename Value>
bool one_in_each(std::uint32_t count, const Value& value) {
    std::set<int> intervals;
    for (std::uint32_t i = 0; i < count; ++i)
        intervals.insert(static_cast<int>(value(i) * static_cast<float>(count)));
    return intervals.size() == count && *intervals.begin() == 0;
}

TEST(Pattern, BeginsAtTheCentreAndStratifiesEachPowerOfFour) {
    EXPECT_EQ(Pattern(0, 0).position(1, 0).x, 0.5f);
    EXPECT_EQ(Pattern(0, 0).position(1, 0).y, 0.5f);
    EXPECT_NEAR(Pattern(2, 0).position(1, 0).x, 0.5f, 0.1);
    for (const float jitter : {0.0f, 0.5f, 1.0f}) {
        const Pattern pattern(3, jitter);
        const auto at = [&](std::uint32_t i) {
            return pattern.position(sample_key(pixel_key(5, 9), i), i);
        };
        for (int n = 0; n <= 3; ++n) {
            const std::uint32_t count = 1u << (2 * n);
            const float cells = static_cast<float>(1 << n);
            EXPECT_TRUE(one_in_each(count,
                                    [&](std::uint32_t i) {
                                        const Offset p = at(i);
                                        return (std::floor(p.y * cells) + p.x) / cells;
                                    }))
                << "cells of level " << n << " with jitter " << jitter;
            if (jitter > 0) continue;
            EXPECT_TRUE(one_in_each(count, [&](std::uint32_t i) { return at(i).x; })) << n;
            EXPECT_TRUE(one_in_each(count, [&](std::uint32_t i) { return at(i).y; })) << n;
        }
    }
}

TEST(Pattern, TimesAreStratified) {
    for (const std::uint32_t count : {4u, 16u})
        EXPECT_TRUE(one_in_each(count, [&](auto i) { return sample_time(pixel_key(7, 0), i); }));
}

}  // namespace
}  // namespace orvane::film
