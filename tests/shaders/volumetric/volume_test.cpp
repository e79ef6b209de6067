// Orvane_Volume: what lights scatter at a point, and the life of instances.

#include <climits>
#include <cmath>
#include <limits>

#include "shaders/volumetric/volume_fixture.h"

namespace {

using scripted::IsColor;
using Light = Orvane_Light_params;
using Volume = Orvane_Volume_params;

constexpr miScalar kInfinity = std::numeric_limits<miScalar>::infinity();
constexpr miScalar kNaN = std::numeric_limits<miScalar>::quiet_NaN();
constexpr miScalar kTangent = 0.41421356f;  // of half a spot light's half angle

class InScatterTest : public VolumeTest {
  protected:
    // What all lights scatter at a point of a ray along +x, 1 from its origin.
    miColor at(miVector p, miScalar near = 0, miScalar far = 10) {
        set_up();
        std::vector<RaySegment> segments;
        for (int i = 0; i < shared().light_count; ++i)
            segments.push_back({near, far, &shared().lights[i]});
        state.dir = {1, 0, 0};
        miColor c = {9, 9, 9, 9};
        qv_InScatter(&c, segments.data(), shared().light_count, &p, &state, 1);
        return c;
    }
};

TEST_F(InScatterTest, PointLightsDecayAndPreferTheRay) {
    Light& block = add_point({0, 0, 0});
    block.color = {1, 0.5f, 0.25f, 1};
    block.volume_decay = 4, block.volume_density = 3;
    const miScalar lit = 3 * std::exp(-1.0f);  // 2 from the light
    EXPECT_THAT(at({0, 0, 2}), IsColor(lit, lit / 2, lit / 4, 0));
    EXPECT_THAT(at({2, 0, 0}), IsColor(2 * lit, lit, lit / 2, 0));
    EXPECT_THAT(at({-1.2f, 1.6f, 0}), IsColor(1.36f * lit, 0.68f * lit, 0.34f * lit, 0));
    EXPECT_NEAR(at({0, 0, 2}, 1, 1).r, lit, 1e-6);
    EXPECT_EQ(at({0, 0, 2}, 1.001f, 10).r + at({0, 0, 2}, 0, 0.999f).r, 0);
}

// 4 below a spot light of density 2, with a surface at 4.04 from where depth rays start.
TEST_F(InScatterTest, SpotLightsByTheirSettings) {
    const miScalar plain = 2 / (kTangent * 100 * 4);
    const struct {
        const char* name;
        void (*set)(Light&);
        miScalar expected;
    } cases[] = {
        {"plain", [](Light&) {}, plain},
        {"inverse square", [](Light& l) { l.inverse_square = 1, l.volume_decay = 8; }, 8},
        {"full", [](Light& l) { l.attenuation = 1, l.atten_start = 5, l.atten_end = 6; }, plain},
        {"half", [](Light& l) { l.attenuation = 1, l.atten_start = 2, l.atten_end = 6; },
         plain / 2},
        {"beyond", [](Light& l) { l.attenuation = 1, l.atten_end = 3.9f; }, 0},
        {"too near", [](Light& l) { l.depth_start = 4; }, 0},
        {"not too near", [](Light& l) { l.depth_start = 3.99f; }, plain},
        {"shadowed", [](Light& l) { l.shadow = 1; }, 0},
        {"before the surface", [](Light& l) { l.shadow = 1, l.depth_start = 0.02f; }, plain},
    };
    Light& block = add_spot({0, 10, 0});
    const Light before = block;
    trace([](auto&, auto&) { return 4.04; });
    for (const auto& c : cases) {
        block = before;
        block.volume_density = 2;
        c.set(block);
        EXPECT_NEAR(at({0, 6, 0}).g, c.expected, 1e-6) << c.name;
    }
}

TEST_F(InScatterTest, ExactShadowsAskTheLight) {
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

TEST_F(InScatterTest, LightsAdd) {
    add_point({0, 0, 0}).color = {1, 0, 0.5f, 1};
    const miColor one = at({0.5f, 1, 0});
    add_spot({0, 2, 0});
    const miColor both = at({0.5f, 1, 0});
    params.behind[0] = miNULLTAG;
    const miColor other = at({0.5f, 1, 0});
    EXPECT_GT(other.g, 0);
    EXPECT_THAT(both, IsColor(one.r + other.r, one.g + other.g, one.b + other.b, 0));
}

// Of 4 x 4 texels, the slide shows which one it is.
TEST_F(InScatterTest, PointLightsRoundToTheirTexelsInTheWorld) {
    add_point({0, 0, 0}).slide = 1;
    host.texture = [](miColor* c, miState*, miTag, const miVector& uv) {
        *c = {uv.x * 4 - 0.5f, uv.y * 4 - 0.5f, 1, 1};
        return miTRUE;
    };
    const auto texel = [&](miVector p) {
        const miColor c = at(p);
        return std::lround(c.r / c.b) * 10 + std::lround(c.g / c.b);
    };
    EXPECT_EQ(texel({-1, 0, -0.9f}), 12);
    EXPECT_EQ(texel({0.01f, 1, 1}), 33);                // rather than 43
    host.world = scripted::rotation(0, 1.5707963f, 0);  // internal -z is the world's -x
    EXPECT_EQ(texel({0, 0, -1}), 12);
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

TEST_F(InstanceTest, NeedsRayTracing) {
    EXPECT_EQ(Orvane_Volume_version(), 1);
    miBoolean wanted = miFALSE;
    Orvane_Volume_init(&state, nullptr, &wanted);
    EXPECT_TRUE(wanted);
    EXPECT_EQ(host.allocation_count, 0);
    options.trace = miFALSE;
    EXPECT_FALSE(shade());
    EXPECT_THROW(init(), scripted::Fatal);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0].text,
              "Orvane Volume FATAL: Orvane shader will not run with trace disabled");
}

// Every call frees its table, and exit the rest: one record, the lights, two maps for each light.
TEST_F(InstanceTest, ShadesRaysThatSeeAndFreesAll) {
    constexpr int kept = 1 + 1 + 2 * 2 * (1 + 4);
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
    EXPECT_EQ(host.allocation_count, kept + 1 + 4 * 2);  // the lights' record grew once
    EXPECT_EQ(host.count("mi_trace_reflection"), 32);
    Orvane_Volume_exit(&state, nullptr);
    EXPECT_EQ(std::ssize(host.allocations), kept);
    exit();
    EXPECT_TRUE(host.allocations.empty());
}

TEST_F(InstanceTest, LivesWithoutMemory) {
    for (int n = 1; n == 1 || host.allocation_count >= host.failing_allocation; ++n) {
        host.failing_allocation = host.allocation_count + n;
        init();
        EXPECT_EQ(shade(), n > 1) << n;
        exit();
        EXPECT_TRUE(host.allocations.empty()) << n;
        EXPECT_LT(n, 99);
    }
}

// The render is aborted from its n-th check on: lights that are complete by then stay, and no more.
TEST_F(InstanceTest, SurvivesAnAbortAtAnyPoint) {
    int n = 0, checks = 0;
    host.aborted = [&] { return ++checks >= n; };
    for (bool finished = false; !finished; checks = 0) {
        ++n;
        host.calls.clear();
        init();
        finished = shade();
        EXPECT_EQ(finished, checks < n);
        EXPECT_LE(16 * shared().light_count, host.count("mi_trace_reflection")) << n;
        EXPECT_EQ(shared().depth_pass, 0);
        EXPECT_TRUE(shade());
        exit();
        EXPECT_TRUE(host.allocations.empty()) << n;
    }
    EXPECT_GT(n, 2 * 4);
}

TEST_F(InstanceTest, HostileSettingsGiveNoNaN) {
    const VolumeBlock plain = params;
    const Light block = blocks[0];
    int n = 0;
    const auto expect_numbers = [&](auto set) {
        params = plain;
        params.fog = params.noise = params.noise_octaves = 1;
        params.fog_end = 5, params.noise_amount = 1;
        for (Light& light : blocks) {
            light = block;
            light.slide = light.attenuation = light.volume_noise = light.inverse_square = 1;
            light.noise_octaves = INT_MAX, light.noise_amount = 1, light.atten_end = 5;
            set(light);
        }
        ++n;
        for (const double dist : {4.0, 0.0})
            for (const miVector& dir : {miVector{0, 0, -1}, {0, 1, 0}, normalized({0, 1, -2})}) {
                const miColor c = see(dist, {0.5f, 0.5f, 0.5f, 0.5f}, dir);
                EXPECT_TRUE(std::isfinite(c.r + c.g + c.b + c.a)) << "setting " << n;
            }
    };
    for (const miScalar value : {0.0f, -1.0f, 5.0f, kInfinity, kNaN}) {
        for (const auto field :
             {&Volume::step_length, &Volume::max_length, &Volume::fog_start, &Volume::fog_end,
              &Volume::noise_scale, &Volume::noise_amount, &Volume::noise_speed})
            expect_numbers([&](Light&) { params.*field = value; });
        for (const auto field :
             {&Light::intensity, &Light::falloff, &Light::volume_density, &Light::volume_decay,
              &Light::atten_start, &Light::atten_end, &Light::depth_start, &Light::slide_scale,
              &Light::slide_rotation, &Light::noise_frequency, &Light::noise_amount})
            expect_numbers([&](Light& light) { light.*field = value; });
    }
    for (const miScalar value : {-1.0f, 3.0f})
        expect_numbers([&](Light&) { params.fog_floor = value; });
    expect_numbers([&](Light& light) { light.color.g = kNaN; });
    expect_numbers([&](Light&) { params.fog_color.g = kNaN; });

    // Lights that cannot have maps are left out.
    for (const int resolution : {0, -4, INT_MAX}) {
        expect_numbers([&](Light& light) { light.map_resolution = resolution; });
        EXPECT_EQ(shared().light_count, 0) << resolution;
    }
    for (const miScalar spread : {0.0f, 1.0f, -1.0f, 2.0f, -0.5f, kNaN}) {
        host.items[params.behind[0] - 1].answers[miQ_LIGHT_SPREAD] = spread;
        expect_numbers([&](Light&) { params.n_light = 1; });
        EXPECT_EQ(shared().light_count, 0) << spread;
    }
}

}  // namespace
