// Orvane_Volume along a ray: where it is sampled, what the light adds up to, noise and fog.

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
    miScalar miColor::*channel = &miColor::b;
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
    const miColor behind = {0.1f, 0, 0.5f, 0.25f};
    add_floodlight({0.1f, 0.2f, 0.04f, 1});
    for (const miScalar step : {0.1f, 0.7f, 50.0f}) {
        params.step_length = step;
        EXPECT_THAT(see(2, behind), IsColor(0.3f, 0.4f, 0.58f, 0.25f, 1e-5f)) << step;
    }
    add_floodlight({0.05f, 0, 0.1f, 1});
    EXPECT_THAT(see(2, behind), IsColor(0.4f, 0.4f, 0.78f, 0.25f, 1e-5f));
    EXPECT_THAT(see(9, {-8, -1, 0, 1.5f}), IsColor(0, 0.8f, 1, 1, 1e-5f));
    params.step_length = 1e-30f;  // no more than a million samples
    EXPECT_NEAR(see(2).r, 0.3, 0.01);
}

TEST_F(MarchTest, NoiseThinsTheLight) {
    std::vector<miScalar> places;
    host.noise = [&](const miVector& p) {
        places.push_back(p.z);
        return 0.25f;
    };
    host.world = scripted::translation(0, 0, 100);
    camera.frame_time = 2;
    params.noise = params.noise_octaves = 1;
    params.noise_amount = 0.5f, params.noise_scale = 2, params.noise_speed = 3;
    add_floodlight({0.1f, 0.1f, 0.1f, 1});
    EXPECT_NEAR(see(2).g, 0.125, 1e-5);
    params.noise_per_sample = miTRUE, params.noise_scale = 0;
    EXPECT_NEAR(see(2).g, 0.125, 1e-5);
    params.noise_per_sample = miFALSE, params.n_light = 0;
    add_point({0, 0, 90});  // entered at 7
    see(20);
    EXPECT_THAT(places, testing::ElementsAre(47, 92.5f, 93, 93.5f, 94, 87));
}

class FogTest : public MarchTest {
  protected:
    void set_fog(miScalar start, miScalar end, miScalar floor = 0) {
        params.fog = miTRUE;
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
    void go(miScalar first, miScalar second = 0) {
        before[0].dist = first, before[1].dist = second;
        before[0].parent = &before[1];
        state.parent = &before[0];
    }
    miState before[2] = {};
    VolumeBlock standing;
    unsigned char connected[sizeof standing / 4] = {1, 1, 1};
};

TEST_F(FogTest, CoversWhatLiesBehindIt) {
    const struct {
        miScalar before;
        double dist;
        miScalar floor;
        double share;  // of the fog's depth
    } cases[] = {
        {0, 2, 0, 0},  {0, 7, 0, 0.5},    {0, 12, 0, 1},   {0, 7, 0.5f, 0.5},
        {0, 0, 0, 99}, {0, 0, 0.25f, 99}, {1, 3, 0, 0.25}, {3, 3, 0, 0.3},
    };
    params.fog_color = {0, 1, 0.5f, 9};
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
TEST_F(FogTest, ComposesOverAStretch) {
    go(1);
    params.fog_color = {0, 1, 0.5f, 9};
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

// Three steps of 1 with a light of 0.1; each leaves 0.5 + 0.5 x 0.5 of it where there is fog.
TEST_F(FogTest, DimsTheLightStepByStep) {
    go(10);
    add_floodlight({0.1f, 0.1f, 0.1f, 1});
    params.step_length = 1;
    set_fog(9, 10, 0.5f);
    EXPECT_NEAR(see(3).r, 0.1 * (0.75 + 0.5625 + 0.421875), 1e-5);
    connect();
    set_fog(10.5f, 11.5f, 0.5f);  // all but the last sample
    EXPECT_NEAR(see(3).r, 0.1 * (1 + 0.75 + 0.5625), 1e-5);
    set_fog(12.5f, 13.5f, 0.5f);  // only the refined one, which ends at 12.75
    EXPECT_NEAR(see(3).r, 0.1 * (1 + 1 + 0.75), 1e-5);
    params.n_light = 0;
    add_point({0, 0, -10}).color = {9e9f, 9e9f, 9e9f, 9};
    connect();
    set_fog(16, 17);  // 1 of it in front of the light, which is clamped before
    EXPECT_NEAR(see(20).r, 0.03, 1e-6);
}

}  // namespace
