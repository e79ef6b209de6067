// The lens: which lights flare, how strongly, and how the flare meets the picture.

#include <gmock/gmock.h>

#include <cmath>
#include <deque>
#include <vector>

#include "scripted/host.h"
#include "volumetric/light_block.h"

extern "C" {
void Orvane_Lens_init(miState*, void*, miBoolean*);
void Orvane_Lens_exit(miState*, void*);
miBoolean Orvane_Lens(miColor*, miState*, void*);
void initLensInstance(const void* params, void* instance, miState*);
}

namespace {

// The block of the lens with room for three lights.
struct Params {
    miInteger spare[2] = {};
    miInteger i_light = 0, n_light = 0;
    miTag light = 0;
    miScalar preset_blend = 0, flare_value = 1, flare_saturation = 1, edge_margin = 0.2f;
    miBoolean flare_only = miFALSE, screen_blend = miFALSE;
    miTag behind[3] = {};
};

class LensTest : public scripted::Renderer {
  protected:
    LensTest() {
        host.light_samples = [this](miState*, miTag) {
            return std::vector<scripted::LightSample>{{colour, {0, 0, 1}, 1}};
        };
        host.trace_eye = [this](miColor* result, miState* to, const miVector&, const miVector&) {
            *result = picture;
            to->dist = distance;
            return miTRUE;
        };
    }

    // A light at a place on the screen, 4 units in front of the camera; its star has one level
    // streak of even strength at the light.
    Orvane_Light_params& add_light(miScalar x, miScalar y, miScalar z = -4) {
        Orvane_Light_params& block = blocks.emplace_back();
        block.color = {1, 1, 1, 1};
        block.flare_intensity = block.flare_scale = block.flare_aspect = block.star_intensity = 1;
        block.star_on = miTRUE, block.star_count = 1, block.star_length = 1;
        block.star_width = 0.01f;
        block.flare_samples = 1;
        params.behind[params.n_light++] =
            host.add_light({.origin = {-x * z, -y * z, z}, .params = &block});
        params.i_light = 7;  // from light to behind, in words
        return block;
    }

    // The picture at a place on the screen, from init to exit.
    miColor see(miScalar x, miScalar y) {
        Orvane_Lens_init(&state, &params, nullptr);
        state.dir = normalized({x, y, -1});
        state.dist = 0;
        miColor result = {9, 9, 9, 9};
        EXPECT_TRUE(Orvane_Lens(&result, &state, &params));
        Orvane_Lens_exit(&state, &params);
        return result;
    }

