// Shapes and profiles at points whose values follow from geometry.

#include "flare/primitives.h"

#include <gmock/gmock.h>

#include <cmath>
#include <vector>

#include "scripted/host.h"

namespace {

constexpr miColor kColour = {1, 0.5f, 0.25f, 0.125f};

class PrimitivesTest : public scripted::Renderer {
  protected:
    PrimitivesTest() {
        params.flare_scale = params.flare_aspect = 1;
        light.params = &params;
        light.x = 0.2f, light.y = 0.1f;
    }

    // The factor that a profile of radius 2 has at t; -1 where it draws nothing.
    double profile(int mode, miScalar t, miScalar V) {
        miColor out = {9, 9, 9, 9};
        if (!primitiveProfile(&state, &out, {1, 1, 1, 1}, 2 * t, 2 * t, 0, 2, mode, V)) {
            EXPECT_EQ(out.r, 9);
            return -1;
        }
        EXPECT_EQ(out.a, mode == 0 || mode == 10 ? 1 : 9);
        EXPECT_EQ(out.r, out.b);
        return static_cast<double>(out.r);
    }

    double circle(miScalar X, miScalar Y, miScalar R, miScalar aspect) {
        miColor out = {};
        const bool drawn =
            drawCircle(&state, &out, kColour, X, Y, 0, 0, R, 1, 0, aspect) != miFALSE;
        return drawn ? static_cast<double>(out.r) : -1;
    }

    double ngon(double angle, miScalar r, int sides, miScalar rot) {
        miColor out = {};
        const bool drawn =
            drawNgon(&state, &out, kColour, r * static_cast<miScalar>(std::cos(angle)),
                     r * static_cast<miScalar>(std::sin(angle)), 0, 0, 1, rot, sides, 2, 0,
                     1) != miFALSE;
        return drawn ? static_cast<double>(out.r) : -1;
    }

    // The sum of one record at a pixel, placed with this blend.
    miColor draw(FlarePrimitive record, miScalar X, miScalar Y, miScalar blend = 0) {
        light.primitives = &record;
        light.primitive_count = 1;
        placePrimitives(&light, blend);
        miColor out;
        drawPrimitives(&state, &out, &light, X, Y, 95);
        return out;
    }

    Orvane_Light_params params = {};
    FlareLight light = {};
};

TEST_F(PrimitivesTest, ProfilesAtComputablePoints) {
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
    };
    for (const auto& p : kPoints)
        EXPECT_NEAR(profile(p.mode, float(p.t), float(p.V)), p.expected, 1e-5)
            << p.mode << " at " << p.t;
    // Grain about the plain falloff: samples of one half give the plain one.
    int samples = 0;
    host.random = [&samples] { return ++samples, 0.5; };
    host.noise = [](const miVector&) { return 0.5f; };
    EXPECT_NEAR(profile(9, 0.25f, 0), 0.5, 1e-6);
    EXPECT_NEAR(profile(11, 0.8f, 0.25f), 1 - 0.09 / 0.31, 1e-5);
    EXPECT_NEAR(profile(8, 0.5f, 0), std::exp(-0.5) - 1 / e, 1e-6);
    EXPECT_EQ(samples, 3);
    // Whatever V makes of them, profiles draw numbers or nothing.
    for (int mode = 0; mode < 16; ++mode)
        for (const miScalar V : {-1.0f, -0.06f, 0.0f, 1.0f, 1e30f, std::nanf("")})
            for (const miScalar t : {0.0f, 0.5f, 0.97f, 1.0f, std::nanf("")})
                EXPECT_TRUE(mode == 6 || std::isfinite(profile(mode, t, V))) << mode << ' ' << V;
}

TEST_F(PrimitivesTest, SpectralRingRunsThroughItsStops) {
    const auto ring = [&](miScalar r) {
        miColor out = {9, 9, 9, 9};
        primitiveProfile(&state, &out, {1, 1, 1, 1}, r, r, 0, 1, 6, 0);
        return std::vector<double>{out.r, out.g, out.b};
    };
    const auto near = [](double x) { return testing::DoubleNear(x, 1e-3); };
    const auto is = [&](double r, double g, double b) {
        return testing::ElementsAre(near(r), near(g), near(b));
    };
    EXPECT_THAT(ring(1), is(0, 0, 0));
    EXPECT_THAT(ring(0.995f), is(0.5, 0, 0));
    EXPECT_THAT(ring(0.99f), is(1, 0, 0));
    EXPECT_THAT(ring(0.985f), is(1, 0.5, 0));
    EXPECT_THAT(ring(0.97f), is(0, 1, 0));
    EXPECT_THAT(ring(0.955f), is(0, 0.5, 1));
    EXPECT_THAT(ring(0.945f), is(0.5, 0, 1));
    EXPECT_THAT(ring(0.935f), is(0.5, 0, 0.5));
    EXPECT_EQ(ring(0.93f)[0], 9);
}

