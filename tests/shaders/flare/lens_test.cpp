// The lens: which lights flare, how strongly, and how the flare meets the picture.

#include <cmath>
#include <deque>
#include <vector>

#include "scripted/host.h"
#include "volumetric/light_block.h"

extern "C" {
void Orvane_Lens_init(miState*, void*, miBoolean*);
void Orvane_Lens_exit(miState*, void*);
miBoolean Orvane_Lens(miColor*, miState*, void*);
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
        host.trace_eye = [](miColor* result, miState*, const miVector&, const miVector&) {
            *result = {0.5f, 0.5f, 0.5f, 0.5f};
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
    miColor colour = {1, 0.5f, 0.25f, 0};
    miScalar brightness = 0;
};

TEST_F(LensTest, BlendsByTheSettings) {
    const miScalar cover = 0.299f * 1 + 0.587f * 0.5f + 0.114f * 0.25f, over = 1 - (1 - cover) / 2;
    const struct {
        miBoolean only, screened;
        miScalar value, intensity;
        miColor expected;
    } cases[] = {
        {0, 0, 1, 1, {1.5f, 1, 0.75f, over}},
        {0, 1, 1, 1, {1, 0.75f, 0.625f, over}},
        {1, 0, 1, 1, {1, 0.5f, 0.25f, cover}},
        {1, 0, 0.5f, 1, {0.5f, 0.375f, 0.3125f, 0.40525f}},  // value and saturation
        {1, 0, 1, 0.5f, {0.5f, 0.25f, 0.125f, cover / 2}},
    };
    Orvane_Light_params& block = add_light(0, 0);
    for (const auto& c : cases) {
        params.flare_only = c.only, params.screen_blend = c.screened;
        params.flare_saturation = params.flare_value = c.value;
        block.star_intensity = c.intensity;
        const auto& [r, g, b, a] = c.expected;
        EXPECT_THAT(see(0, 0), scripted::IsColor(r, g, b, a, 1e-4f)) << &c - cases;
    }
    EXPECT_EQ(see(0.3f, 0.3f).a, 0);
    EXPECT_EQ(host.count("mi_trace_eye"), 2);
}

TEST_F(LensTest, LightsFadeAtTheFramesEdge) {
    params.flare_only = miTRUE;
    const struct {
        miScalar x, y, margin, strength, z = -4;
    } kCases[] = {
        {0.5f, 0, 0.2f, 1},        {0.6f, 0, 0.2f, 0.5f}, {0.75f, 0, 0.2f, 0},
        {0, -0.65f, 0.2f, 0.25f},  {0.51f, 0, 0, 0},      {0.45f, 0, -0.1f, 0},
        {0.35f, 0, -0.1f, 1},      {0, 0, 0.2f, 0, 4},  // behind the camera
        {0.6f, 0.6f, 0.2f, 0.25f},
    };
    for (const auto& c : kCases) {
        params.n_light = 0;
        params.edge_margin = c.margin;
        add_light(c.x, c.y, c.z);
        EXPECT_NEAR(see(c.x, c.y).r, c.strength, 1e-3) << c.x << ' ' << c.y << ' ' << c.margin;
    }
}

TEST_F(LensTest, SamplesUntilTheLightSettles) {
    params.flare_only = miTRUE;
    Orvane_Light_params& block = add_light(0, 0);
    int calls = 0;
    miScalar widest = 0;
    bool both_ways = false;
    host.light_samples = [&](miState* at, miTag) {
        EXPECT_TRUE(at->normal.z == -1 && !at->pri);
        widest = std::max(widest, std::hypot(at->point.x, at->point.y));
        both_ways |= at->point.x * at->point.y < -1e-3f;
        // Seen by every other pass; each sample is asked for until there are no more.
        const miScalar lit = calls++ / 3 % 2 == 0 ? 1 : 0;
        return std::vector<scripted::LightSample>{{{lit, lit, lit, 0}, {0, 0, 1}, 1},
                                                  {{0, 0, 0, 0}, {0, 0, 1}, 1}};
    };
    const auto passes = [&] {
        calls = 0, widest = 0;
        brightness = see(0, 0).r;
        return calls / 3;
    };
    EXPECT_EQ(passes(), 1);
    EXPECT_NEAR(brightness, 0.5, 1e-4);  // the mean of two samples
    block.flare_samples = 4;
    EXPECT_NEAR(passes(), 250, 30);  // the mean of ones and zeros moves by 1/(4n) at the end
    EXPECT_NEAR(brightness, 0.25, 1e-3);
    EXPECT_EQ(widest, 0);
    block.flare_sample_radius = 0.5f;
    EXPECT_GE(passes(), 1000);
    EXPECT_EQ(block.flare_samples, 1000);
    EXPECT_NEAR(widest, 0.5, 0.01);
    EXPECT_TRUE(both_ways);
    for (const miColor none : {miColor{0, 0, 0, 0}, {1, std::nanf(""), 1, 0}}) {
        host.light_samples = [none](miState*, miTag) {
            return std::vector<scripted::LightSample>{{none, {0, 0, 1}, 1}};
        };
        EXPECT_EQ(see(0, 0).r, 0);
    }
}

TEST_F(LensTest, LivesWithoutMemoryOrLights) {
    miBoolean wanted = miFALSE;
    Orvane_Lens_init(&state, nullptr, &wanted);
    EXPECT_TRUE(wanted);
    params.flare_only = miTRUE;
    params.n_light = -3;
    EXPECT_EQ(see(0, 0).a, 0);
    params.n_light = 0;
    add_light(0.1f, 0.05f), add_light(-0.2f, 0.051f);
    EXPECT_GT(see(0.15f, 0.05f).g, 0);
    EXPECT_EQ(host.messages.size(), 4u);
    EXPECT_THAT(host.messages[2].text,
                testing::StartsWith("Orvane Lens: Initialized instance at "));
    EXPECT_THAT(host.messages[3].text, testing::StartsWith("Orvane Lens: Released instance at "));
    for (int failing = 1; failing <= 2; ++failing) {
        host.failing_allocation = host.allocation_count + failing;
        EXPECT_EQ(see(0, 0).r, 0);
    }
    state.thread = 96;
    miColor result;
    EXPECT_FALSE(Orvane_Lens(&result, &state, &params));
    state.thread = 0;
}

}  // namespace
