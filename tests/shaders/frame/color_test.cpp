// Both pairs of conversions at the hexcone's corners, and there and back; what the two sides of the
// contract rely on without looking.

#include "frame/color.h"

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "scripted/host.h"

extern "C" const char* const dso_version_orvane;

namespace {

using scripted::IsColor;

// Each way as one function of colors: hue, saturation and value in r, g and b.
miColor degrees(const miColor& c) {
    const orv_hsv hsv = orv_rgb_to_hsv(c);
    return {hsv.h, hsv.s, hsv.v, 0};
}
miColor from_degrees(const miColor& c) { return orv_hsv_to_rgb({c.r, c.g, c.b}); }
miColor turns(const miColor& c) {
    miColor hsv = c;
    zel_rgb_to_hsv(hsv, &hsv);  // in place, as its callers do
    return hsv;
}
miColor from_turns(const miColor& c) {
    miColor rgb = {5, 6, 7, 8};  // what stays of it shows
    zel_hsv_to_rgb(&rgb, c);
    return rgb;
}

TEST(Hsv, CornersGreysAndWrapping) {
    const struct {
        miColor (*convert)(const miColor&);
        miColor from, to;
    } cases[] = {
        {degrees, {1, 0, 0, 1}, {0, 1, 1, 0}},
        {degrees, {1, 0, 1, 1}, {300, 1, 1, 0}},
        {degrees, {4, 3, 2, 1}, {30, 0.5f, 4, 0}},  // not clamped
        {degrees, {0.5f, 0.5f, 0.5f, 1}, {0, 0, 0.5f, 0}},
        {degrees, {0, 0, 0, 1}, {0, 0, 0, 0}},
        {from_degrees, {-30, 1, 1, 1}, {1, 0, 0.5f, 0}},
        {from_degrees, {720, 1, 1, 1}, {1, 0, 0, 0}},
        {from_degrees, {123, 0, 0.25f, 1}, {0.25f, 0.25f, 0.25f, 0}},
        {turns, {0, 1, 0, 1}, {2 * 0.16666667f, 1, 1, 1}},
        {turns, {1, 0, 1, 0.5f}, {5 / 6.0f, 1, 1, 0.5f}},
        {turns, {0.5f, 0.5f, 0.5f, 0.3f}, {-1, 0, 0.5f, 0.3f}},
        {turns, {0, 0, -1, 1}, {-1, 0, 0, 1}},  // the largest is 0
        {from_turns, {-1, 1, 0.5f, 0.3f}, {0.5f, 0.5f, 0.5f, 0.3f}},
        {from_turns, {1.25f, 1, 1, 0}, {0.5f, 1, 0, 0}},
        {from_turns, {-0.03f, 1, 1, 0.7f}, {5, 6, 7, 0.7f}},
        {from_turns, {NAN, 1, 1, 0.7f}, {5, 6, 7, 0.7f}},
    };
    for (const auto& c : cases) EXPECT_THAT(c.convert(c.from), IsColor(c.to)) << &c - cases;
    for (const miScalar odd : {1e30f, -1e30f, -1e-30f, NAN, INFINITY}) {
        const miColor c = from_degrees({odd, 1, 1, 1});
        EXPECT_TRUE(std::min({c.r, c.g, c.b}) >= 0 && std::max({c.r, c.g, c.b}) <= 1) << odd;
    }
}

TEST(Hsv, ThereAndBackIsTheSame) {
    for (int i = 0; i < 1000; ++i) {
        const auto channel = [i](int of) { return static_cast<miScalar>(i / of % 10) / 9; };
        const miColor c = {channel(1), channel(10), channel(100), 0};
        EXPECT_THAT(from_degrees(degrees(c)), IsColor(c));
        EXPECT_THAT(from_turns(turns(c)), IsColor(c));
    }
}

// Shaders copy states and clear the two fields that name the geometry a ray leaves.
TEST(Contract, IsKnownByTextAndPlaces) {
    EXPECT_STREQ(dso_version_orvane, "=@@= orvane linux-x86 for mental ray 3.1 (3.1.3.17)");
    EXPECT_TRUE(std::is_trivially_copyable_v<miState> && std::is_standard_layout_v<miState>);
    EXPECT_EQ(offsetof(miState, reflection_level), offsetof(miState, pri_index) + 4);
    EXPECT_EQ(sizeof(miState::thread), 2u);
    EXPECT_EQ(sizeof(miState::dist), 8u);
    EXPECT_EQ(offsetof(soft_material_params, transparency), 18u * 4);
    EXPECT_EQ(offsetof(soft_material_params, ior), 20u * 4);
}

}  // namespace
