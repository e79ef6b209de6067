// Noise sums against a host whose noise the test knows, and curves at their fixed points.

#include "frame/noise.h"

#include <cmath>
#include <limits>

#include "scripted/host.h"

namespace {

using scripted::IsColor;

constexpr int kMany = std::numeric_limits<int>::max();

class NoiseTest : public scripted::Renderer {
  protected:
    NoiseTest() {
        host.noise = [this](const miVector& p) {
            asked.push_back(p);
            return noise;
        };
    }
    miScalar noise = 0.25f;
    std::vector<miVector> asked;
};

TEST_F(NoiseTest, ScaleCompoundsWhileTheSwingHalves) {
    miVector p = {1, -2, 0.5f};
    EXPECT_EQ(qv_NoiseOctave3D(&p, 5, 2), 0.5 + 0.5 * (1 + 0.5 + 0.25 + 0.125 + 0.0625));
    EXPECT_EQ(qv_NoiseOctave2D(1, -2, 5, 2), 0.5 + 0.5 * (1 + 0.5 + 0.25 + 0.125 + 0.0625));
    ASSERT_EQ(asked.size(), 10u);
    const miScalar scale[] = {1, 2, 8, 64, 1024};
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(asked[i].x, scale[i % 5]);
        EXPECT_EQ(asked[i].y, -2 * scale[i % 5]);
        EXPECT_EQ(asked[i].z, i < 5 ? scale[i] / 2 : 0);
    }
    EXPECT_EQ(p.x, 1);  // the caller's point stays
}

TEST_F(NoiseTest, SumStaysWithinItsBoundsForAnyCount) {
    miVector p = {0.3f, 1e30f, -7};
    for (const int none : {0, -1, -kMany}) EXPECT_EQ(qv_NoiseOctave3D(&p, none, 1), 0.5);
    EXPECT_TRUE(asked.empty());
    for (const int many : {31, 32, 33, kMany}) {
        asked.clear();
        noise = 0;
        EXPECT_NEAR(qv_NoiseOctave3D(&p, many, 1), 1.5, 1e-9);
        noise = 1;
        EXPECT_NEAR(qv_NoiseOctave2D(0.3, 7, many, 1), -0.5, 1e-9);
        EXPECT_EQ(asked.size(), 62u);
    }
}

TEST_F(NoiseTest, BiasAndGainAtTheirFixedPoints) {
    EXPECT_EQ(qv_Bias(0.75, 0.25), 0.5625);
    for (const double x : {0.1, 0.5, 0.7}) {
        EXPECT_EQ(qv_Bias(x, 0.5), x);
        EXPECT_NEAR(qv_Bias(0.5, x), x, 1e-12);
        EXPECT_NEAR(qv_Gain(x, 0.5), x, 1e-12);
        EXPECT_NEAR(qv_Gain(x, 0.8), 1 - qv_Gain(1 - x, 0.8), 1e-12) << x;
        EXPECT_NEAR(qv_Gain(0.25, x), (1 - x) / 2, 1e-12);
        EXPECT_TRUE(qv_Gain(0.5, x) == 0.5 && qv_Gain(0.0009, x) == 0 && qv_Gain(0.9991, x) == 1);
        EXPECT_TRUE(qv_Gain(0.0011, x) > 0 && qv_Gain(0.9989, x) < 1);
    }
}

TEST_F(NoiseTest, InterpolationEasesFromEndToEnd) {
    const double half = std::sqrt(0.5),
                 middle[] = {0.5, std::sqrt(0.75), 1 - std::sqrt(0.75), half, 1 - half};
    for (int type = qv_LINEAR; type <= qv_SINE_IN; ++type) {
        EXPECT_NEAR(qv_Interpolate(type, 2, 6, 2, 10, 20), 10, 1e-12) << type;
        EXPECT_EQ(qv_Interpolate(type, 2, 6, 6, 10, 20), 20) << type;
        EXPECT_NEAR(qv_Interpolate(type, 6, 2, 4, 0, 1), middle[type], 1e-12) << type;
        // An empty range is a step.
        EXPECT_NEAR(qv_Interpolate(type, 2, 2, 1.9, 10, 20), 10, 1e-12) << type;
        EXPECT_EQ(qv_Interpolate(type, 2, 2, 2, 10, 20), 20) << type;
    }
    EXPECT_NEAR(qv_Interpolate(qv_CIRCLE_IN, 0, 1, 0.6, 0, 1), 0.2, 1e-12);
    EXPECT_EQ(qv_Interpolate(qv_LINEAR, 0, 2, 5, 10, 20), 35);  // not clamped
    for (const int unknown : {-1, 5})
        EXPECT_EXIT(qv_Interpolate(unknown, 0, 1, 0, 0, 1), testing::ExitedWithCode(0),
                    "^INVALID INTERPOLATION TYPE\n$");
}

TEST_F(NoiseTest, FadeLeavesAlphaAndWhatHasNoBlend) {
    miColor c = {1, 2, 4, 0.5f}, target = {3, 0, 4, 9}, odd = {NAN, 1e30f, 0, 0};
    qv_ColorFade(&c, &target, 0.25);
    EXPECT_THAT(c, IsColor(1.5f, 1.5f, 4, 0.5f));
    qv_ColorFade(&c, &odd, 1e20);
    EXPECT_THAT(c, IsColor(1.5f, 1.5f, -4e20f, 0.5f));

    const int cases[][2] = {{-5, 0},          {0, 0},           {1, 1},  {5, 120},
                            {13, 1932053504}, {33, -kMany - 1}, {34, 0}, {kMany, 0}};
    for (const auto& [n, product] : cases) EXPECT_EQ(qv_Factorial(n), product) << n;
}

TEST_F(NoiseTest, PerturbedDirectionsHaveUnitLength) {
    host.random = [x = -0.5]() mutable { return x = x < 1 ? x + 0.5 : 0; };
    miVector dir = {0, 0, 2}, zero = {0, 0, 0};
    qv_PerturbVector(&state, &dir, 3);  // by -3/2, 0, 3/2
    qv_PerturbVector(&state, &zero, 0);
    EXPECT_FLOAT_EQ(dir.x, -1.5f / std::hypot(1.5f, 3.5f));
    EXPECT_EQ(dir.y, 0);
    EXPECT_FLOAT_EQ(dir.z, 3.5f / std::hypot(1.5f, 3.5f));
    EXPECT_TRUE(is_zero(zero));

    // The sample is of single precision before anything is done with it: 0.3 - 1/2 is not -0.2.
    host.random = [] { return 0.3; };
    dir = {2e6f, 2e6f, 2e6f};
    qv_PerturbVector(&state, &dir, 1e7);  // -1999999.88 is added
    for (const miScalar x : {dir.x, dir.y, dir.z}) EXPECT_FLOAT_EQ(x, std::sqrt(1 / 3.0f));
}

}  // namespace
