// What presets and stars draw: profiles and shapes at points whose values follow from geometry,
// bursts by the law of their rays, and no harm by any number.

#include <array>
#include <cmath>
#include <cstring>
#include <random>

#include "flare/primitives.h"
#include "flare/star.h"
#include "scripted/host.h"

namespace {

class DrawingTest : public scripted::Renderer {
  protected:
    DrawingTest() {
        initRayTable();
        light.params = &params;
        params.flare_scale = params.flare_aspect = params.star_length = 1;
        params.star_count = 4, params.star_width = 0.01f;
    }

    // The factor that a profile of radius 2 has at t; -1 where it draws nothing.
    double profile(int mode, miScalar t, miScalar V) {
        miColor out = {9, 9, 9, 9};
        if (!primitiveProfile(&state, &out, {1, 1, 1, 1}, 2 * t, 2 * t, 0, 2, mode, V)) return -1;
        EXPECT_EQ(out.a, mode == 0 || mode == 10 ? 1 : 9);
        return double{out.b};
    }
    void place(FlarePrimitive* records, int count, miScalar blend) {
        light.primitives = records, light.primitive_count = count;
        placePrimitives(&light, blend);
    }
    miColor draw(miScalar X, miScalar Y) {
        miColor drawn;
        drawPrimitives(&state, &drawn, &light, X, Y, below(96));
        return drawn;
    }
    miColor star(double x, double y) {
        miColor out = {0, 0, 0, 0};
        drawStar(&out, &light, light.x + static_cast<miScalar>(x),
                 light.y + static_cast<miScalar>(y));
        return out;
    }
    miScalar uniform(double low, double high) {
        return static_cast<miScalar>(std::uniform_real_distribution<double>(low, high)(random));
    }
    int below(unsigned count) { return static_cast<int>(random() % count); }

    // A number of a usual size, or now and then one that nobody means.
    miScalar hostile(double low, double high) {
        constexpr miScalar kOdd[] = {0,     -1,    1e-45f, 195, 2e9f,    -2e9f,
                                     1e20f, 3e38f, -3e38f, NAN, INFINITY};
        return below(3) ? uniform(low, high) : kOdd[below(std::size(kOdd))];
    }

