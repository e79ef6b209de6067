// Orvane_Volume: where a ray is sampled, what lights add up to, fog, and the life of instances.

#include <climits>
#include <cmath>

#include "shaders/volumetric/volume_fixture.h"

namespace {

using scripted::IsColor;
using testing::FloatNear;
using testing::Pointwise;
using Light = Orvane_Light_params;

constexpr miScalar kTangent = 0.41421356f;  // of half a spot light's half angle

class MarchTest : public VolumeTest {
  protected:
    // A light so far above that a ray along -z is lit evenly, by its color per unit of length.
    Light& add_floodlight(miColor color) {
        Light& block = add_spot({0, 10000, 0});
        block.volume_density = kTangent * 100 * 10000;
        block.color = color;
        return block;
    }
    // Distances at which the lights are asked, in order, that are in the shadow of their maps
    // everywhere.
    std::vector<miScalar> samples(double dist) {
        for (Light& block : blocks) block.exact_shadows = block.shadow = miTRUE;
        trace([](auto&, auto&) { return 0.05; });
        std::vector<miScalar> asked;
        host.light_samples = [&](miState* at, miTag) {
            const miScalar t = -at->point.z;
            if (asked.empty() || asked.back() != t) asked.push_back(t);
            return std::vector<scripted::LightSample>();
        };
        see(dist);
        return asked;
    }
};

TEST_F(MarchTest, SamplesFromTheFarEndInWholeSteps) {
    const struct {
        double dist;
        miScalar step, most, spacing;
        std::size_t count;
    } cases[] = {
        {1, 0.5f, 9, 1 / 3.0f, 3}, {2, 0.5f, 9, 0.5f, 4}, {2, 0.42f, 9, 0.5f, 4}, {3, 100, 9, 1, 3},
        {3, -1, 9, 1, 3},          {8, 0.5f, 2, 0.5f, 4}, {0, 0.5f, 2, 0.5f, 4},  {2, 0, 9, 0, 0},
        {2, 0.5f, 0, 0, 0},        {2, 0.5f, -3, 0, 0},
    };
    add_floodlight({1, 1, 1, 1});
    for (const auto& [dist, step, most, spacing, count] : cases) {
        params.step_length = step, params.max_length = most;
        std::vector<miScalar> expected(count);
        for (std::size_t k = 0; k < count; ++k)
            expected[k] = spacing * static_cast<miScalar>(count - 1 - k);
        EXPECT_THAT(samples(dist), Pointwise(FloatNear(1e-5f), expected)) << dist << step;
    }
    params.n_light = 0;
    for (const miScalar z : {-12.0f, -10.0f, -11.0f}) add_point({0, 0, z});  // together 7 to 15
    params.step_length = 2, params.max_length = 100;
    EXPECT_THAT(samples(0), Pointwise(FloatNear(1e-5f), {13.0f, 11.0f, 9.0f, 7.0f}));
    for (std::size_t n = 3; n < 100; ++n) {  // rounding loses none
        const auto number = static_cast<miScalar>(n);
        params.n_light = 0;
        add_point({0.01f, 0, -3 - 0.013f * number});
        params.step_length = 6 / (number + 0.5f);
        EXPECT_EQ(samples(0).size(), n);
    }
}

TEST_F(MarchTest, AddsLightTimesLengthAndClamps) {
    add_floodlight({0.1f, 0.2f, 0.04f, 1});
    for (const miScalar step : {0.1f, 0.7f, 50.0f}) {
        params.step_length = step;
        EXPECT_THAT(see(2, {0.1f, 0, 0.5f, 0.25f}), IsColor(0.3f, 0.4f, 0.58f, 0.25f, 1e-5f));
    }
    add_floodlight({0.05f, 0, 0.1f, 1});
    EXPECT_THAT(see(9, {-8, -1, 0, 1.5f}), IsColor(0, 0.8f, 1, 1, 1e-5f));
    params.step_length = 1e-30f;  // no more than a million samples
    EXPECT_NEAR(see(2).r, 0.3, 0.01);
}

// In front of, within and behind a light without colour, between 7 and 13, after rays of 1 and 2.
TEST_F(MarchTest, FogComposesOverAStretch) {
    miState before[2] = {};
    before[0].dist = 1, before[1].dist = 2;
    before[0].parent = &before[1], state.parent = &before[0];
    params.fog = miTRUE, params.fog_color = {0, 1, 0.5f, 9};
    for (const miScalar start : {-1.0f, 5.0f, 16.0f})
        for (const double dist : {20.0, 12.5, 9.0, 3.0}) {
            params.fog_start = start, params.fog_end = start + 13, params.n_light = 0;
            const miColor fog = see(dist, {1, 0.5f, 0.25f, 2});
            const double within = std::max(0.0, 3 + dist - std::max(3.0f, start));
            EXPECT_NEAR(fog.r, std::pow(0.03, within / 13), 1e-5) << start << ' ' << dist;
            add_point({0, 0, -10}).color = {0, 0, 0, 0};
            EXPECT_THAT(see(dist, {1, 0.5f, 0.25f, 2}),
                        IsColor(fog.r, fog.g, fog.b, dist < 7 ? 2 : 1, 2e-6f))
                << start << ' ' << dist;
        }
}

class InstanceTest : public VolumeTest {
  protected:
    InstanceTest() {
        add_spot({0, 2, -4}).shadow = miTRUE;
        add_point({0, 0, -4}).shadow = miTRUE;
        trace([](auto&, auto&) { return 3.0; });
        state.dist = 4;
    }
    miBoolean shade() { return Orvane_Volume(&result, &state, &params); }

