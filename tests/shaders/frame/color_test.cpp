// Both pairs of conversions at the hexcone's corners, and there and back.

#include "frame/color.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using testing::ElementsAre;
using testing::FloatNear;

auto near(miScalar x) { return FloatNear(x, 1e-6f * (1 + std::abs(x))); }

std::array<miScalar, 3> degrees(miColor c) {
    const orv_hsv hsv = orv_rgb_to_hsv(c);
    return {hsv.h, hsv.s, hsv.v};
}
std::array<miScalar, 3> from_degrees(orv_hsv hsv) {
    const miColor c = orv_hsv_to_rgb(hsv);
    return {c.r, c.g, c.b};
}
std::array<miScalar, 4> turns(miColor c) {
    zel_rgb_to_hsv(c, &c);  // in place, as its callers do
    return {c.r, c.g, c.b, c.a};
}
std::array<miScalar, 4> from_turns(miColor hsv, miColor before = {9, 9, 9, 9}) {
    zel_hsv_to_rgb(&before, hsv);
    return {before.r, before.g, before.b, before.a};
}

TEST(HsvInDegrees, CornersGreysAndWrapping) {
    EXPECT_THAT(degrees({1, 0, 0, 1}), ElementsAre(0, 1, 1));
    EXPECT_THAT(degrees({0, 0, 1, 1}), ElementsAre(240, 1, 1));
    EXPECT_THAT(degrees({1, 0, 1, 1}), ElementsAre(300, 1, 1));
    EXPECT_THAT(degrees({4, 3, 2, 1}), ElementsAre(near(30), near(0.5f), 4));  // not clamped
    EXPECT_THAT(degrees({0.5f, 0.5f, 0.5f, 1}), ElementsAre(0, 0, 0.5f));
    EXPECT_THAT(degrees({0, 0, 0, 1}), ElementsAre(0, 0, 0));
    EXPECT_THAT(from_degrees({-30, 1, 1}), ElementsAre(1, 0, near(0.5f)));
    EXPECT_THAT(from_degrees({720, 1, 1}), ElementsAre(1, 0, 0));
    EXPECT_THAT(from_degrees({123, 0, 0.25f}), ElementsAre(0.25f, 0.25f, 0.25f));
    for (const miScalar odd : {1e30f, -1e30f, -1e-30f, std::nanf(""), INFINITY})
        for (const miScalar x : from_degrees({odd, 1, 1})) EXPECT_TRUE(x >= 0 && x <= 1) << odd;
}

TEST(HsvInTurns, CornersGreysAndWrapping) {
    EXPECT_THAT(turns({0, 1, 0, 1}), ElementsAre(2 * 0.16666667f, 1, 1, 1));
    EXPECT_THAT(turns({1, 0, 1, 0.5f}), ElementsAre(near(5 / 6.0f), 1, 1, 0.5f));
    EXPECT_THAT(turns({0.5f, 0.5f, 0.5f, 0.3f}), ElementsAre(-1, 0, 0.5f, 0.3f));
    EXPECT_THAT(turns({0, 0, 0, 1}), ElementsAre(-1, 0, 0, 1));
    EXPECT_THAT(turns({0, 0, -1, 1}), ElementsAre(-1, 0, 0, 1));  // the largest is 0
    EXPECT_THAT(from_turns({-1, 1, 0.5f, 0.3f}), ElementsAre(0.5f, 0.5f, 0.5f, 0.3f));
    EXPECT_EQ(from_turns({1.25f, 1, 1, 0}), from_turns({0.25f, 1, 1, 0}));
    EXPECT_THAT(from_turns({-0.03f, 1, 1, 0.7f}, {1, 2, 3, 4}), ElementsAre(1, 2, 3, 0.7f));
    EXPECT_THAT(from_turns({std::nanf(""), 1, 1, 0.7f}, {1, 2, 3, 4}), ElementsAre(1, 2, 3, 0.7f));
}

TEST(Hsv, ThereAndBackIsTheSame) {
    for (int i = 0; i < 1000; ++i) {
        const auto channel = [i](int of) { return static_cast<miScalar>(i / of % 10) / 9; };
        const miColor c = {channel(1), channel(10), channel(100), 0.5f};
        const orv_hsv hsv = orv_rgb_to_hsv(c);
        EXPECT_THAT(from_degrees(hsv), ElementsAre(near(c.r), near(c.g), near(c.b)));
        miColor through = c;
        zel_rgb_to_hsv(through, &through);
        EXPECT_THAT(from_turns(through), ElementsAre(near(c.r), near(c.g), near(c.b), 0.5f));
    }
}

}  // namespace