    std::mt19937 random{5};
    Orvane_Light_params params = {};
    FlareLight light = {};
};

TEST_F(DrawingTest, ProfilesAtComputablePoints) {
    const double e = std::exp(1.0);
    const struct {
        int mode;
        double t, V, expected;
    } kPoints[] = {
        {0, 0, 0, 1},         {0, 1, 0, 1},        {0, 1.001, 0, -1},    {1, 0.25, 0, 0.75},
        {2, 0.25, 0, 0.25},   {3, 0.5, 2, 0.75},   {3, 0, 2, 1},         {4, 0.5, 3, 0.125},
        {4, 0, 0, 1},         {5, 0.6, 0.4, -1},   {5, 0.7, 0.4, 0.5},   {5, 0.8, 0.4, 1},
        {5, 0.9, 0.4, 0.5},   {5, 1, 0.4, 0},      {7, 0, 1, 1},         {7, 1, 1, 0},
        {7, .5, .25, .28047}, {7, .5, 4, .63768},  {8, 0, 0, 1 - 1 / e}, {10, 0.7, 0.25, -1},
        {10, 0.8, 0.25, 1},   {11, 0.5, 0.25, -1}, {14, 0.25, 0.5, 0.5}, {14, 0.5, 0.5, 1},
        {14, 0.75, 0.5, 0.5}, {14, 1, 1, 1},       {15, 0, 1, 1},        {15, 0.5, 0.25, 0.5 / e},
        {12, 0.5, 1, -1},     {13, 0.5, 1, -1},    {-1, 0.5, 1, -1},     {16, 0.5, 1, -1},
        {6, 0.985, 0, 0},     {6, 0.97, 0, 0},     {6, 0.955, 0, 1},     {6, 0.935, 0, 0.5},
        {6, 0.93, 0, -1},
    };
    for (const auto& p : kPoints)
        EXPECT_NEAR(profile(p.mode, float(p.t), float(p.V)), p.expected, 1e-3)
            << p.mode << " at " << p.t;
    // Grain about the plain falloff: samples of one half give the plain one.
    host.random = [] { return 0.5; };
    host.noise = [](const miVector&) { return 0.5f; };
    EXPECT_NEAR(profile(9, 0.25f, 0), 0.5, 1e-6);
    EXPECT_NEAR(profile(11, 0.8f, 0.25f), 1 - 0.09 / 0.31, 1e-5);
    EXPECT_NEAR(profile(8, 0.5f, 0), std::exp(-0.5) - 1 / e, 1e-6);
    host.random = [high = false]() mutable { return (high = !high) ? 1.0 : 0.0; };
    EXPECT_NEAR(profile(9, 0.25f, 0), 1 - std::sqrt(0.29) + 0.01, 1e-6);
}

// Of each shape a line of its preset, a blend, a pixel and the value there; 0 is nothing. Mode 1 is
// 1 at the centre and 0 at the rim, mode 2 the other way.
TEST_F(DrawingTest, ShapesStandAndEndWhereGeometrySays) {
    const FlarePrimitive disc = {PRIMITIVE_CIRCLE, {1, 1, 1, -1, 3, 0.01f, 1}};
    const FlarePrimitive pulled = {PRIMITIVE_CIRCLE_D, {1, 1, 1, 0.4f, 0.3f, 0, 1, 0.01f, 1}};
    const FlarePrimitive point = {PRIMITIVE_CIRCLE, {1, 1, 1, 1, 1, 0, 0}};
    const FlarePrimitive square = {PRIMITIVE_NGON, {1, 1, 1, 1, 1, 0.05f, 0, 0.7853982f, 4, 2}};
    const FlarePrimitive away = {PRIMITIVE_NGON_D, {1, 1, 1, 0, 0, 2, 2, 0.05f, 0, 0, 4, 2}};
    const FlarePrimitive flat = {PRIMITIVE_RAYS, {1, 1, 1, 1, 0, 0, 0, 1, 2, 200, 0, 0}};
    const struct {
        const FlarePrimitive& shape;
        miScalar blend, X, Y, expected, aspect = 1;
    } cases[] = {
        {disc, 0, -0.2f, -0.1f, 1},       {disc, 0.5f, 0.2f, 0.1f, 1},
        {disc, 1, 0.61f, 0.3f, 0.5f},     {disc, 0, -0.2201f, -0.1f, 0},
        {disc, 0, -0.22f, -0.1f, .5f, 2}, {pulled, 0, 0.4f, 0.3f, 1},
        {pulled, 0.5f, 0.3f, 0.2f, 1},    {pulled, 1, 0.2f, 0.1f, 1},
        {point, 0, 0.2f, 0.1f, 1},        {point, 0, 0.200001f, 0.1f, 0},
        {point, 0, 0.2f, 0.1f, 0, 0},     {square, 0, 0.25f, 0.1f, 0.5f},
        {square, 0, 0.2f, 0.05f, 0.5f},   {square, 0, 0.299f, 0.199f, 0.99f},
        {square, 0, 0.301f, 0.201f, 0},   {square, 1, 0.341f, 0.1f, 0.997f},
        {square, 1, 0.29f, 0.19f, 0},     {square, 0, 0.25f, 0.1f, 0.25f, 2},
        {away, 0, 0.45f, 0.2f, 0.5f},     {flat, 0, 0.2f, 0.1f, 0},
    };
    params.flare_scale = 2;
    light.x = 0.2f, light.y = 0.1f;
    for (const auto& c : cases) {
        FlarePrimitive shape = c.shape;
        params.flare_aspect = c.aspect;
        place(&shape, 1, c.blend);
        EXPECT_NEAR(draw(c.X, c.Y).g, c.expected, 2e-3) << &c - cases;
    }
}

// What a placed burst of mode 4 draws at a pixel: each ray of its run in turn, in double.
double slow_burst(const FlarePrimitive& burst, double X, double Y, double aspect) {
    unsigned short angles[3] = {0xee31, 0x59f1, 0xa7b3}, lengths[3] = {0x9001, 0x7ca4, 0xbc71};
    const std::vector<double> v(burst.values, burst.values + 15);
    const double dx = (X - v[3]) / (v[6] * aspect), dy = (Y - v[4]) / v[6];
    const double way = std::atan2(dy, dx) - v[5], distance = std::hypot(dx, dy);
    const bool wedges = burst.type == PRIMITIVE_SECTOR;
    const int count = static_cast<int>(wedges ? v[10] : v[9]);
    const int first = wedges ? 191 - count : static_cast<int>(v[10]);
    double best = 0;
    for (int j = 0; j < std::min(first + count, 200); ++j) {
        const double angle = 2 * std::acos(-1.0) * mi_erandom(angles);
        const double longest = 0.1 + 0.9 * mi_erandom(lengths);
        if (j < first || distance > longest) continue;
        double beside = distance * std::abs(std::sin(way - angle)) / longest;
        if (wedges) beside -= distance * v[9];
        if (beside >= v[8]) continue;
        const double fade = beside < v[7] ? 1 : (v[8] - beside) / (v[8] - v[7]);
        best = std::max(best, fade * (1 - distance / longest));
    }
    return std::pow(best, v[12]);
}

TEST_F(DrawingTest, BurstsAreTheSumOfTheirStrongestRays) {
    int covered = 0;
    for (int round = 0; round < 400; ++round) {
        std::array<FlarePrimitive, 2> bursts = {};
        for (auto& [type, v] : bursts) {
            const bool wedges = below(2) == 1;
            type = wedges ? PRIMITIVE_SECTOR : PRIMITIVE_RAYS;
            v[0] = 1, v[3] = uniform(-1, 1), v[4] = uniform(-4, 4), v[5] = uniform(-4, 4);
            v[6] = uniform(0.2, 1) * (below(4) ? 1.0f : -1.0f);
            v[7] = uniform(-0.01, 0.03), v[8] = v[7] + uniform(0.005, 0.05);
            v[wedges ? 10 : 9] = uniform(-9, 210);  // maybe beyond the table
            v[wedges ? 9 : 10] = wedges ? uniform(-0.05, 0.1) : uniform(-20, 210);
            v[11] = 4, v[12] = uniform(1, 3);
        }
        light.x = uniform(-0.5, 0.5), light.y = uniform(-0.4, 0.4);
        params.flare_aspect = uniform(0.5, 2) * (below(4) ? 1.0f : -1.0f);
        const miScalar blend = uniform(0, 1);
        std::array<FlarePrimitive, 2> placed = bursts;
        place(placed.data(), 2, blend);
        for (auto& [type, v] : bursts) {
            v[5] = (1 - blend) * v[4] + blend * v[5];
            v[4] = light.y * v[3], v[3] *= light.x;
        }
        for (int i = 0; i < 20; ++i) {
            const miScalar X = light.x + uniform(-0.4, 0.4), Y = light.y + uniform(-0.4, 0.4);
            const double sum = slow_burst(bursts[0], X, Y, params.flare_aspect) +
                               slow_burst(bursts[1], X, Y, params.flare_aspect);
            ASSERT_NEAR(draw(X, Y).r, sum, 1e-3) << "round " << round;
            covered += sum > 0;
        }
    }
    EXPECT_GT(covered, 2000);
}

// Sane colours stay numbers, whatever else is in the preset, the block and the pixel.
TEST_F(DrawingTest, HostileNumbersDrawNumbers) {
    for (int round = 0; round < 40000; ++round) {
        miScalar words[sizeof params / sizeof(miScalar)];
        for (miScalar& word : words) word = hostile(-1, 2);
        std::memcpy(&params, words, sizeof params);
        params.star_count = below(10) - 1;
        light.x = hostile(-1, 1), light.y = hostile(-1, 1);
        FlarePrimitive one = {below(10) - 1, {}};
        for (int i = 0; i < 15; ++i) one.values[i] = i < 3 ? uniform(0, 1) : hostile(-2, 16);
        place(&one, 1, hostile(0, 1));
        buildStarTables(&light, round, &state);
        const miScalar X = hostile(-1, 1), Y = hostile(-1, 1);
        const miColor drawn = draw(X, Y), streaks = star(double{X}, double{Y});
        for (const miScalar c : {drawn.r, drawn.g, drawn.b, streaks.r, streaks.g, streaks.b})
            ASSERT_TRUE(std::isfinite(c)) << "round " << round;
    }
}

// At the light what is left of products near 1e-40 shows; far along a fine pattern, how the sines'
// arguments are rounded.
TEST_F(DrawingTest, StreaksHaveAPatternOfSinglePrecision) {
    const struct {
        miScalar length;
        double x;
        miScalar r, g, b;
    } cases[] = {{1, 0, 1, 1.0000017f, 1.0000014f},
                 {1, 0.0123, 0.874312282f, 0.838427007f, 0.771055222f},
                 {0.01f, 0.45, 6.25410507e-07f, 2.77067755e-08f, 4.10581116e-08f}};
    for (const auto& c : cases) {
        params.star_count = 1, params.star_length = c.length;
        buildStarTables(&light, 0, &state);
        const miColor seen = star(c.x, 0);
        EXPECT_FLOAT_EQ(seen.r, c.r) << c.x;
        EXPECT_FLOAT_EQ(seen.g, c.g) << c.x;
        EXPECT_FLOAT_EQ(seen.b, c.b) << c.x;
    }
    params.star_count = 4;
    buildStarTables(&light, 0, &state);
    EXPECT_NEAR(star(0, 0).g, 4, 1e-3);                            // each at full strength
    EXPECT_TRUE(star(-0.2, 0).g > 0 && star(0.1, 0.1).g == 0);     // a cross
    EXPECT_TRUE(star(.1, .0099).g > 0 && star(.1, .0101).g == 0);  // five fifths of star_width
    for (const int count : {-5, 1000}) {
        params.star_count = count;
        buildStarTables(&light, 0, &state);
        EXPECT_EQ(star(0.001, 0).g > 0, count > 0);
    }
}

}  // namespace