TEST_F(PrimitivesTest, CirclesAndPolygons) {
    EXPECT_EQ(circle(0.5f, 0, 0.5f, 1), 0);  // on the rim
    EXPECT_EQ(circle(0.50001f, 0, 0.5f, 1), -1);
    EXPECT_EQ(circle(0, 0, 0, 1), 1);  // radius 0: its centre alone
    EXPECT_EQ(circle(1e-6f, 0, 0, 1), -1);
    EXPECT_NEAR(circle(0.999f, 0, 0.5f, 2), 0.001, 1e-6);  // stretched sideways
    EXPECT_NEAR(circle(0, 0.499f, 0.5f, 2), 0.002, 1e-6);
    EXPECT_EQ(circle(0, 0, 0.5f, 0), -1);  // no width at all
    EXPECT_EQ(circle(0.1f, 0, 0.5f, 0), -1);

    const double half = std::acos(-1.0) / 4;
    for (int i = 0; i < 8; ++i) {
        EXPECT_NEAR(ngon(2 * half * i, 0.5f, 4, 0), 0.5, 1e-6);        // edges across the axes
        EXPECT_NEAR(ngon(half * (2 * i + 1), 1.414f, 4, 0), 1, 1e-3);  // corners on the diagonals
        EXPECT_EQ(ngon(half * (2 * i + 1), 1.415f, 4, 0), -1);
        EXPECT_NEAR(ngon(2 * half * i, 1.414f, 4, float(half)), 1, 1e-3);  // turned by an eighth
    }
    EXPECT_EQ(ngon(0, 0, 5, 0), 0);
    for (const int sides : {0, -3}) EXPECT_EQ(ngon(0, 0.5f, sides, 0), -1);
}

TEST_F(PrimitivesTest, PlacesFollowTheLight) {
    params.flare_scale = 2;
    // A disc of radius 0.01 x 2; mode 1 is 1 at its centre alone.
    FlarePrimitive disc = {PRIMITIVE_CIRCLE, {1, 1, 1, -1, 3, 0.01f, 1}};
    EXPECT_NEAR(draw(disc, -0.2f, -0.1f).r, 1, 1e-4);
    EXPECT_NEAR(draw(disc, 0.2f, 0.1f, 0.5f).g, 1, 1e-4);
    EXPECT_NEAR(draw(disc, 0.61f, 0.3f, 1).b, 0.5, 1e-4);
    FlarePrimitive pulled = {PRIMITIVE_CIRCLE_D, {1, 1, 1, 0.4f, 0.3f, 0, 1, 0.01f, 1}};
    EXPECT_NEAR(draw(pulled, 0.4f, 0.3f).r, 1, 1e-4);
    EXPECT_NEAR(draw(pulled, 0.3f, 0.2f, 0.5f).r, 1, 1e-4);
    EXPECT_NEAR(draw(pulled, 0.2f, 0.1f, 1).r, 1, 1e-4);
    FlarePrimitive square = {PRIMITIVE_NGON, {1, 1, 1, 1, 1, 0.05f, 0, 0.7853982f, 4, 0}};
    EXPECT_EQ(draw(square, 0.29f, 0.19f).r, 1);
    EXPECT_EQ(draw(square, 0.29f, 0.19f, 1).r, 0);
    initRayTable();
    FlarePrimitive flat = {PRIMITIVE_RAYS, {1, 1, 1, 1, 0, 0, 0, 1, 2, 200, 0, 0}};  // size 0
    EXPECT_EQ(draw(flat, 0.2f, 0.1f).r, 0);
    FlarePrimitive unknown = {6, {1, 1, 1}};
    EXPECT_EQ(draw(unknown, 0.2f, 0.1f).r, 0);
}

}  // namespace