    std::deque<Orvane_Light_params> blocks;
    Params params;
    miColor colour = {1, 0.5f, 0.25f, 0}, picture = {0.5f, 0.5f, 0.5f, 0.5f};
    double distance = 0;
};

TEST_F(LensTest, ShaderLevelAsksForInstances) {
    miBoolean wanted = miFALSE;
    Orvane_Lens_init(&state, nullptr, &wanted);
    EXPECT_TRUE(wanted);
    Orvane_Lens_exit(&state, nullptr);
    EXPECT_TRUE(host.messages.empty());
    add_light(0, 0);
    see(0, 0);
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_THAT(host.messages[0].text,
                testing::StartsWith("Orvane Lens: Initialized instance at "));
    EXPECT_THAT(host.messages[1].text, testing::StartsWith("Orvane Lens: Released instance at "));
    state.thread = 96;
    miColor result;
    EXPECT_FALSE(Orvane_Lens(&result, &state, &params));
    state.thread = 0;
}

TEST_F(LensTest, BlendsByTheSettings) {
    add_light(0, 0);
    const miScalar cover = 0.299f * 1 + 0.587f * 0.5f + 0.114f * 0.25f;
    const auto expect = [&](miScalar r, miScalar g, miScalar b, miScalar a) {
        const miColor c = see(0, 0);
        EXPECT_NEAR(c.r, r, 1e-4);
        EXPECT_NEAR(c.g, g, 1e-4);
        EXPECT_NEAR(c.b, b, 1e-4);
        EXPECT_NEAR(c.a, a, 1e-4);
    };
    expect(1.5f, 1, 0.75f, 1 - (1 - cover) / 2);
    params.screen_blend = miTRUE;
    expect(1, 0.75f, 0.625f, 1 - (1 - cover) / 2);
    params.flare_only = miTRUE, params.screen_blend = miFALSE;
    expect(1, 0.5f, 0.25f, cover);
    EXPECT_EQ(see(0.3f, 0.3f).a, 0);
    params.flare_saturation = params.flare_value = 0.5f;
    expect(0.5f, 0.375f, 0.3125f, 0.40525f);
    params.flare_saturation = params.flare_value = 1;
    blocks[0].star_intensity = 0.5f;
    expect(0.5f, 0.25f, 0.125f, cover / 2);
}

TEST_F(LensTest, LightsFadeAtTheFramesEdge) {
    params.flare_only = miTRUE;
    const struct {
        miScalar x, y, margin, strength;
    } kCases[] = {
        {0.5f, 0, 0.2f, 1}, {0.6f, 0, 0.2f, 0.5f}, {0.75f, 0, 0.2f, 0},  {0, -0.65f, 0.2f, 0.25f},
        {0.51f, 0, 0, 0},   {0.45f, 0, -0.1f, 0},  {0.35f, 0, -0.1f, 1}, {0.6f, 0.6f, 0.2f, 0.25f},
    };
    for (const auto& c : kCases) {
        params.n_light = 0;
        params.edge_margin = c.margin;
        add_light(c.x, c.y);
        EXPECT_NEAR(see(c.x, c.y).r, c.strength, 1e-3) << c.x << ' ' << c.y << ' ' << c.margin;
    }
    params.n_light = 0, params.edge_margin = 0.2f;
    add_light(0, 0, 4);  // behind the camera
    EXPECT_EQ(see(0, 0).r, 0);
}

TEST_F(LensTest, GlowsHideBehindWhatIsNearer) {
    Orvane_Light_params& block = add_light(0.1f, 0);
    block.star_on = miFALSE, block.glow_on = miTRUE;
    block.glow_size = 0.8f, block.glow_falloff = 1, block.glow_intensity = 2;
    block.color = {0.5f, 0.25f, 1, 1};
    colour = {0, 0, 0, 0};  // covered: the glow stays
    distance = 0;
    const miColor c = see(0.2f, 0);  // half of the radius of 0.2 away
    EXPECT_NEAR(c.r, 0.5 + 2 * 0.5 * 0.5, 1e-4);
    EXPECT_NEAR(c.g, 0.5 + 2 * 0.25 * 0.5, 1e-4);
    EXPECT_EQ(c.a, 0.5f);
    distance = 4.1;
    EXPECT_GT(see(0.2f, 0).r, 0.9f);
    distance = 3.9;
    EXPECT_EQ(see(0.2f, 0).r, 0.5f);
}

TEST_F(LensTest, SamplesUntilTheLightSettles) {
    params.flare_only = miTRUE;
    Orvane_Light_params& block = add_light(0, 0);
    int pass = 0;
    host.light_samples = [&](miState* at, miTag) {
        EXPECT_NEAR(at->normal.z, -1, 1e-6);
        EXPECT_LE(std::hypot(at->point.x, at->point.y), block.flare_sample_radius + 1e-6);
        // Seen by every other pass; each sample is asked for until there are no more.
        const miScalar lit = pass / 3 % 2 == 0 ? 1 : 0;
        ++pass;
        return std::vector<scripted::LightSample>{{{lit, lit, lit, 0}, {0, 0, 1}, 1},
                                                  {{0, 0, 0, 0}, {0, 0, 1}, 1}};
    };
    EXPECT_NEAR(see(0, 0).r, 0.5, 1e-4);  // one pass, the mean of two samples
    EXPECT_EQ(pass, 3);
    block.flare_samples = 4;
    pass = 0;
    EXPECT_NEAR(see(0, 0).r, 0.25, 1e-3);
    EXPECT_GT(pass / 3, 200);  // the mean of ones and zeros moves by 1/(4n) at the end
    EXPECT_LT(pass / 3, 300);
    block.flare_sample_radius = 0.5f;
    pass = 0;
    see(0, 0);
    EXPECT_EQ(block.flare_samples, 1000);
    EXPECT_GE(pass / 3, 1000);
    host.light_samples = nullptr;  // never seen
    EXPECT_EQ(see(0, 0).r, 0);
}

TEST_F(LensTest, TwoLightsAreTheSumOfBoth) {
    params.flare_only = miTRUE;
    add_light(0.1f, 0.05f);
    const miColor first = see(0.15f, 0.05f);
    params.n_light = 0;
    add_light(-0.2f, 0.051f);
    const miColor second = see(0.15f, 0.05f);
    add_light(0.1f, 0.05f);
    const miColor both = see(0.15f, 0.05f);
    EXPECT_GT(first.g, 0);
    EXPECT_GT(second.g, 0);
    EXPECT_NEAR(both.r, first.r + second.r, 1e-6);
    EXPECT_NEAR(both.b, first.b + second.b, 1e-6);
}

TEST_F(LensTest, LivesWithoutMemoryOrLights) {
    params.flare_only = miTRUE;
    params.n_light = -3;
    EXPECT_EQ(see(0, 0).a, 0);
    params.n_light = 0;
    add_light(0, 0);
    for (int failing = 1; failing <= 2; ++failing) {
        host.failing_allocation = host.allocation_count + failing;
        EXPECT_EQ(see(0, 0).r, 0);
    }
    params.behind[0] = host.add_light({.shader = "other"});
    EXPECT_EQ(see(0, 0).r, 0);

    // Memory need not come cleared.
    struct {
        miInteger count = 7;
        void* lights = this;
    } instance;
    params.n_light = 0;
    initLensInstance(&params, &instance, &state);
    EXPECT_TRUE(instance.count == 0 && !instance.lights);
}

}  // namespace
