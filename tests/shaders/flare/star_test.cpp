// Streaks where they must be, their centre, and what moves them.

#include "flare/star.h"

#include <gmock/gmock.h>

#include <cmath>

#include "scripted/host.h"

namespace {

class StarTest : public scripted::Renderer {
  protected:
    StarTest() {
        params.star_count = 4;
        params.star_width = 0.01f;
        params.star_length = 1;
        params.flare_aspect = 1;
        light.params = &params;
    }

    void build(int index = 0) { buildStarTables(&light, index, &state); }

    miColor at(double x, double y) {
        miColor out = {0, 0, 0, 0};
        drawStar(&out, &light, light.x + static_cast<miScalar>(x),
                 light.y + static_cast<miScalar>(y));
        for (const miScalar c : {out.r, out.g, out.b}) EXPECT_TRUE(std::isfinite(c));
        return out;
    }
    bool is_lit(double x, double y) { return at(x, y).g != 0; }

    Orvane_Light_params params = {};
    FlareLight light = {};
};

TEST_F(StarTest, FourStreaksAreACross) {
    light.x = 0.2f, light.y = -0.1f;
    build();
    for (const double d : {0.003, 0.1, -0.2}) {
        EXPECT_TRUE(is_lit(d, 0)) << d;
        EXPECT_TRUE(is_lit(0, d)) << d;
    }
    EXPECT_FALSE(is_lit(0.1, 0.1));
    EXPECT_TRUE(is_lit(0.1, 0.0099));  // five widths, each a fifth of star_width
    EXPECT_FALSE(is_lit(0.1, 0.0101));
    // At the light every streak has its full weights, which are 1 in each channel.
    const miColor centre = at(0, 0);
    for (const miScalar c : {centre.r, centre.g, centre.b}) EXPECT_NEAR(c, 4, 1e-3);
    EXPECT_GT(at(0.003, 0).g, at(0.3, 0).g);
    const miColor one = at(0.15, 0.002), other = at(-0.15, -0.002);
    EXPECT_NEAR(one.r, other.r, 1e-6);  // a streak is a whole line
    EXPECT_NEAR(one.b, other.b, 1e-6);
}

// At the light what is left of products near 1e-40 shows; far along a fine pattern, how the sines'
// arguments are rounded.
TEST_F(StarTest, PatternIsOfSinglePrecision) {
    const struct {
        miScalar length;
        double x;
        miScalar r, g, b;
    } cases[] = {{1, 0, 1, 1.0000017f, 1.0000014f},
                 {1, 0.0123, 0.874312282f, 0.838427007f, 0.771055222f},
                 {0.01f, 0.45, 6.25410507e-07f, 2.77067755e-08f, 4.10581116e-08f}};
    params.star_count = 1;
    for (const auto& c : cases) {
        params.star_length = c.length;
        build();
        const miColor seen = at(c.x, 0);
        EXPECT_FLOAT_EQ(seen.r, c.r) << c.x;
        EXPECT_FLOAT_EQ(seen.g, c.g) << c.x;
        EXPECT_FLOAT_EQ(seen.b, c.b) << c.x;
    }
}

TEST_F(StarTest, TurnsAndStretches) {
    params.star_rotation = 45;
    build();
    EXPECT_TRUE(is_lit(0.1, 0.1));
    EXPECT_FALSE(is_lit(0.1, 0));
    params.star_rotation = 0, params.star_follow = 1, params.star_count = 1;
    light.x = 0.3f, light.y = 0;
    build();
    EXPECT_TRUE(is_lit(0.1, 0));
    light.x = 0, light.y = 0.3f;  // a quarter turn on
    build();
    EXPECT_TRUE(is_lit(0, 0.1));
    EXPECT_FALSE(is_lit(0.1, 0));
    params.star_follow = 0, params.star_rotation = 45, params.flare_aspect = 2;
    build();
    EXPECT_TRUE(is_lit(0.2, 0.1));
    EXPECT_FALSE(is_lit(0.1, 0.1));
}

TEST_F(StarTest, NoiseVariesStreaks) {
    params.star_length_noise = 0.5f, params.star_width_noise = 1e-7f;
    host.noise = [](const miVector& p) { return p.y > 3 ? 1.0f : 0.5f; };  // of streaks 1, 2, 3
    build();
    EXPECT_DOUBLE_EQ(light.streak_frequency[0], 100 * 3141.592653589793);
    EXPECT_DOUBLE_EQ(light.streak_frequency[3], 1.25 * 100 * 3141.592653589793);
    EXPECT_EQ(light.streak_width[3], light.streak_width[0]);
    params.star_length_noise = 0, params.star_width_noise = -2, params.star_noise_speed = 3;
    camera.frame_time = 2;
    miVector asked = {};
    host.noise = [&asked](const miVector& p) { return asked = p, 1.0f; };
    build(5);
    EXPECT_EQ(asked.x, 2 * 3 + 5);
    EXPECT_FLOAT_EQ(asked.y, 3 * 3.14159265f);
    EXPECT_EQ(light.streak_width[1], 0);
    EXPECT_FALSE(is_lit(0.1, 0));
}

TEST_F(StarTest, OddSettingsAreSafe) {
    for (const int count : {-5, 0, 100, 1000}) {
        params.star_count = count;
        build();
        EXPECT_EQ(is_lit(0.001, 0), count > 0) << count;
    }
    params.star_count = 4;
    for (const miScalar odd : {0.0f, 1e30f, std::nanf("")}) {
        params.star_length = odd;
        build();
        at(0, 0), at(0.1, 0);
        params.star_length = 1, params.flare_aspect = odd;
        build();
        at(0, 0), at(0.1, 0);
        params.flare_aspect = 1;
    }
    params.star_width = 0;
    build();
    EXPECT_FALSE(is_lit(0.1, 0));
}

}  // namespace
