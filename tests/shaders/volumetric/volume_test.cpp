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
    // everywhere and yet send light(distance).
    std::vector<miScalar> samples(double dist, std::function<miScalar(miScalar)> light) {
        for (Light& block : blocks) block.exact_shadows = block.shadow = miTRUE;
        trace([](auto&, auto&) { return 0.05; });
        std::vector<miScalar> asked;
        host.light_samples = [&](miState* at, miTag) {
            const miScalar t = -at->point.z, value = light(t);
            if (asked.empty() || asked.back() != t) asked.push_back(t);
            miColor color = {0, 0, 0, 0};
            color.*channel = value;
            return std::vector<scripted::LightSample>{{color, {}, 0}};
        };
        see(dist);
        return asked;
    }
    // What all lights scatter at a point of a ray along +x.
    miColor at(miVector p) {
        set_up();
        const RaySegment segment = {0, 10, &shared().lights[0]};
        state.dir = {1, 0, 0};
        miColor c = {9, 9, 9, 9};
        qv_InScatter(&c, &segment, 1, &p, &state, 1);
        return c;
    }
    void set_fog(miScalar start, miScalar end, miScalar floor = 0) {
        params.fog = miTRUE, params.fog_color = {0, 1, 0.5f, 9};
        params.fog_start = start, params.fog_end = end, params.fog_floor = floor;
    }
    // Lets all parameters be connected: the instance's own block has the lights that there are, and
    // a fog that no ray is to see.
    void connect() {
        standing = params;
        standing.fog_start = 50, standing.fog_end = 51, standing.fog_floor = 0.9f;
        function.parameters = &standing, function.connected = connected;
    }
    // Puts rays before this one.
    void go(miScalar first, miScalar second) {
        before[0].dist = first, before[1].dist = second;
        before[0].parent = &before[1];
        state.parent = &before[0];
    }
    miScalar miColor::*channel = &miColor::b;
    miState before[2] = {};
    VolumeBlock standing;
    unsigned char connected[sizeof standing / 4] = {1, 1, 1};
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
    const auto dark = [](miScalar) { return 0.0f; };
    add_floodlight({1, 1, 1, 1});
    for (const auto& [dist, step, most, spacing, count] : cases) {
        params.step_length = step, params.max_length = most;
        std::vector<miScalar> expected(count);
        for (std::size_t k = 0; k < count; ++k)
            expected[k] = spacing * static_cast<miScalar>(count - 1 - k);
        EXPECT_THAT(samples(dist, dark), Pointwise(FloatNear(1e-5f), expected)) << dist << step;
    }
    params.n_light = 0;
    for (const miScalar z : {-12.0f, -10.0f, -11.0f}) add_point({0, 0, z});  // together 7 to 15
    params.step_length = 2, params.max_length = 100;
    EXPECT_THAT(samples(0, dark), Pointwise(FloatNear(1e-5f), {13.0f, 11.0f, 9.0f, 7.0f}));
    for (std::size_t n = 3; n < 100; ++n) {  // rounding loses none
        const auto number = static_cast<miScalar>(n);
        params.n_light = 0;
        add_point({0.01f, 0, -3 - 0.013f * number});
        params.step_length = 6 / (number + 0.5f);
        EXPECT_EQ(samples(0, dark).size(), n);
    }
}