    miColor result = {0.5f, 0.5f, 0.5f, 9};
};

// Every call frees its table, and exit the rest: one record, the lights, two maps for each light.
TEST_F(InstanceTest, ShadesRaysThatSeeAndFreesAll) {
    constexpr int kept = 1 + 1 + 2 * 2 * (1 + 4);
    EXPECT_EQ(Orvane_Volume_version(), 1);
    miBoolean wanted = miFALSE;
    Orvane_Volume_init(&state, nullptr, &wanted);
    EXPECT_TRUE(wanted && host.allocation_count == 0);
    init();
    for (int type = miRAY_ENVIRONMENT; type >= miRAY_EYE; --type)
        for (const miVector dir : {miVector{0, 0, -1}, {0, 0, 1}}) {
            const bool sees = type <= miRAY_REFRACT;
            result.a = 9;
            state.type = type, state.dir = dir;
            EXPECT_TRUE(shade());
            EXPECT_EQ(result.a, sees && dir.z < 0 ? 1 : 9) << type;
            EXPECT_EQ(std::ssize(host.allocations), sees ? kept : 1);
        }
    EXPECT_EQ(host.count("mi_trace_reflection"), 32);
    Orvane_Volume_exit(&state, nullptr);
    EXPECT_EQ(std::ssize(host.allocations), kept);
    exit();
    options.trace = miFALSE;
    EXPECT_FALSE(shade());
    EXPECT_THROW(init(), scripted::Fatal);
    EXPECT_EQ(host.messages.at(0).text,
              "Orvane Volume FATAL: Orvane shader will not run with trace disabled");
}

// Memory fails at any point, and the render is aborted from its n-th check on: lights that are
// complete by then stay, and no more.
TEST_F(InstanceTest, LivesWithoutMemoryAndThroughAborts) {
    for (int n = 1; n == 1 || host.allocation_count >= host.failing_allocation; ++n) {
        host.failing_allocation = host.allocation_count + n;
        init();
        EXPECT_EQ(shade(), n > 1) << n;
        exit();
        ASSERT_TRUE(host.allocations.empty() && n < 99) << n;
    }
    host.failing_allocation = 0;
    int n = 0, checks = 0;
    host.aborted = [&] { return ++checks >= n; };
    for (bool finished = false; !finished; checks = 0) {
        ++n;
        host.calls.clear();
        init();
        finished = shade();
        EXPECT_EQ(finished, checks < n);
        EXPECT_LE(16 * shared().light_count, host.count("mi_trace_reflection")) << n;
        EXPECT_TRUE(shared().depth_pass == 0 && shade());
        exit();
        EXPECT_TRUE(host.allocations.empty()) << n;
    }
    EXPECT_GT(n, 2 * 4);
}

}  // namespace