TEST_F(MarchTest, RefinesWhereTheLightChanges) {
    const struct {
        miScalar far, middle, near;  // the light at 1.5, at 1, and at 0.5 and 0
        std::vector<miScalar> expected;
    } cases[] = {
        {1, 1, 1, {1.5f, 1.625f, 1.75f, 1.875f, 1, 0.5f, 0}},
        {1, 1, 0, {1.5f, 1.625f, 1.75f, 1.875f, 1, 0.5f, 0.625f, 0.75f, 0.875f, 0}},
        {0, 0, 1, {1.5f, 1, 0.5f, 0.625f, 0.75f, 0.875f, 0}},
        {0.009f, 0.009f, 0, {1.5f, 1.625f, 1.75f, 1.875f, 1, 0.5f, 0}},
        {0.98f, 0.985f, 1, {1.5f, 1.625f, 1.75f, 1.875f, 1, 0.5f, 0.625f, 0.75f, 0.875f, 0}},
    };
    add_floodlight({1, 1, 1, 1});
    for (const auto& c : cases) {
        const auto light = [&](miScalar t) {
            return t > 1.4f ? c.far : t > 0.9f ? c.middle : c.near;
        };
        for (const auto one : {&miColor::r, &miColor::g, &miColor::b}) {
            channel = one;
            EXPECT_THAT(samples(2, light), Pointwise(FloatNear(1e-5f), c.expected)) << &c - cases;
        }
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

// A point light 2 away prefers what goes along the ray.
TEST_F(MarchTest, PointLightsDecay) {
    Light& block = add_point({0, 0, 0});
    block.volume_decay = 4, block.volume_density = 3;
    const miScalar lit = 3 * std::exp(-1.0f);
    EXPECT_NEAR(at({0, 0, 2}).r, lit, 1e-5);
    EXPECT_NEAR(at({2, 0, 0}).r, 2 * lit, 1e-5);
    EXPECT_NEAR(at({-1.2f, 1.6f, 0}).r, 1.36f * lit, 1e-5);
}

// 4 below a spot light of density 2, with a surface at 4.04 from where depth rays start.
TEST_F(MarchTest, LightsScatterByTheirSettings) {
    const miScalar plain = 2 / (kTangent * 100 * 4);
    const struct {
        void (*set)(Light&);
        miScalar expected;
    } cases[] = {
        {[](Light&) {}, plain},
        {[](Light& l) { l.inverse_square = 1, l.volume_decay = 8; }, 8},
        {[](Light& l) { l.attenuation = 1, l.atten_start = 5, l.atten_end = 6; }, plain},
        {[](Light& l) { l.attenuation = 1, l.atten_start = 2, l.atten_end = 6; }, plain / 2},
        {[](Light& l) { l.attenuation = 1, l.atten_end = 3.9f; }, 0},
        {[](Light& l) { l.depth_start = 4; }, 0},
        {[](Light& l) { l.depth_start = 3.99f; }, plain},
        {[](Light& l) { l.shadow = 1; }, 0},
        {[](Light& l) { l.shadow = 1, l.depth_start = 0.02f; }, plain},
    };
    Light& block = add_spot({0, 10, 0});
    const Light standard = block;
    trace([](auto&, auto&) { return 4.04; });
    for (const auto& c : cases) {
        block = standard;
        block.volume_density = 2;
        c.set(block);
        EXPECT_NEAR(at({0, 6, 0}).g, c.expected, 1e-6) << &c - cases;
    }
}

TEST_F(MarchTest, ExactShadowsAskTheLight) {
    Light& block = add_spot({0, 10, 0});
    block.shadow = block.exact_shadows = block.attenuation = miTRUE;
    block.atten_end = 0.5f;  // which the light itself knows
    trace([this](auto&, auto&) {
        state.pri = &state, state.pri_index = 3;
        return 1.0;
    });
    EXPECT_EQ(at({0, 6, 0}).r, 0);
    EXPECT_EQ(host.count("mi_sample_light"), 1);
    host.light_samples = [&](miState* to, miTag light) {
        EXPECT_EQ(light, params.behind[0]);
        EXPECT_EQ(to->point.y, 6);
        EXPECT_TRUE(to->normal.y == 1 && to->normal_geom.y == 1);
        EXPECT_TRUE(to->volume == miNULLTAG && to->pri == nullptr && to->pri_index == 0);
        return std::vector<scripted::LightSample>{{{2, 4, 0, 7}, {}, 0}, {{0, 0, 1, 7}, {}, 0}};
    };
    state.volume = 5;
    const miScalar plain = 1 / (kTangent * 100 * 4);
    EXPECT_THAT(at({0, 6, 0}), IsColor(plain, 2 * plain, plain / 2, 0));
}

TEST_F(MarchTest, CoversWhatLiesBehindIt) {
    const struct {
        miScalar before;
        double dist;
        miScalar floor;
        double share;  // of the fog's depth
    } cases[] = {
        {0, 2, 0, 0},  {0, 7, 0, 0.5},    {0, 12, 0, 1},   {0, 7, 0.5f, 0.5},
        {0, 0, 0, 99}, {0, 0, 0.25f, 99}, {1, 3, 0, 0.25}, {3, 3, 0, 0.3},
    };
    for (const auto& c : cases) {
        if (&c - cases > 3) connect();
        go(c.before, c.before / 2);
        set_fog(2, 12, c.floor);
        const auto fading = static_cast<miScalar>(std::pow(0.03, c.share));
        const miScalar clear = c.floor + (1 - c.floor) * fading;
        EXPECT_THAT(see(c.dist, {1, 0.5f, 2, 0.7f}),
                    IsColor(clear, 1 - clear / 2, 0.5f + 1.5f * clear, 0.7f, 1e-5f))
            << c.before << ' ' << c.dist << ' ' << c.floor;
    }
}

// In front of, within and behind a light without colour, between 7 and 13.
TEST_F(MarchTest, ComposesOverAStretch) {
    go(1, 0);
    for (const miScalar start : {-1.0f, 5.0f, 16.0f})
        for (const double dist : {20.0, 12.5, 9.0, 3.0}) {
            set_fog(start, start + 13);
            params.n_light = 0;
            const miColor whole = see(dist, {1, 0.5f, 0.25f, 2});
            add_point({0, 0, -10}).color = {0, 0, 0, 0};
            EXPECT_THAT(see(dist, {1, 0.5f, 0.25f, 2}),
                        IsColor(whole.r, whole.g, whole.b, dist < 7 ? 2 : 1, 2e-6f))
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
