// Orvane_Light: edge, slide, attenuation, shadows and the life of its instances.

#include <cmath>
#include <optional>

#include "scripted/host.h"
#include "volumetric/light_block.h"

extern "C" {
int Orvane_Light_version();
void Orvane_Light_init(miState*, void*, miBoolean*);
void Orvane_Light_exit(miState*, void*);
miBoolean Orvane_Light(miColor*, miState*, Orvane_Light_params*);
}

namespace {

using scripted::IsColor;
using Params = Orvane_Light_params;

constexpr float kCos45 = 0.70710678f;
constexpr miColor kNone = {-1, -1, -1, -1}, kFull = {1, 1, 1, 1};

miColor grey(float value) { return {value, value, value, 1}; }

// A white light at (0, -1, 0), below world height 0, so that the slide of a spot light along -z
// stands upright: u to the right (+x), v up (+y).
class LightTest : public scripted::Renderer {
  protected:
    LightTest() {
        params.color = kFull;
        params.intensity = params.slide_scale = 1;
        params.atten_end = 100;
        standard = params;
        state.type = miRAY_LIGHT;
        // A slide that shows its coordinates.
        host.texture = [](miColor* c, miState*, miTag, const miVector& at) {
            *c = {at.x, at.y, 0, 0.5f};
            return miTRUE;
        };
    }
    void TearDown() override {
        Orvane_Light_exit(&state, &params);
        Renderer::TearDown();
    }
    void init(const scripted::Light& light) {
        Orvane_Light_exit(&state, &params);
        state.light_instance = host.add_light(light);
        Orvane_Light_init(&state, &params, nullptr);
    }
    void init_spot(float spread) { init({.type = miLIGHT_SPOT, .spread = spread}); }
    // The light at a point given relative to it, kNone when there is none.
    miColor at(miVector offset) {
        state.org = {0, -1, 0};
        state.point = state.org + offset;
        state.dir = normalized(offset);
        state.dist = length(offset);
        miColor c;
        return Orvane_Light(&c, &state, &params) ? c : kNone;
    }

    Params params = {}, standard;
};

TEST_F(LightTest, KeepsARecordAnInstance) {
    EXPECT_EQ(Orvane_Light_version(), 2);
    miBoolean wanted = miFALSE;
    Orvane_Light_init(&state, nullptr, &wanted);
    EXPECT_TRUE(wanted && host.allocation_count == 0);
    init_spot(0.5f);
    Orvane_Light_exit(&state, nullptr);
    ASSERT_EQ(host.allocations.size(), 1u);
    EXPECT_EQ(host.allocations.begin()->second.file, "Orvane_Light");
    state.light_instance = miNULLTAG;  // no light at all: a point light
    Orvane_Light_exit(&state, &params);
    Orvane_Light_init(&state, &params, nullptr);
    EXPECT_THAT(at({0, 0, 1}), IsColor(kFull));
    host.failing_allocation = host.allocation_count + 1;  // no light, but its color
    init_spot(0.5f);
    EXPECT_THAT(at({0, 0, -1}), IsColor(kNone));
    state.type = miRAY_EYE;
    EXPECT_THAT(at({0, 0, -1}), IsColor(kFull));
    EXPECT_TRUE(host.messages.empty());
}

// Other rays than light rays get the color alone, of which what is connected is evaluated.
TEST_F(LightTest, ColorAndIntensityMayBeConnected) {
    miColor red = {1, 0.5f, 0, 0.8f};
    miScalar half = 0.5f;
    host.connect = [&](miState*, void* param) -> void* {
        return param == &params.color ? static_cast<void*>(&red) : &half;
    };
    unsigned char connected[50] = {};
    function.connected = connected;
    connected[1] = connected[5] = connected[7] = connected[10] = 1;
    params.shadow = params.attenuation = params.slide = 1;
    init_spot(0.5f);
    state.type = miRAY_SHADOW;
    EXPECT_THAT(at({0, 0, 1}), IsColor(0.5f, 0.25f, 0, 0.4f));
    EXPECT_EQ(host.calls.size(), 3u);  // two evaluations, and init's memory
}

// Spot lights have a cone of 60 degrees, or for slides of 45, where the slide is two units wide at
// the distance 1; around a point light it is longitude and latitude in the world.
TEST_F(LightTest, ShinesByItsSettings) {
    using Set = void (*)(Params&);
    const Set plain = [](Params&) {}, slide = [](Params&p) { p.slide = 42; };
    const Set soft = [](Params&p) { p.falloff = 60; }, wide = [](Params&p) { p.falloff = 90; };
    const Set edge = [](Params& p) { p.falloff = 15; };
    const Set small = [](Params& p) { p.slide = 1, p.slide_scale = .5f, p.slide_rotation = 90; };
    const Set twice = [](Params& p) { p.slide = p.slide_repeat = 1, p.slide_scale = .5f; };
    const Set fades = [](Params& p) { p.attenuation = 1, p.atten_start = 2, p.atten_end = 6; };
    const Set stops = [](Params& p) { p.attenuation = 1, p.atten_start = p.atten_end = 4; };
    const float sine = std::sqrt(.75f), sine_75 = std::sqrt(1 - .75f * .75f);
    const struct {
        float spread;  // 9: a point light
        Set set;
        miVector at;
        miColor expected;
    } cases[] = {
        {.5f, soft, {0, 0, -1}, kFull},
        {.5f, soft, {0, sine_75, -.75f}, grey(.5f)},
        {.5f, wide, {0, sine_75, -.75f}, grey(.5f)},  // counts as the cone's half angle
        {.5f, soft, {0, sine + 1e-3f, -.5f}, kNone},
        {.5f, edge, {0, .7f, -.715f}, kFull},
        {.5f, plain, {0, sine - 1e-3f, -.5f}, kFull},
        {-.5f, plain, {0, 1, -.1f}, kFull},
        {-.5f, plain, {0, 1, 0}, kNone},
        {kCos45, slide, {1, .5f, -2}, {.75f, .625f, 0, 1}},
        {kCos45, small, {.25f, .125f, -1}, {.375f, .75f, 0, 1}},
        {kCos45, small, {.49f, .49f, -1}, {.01f, .99f, 0, 1}},
        {kCos45, small, {0, .501f, -1}, kFull},
        {kCos45, twice, {.75f, 0, -1}, {1.25f, .5f, 0, 1}},
        {1, slide, {0, 0, -1}, kFull},  // no width, no slide
        {9, slide, {3, 0, 0}, {.75f, .5f, 0, 1}},
        {9, small, {3, 0, 0}, {.5f, .5f, 0, 1}},
        {9, fades, {0, 0, -2}, kFull},
        {9, fades, {0, 0, -5}, grey(.25f)},
        {9, fades, {0, 0, -6}, kNone},
        {9, stops, {0, 0, -3.99f}, kFull},
        {9, stops, {0, 0, -4}, kNone},
    };
    for (const auto& c : cases) {
        params = standard;
        c.set(params);
        init({.type = c.spread > 1 ? miLIGHT_POINT : miLIGHT_SPOT, .spread = c.spread});
        EXPECT_THAT(at(c.at), IsColor(c.expected)) << &c - cases;
    }
}

TEST_F(LightTest, LetsTheShadowFactorThroughShadows) {
    const struct {
        float factor;
        miBoolean lit;
        miColor passing, expected;
    } cases[] = {
        {.25f, 1, {1, .5f, 0, 1}, {1, .625f, .25f, 1}},
        {.25f, 0, grey(1), grey(.25f)},
        {.25f, 1, grey(9e-7f), grey(.25f)},
        {0, 1, grey(9e-7f), kNone},
        {0, 1, {0, 0, 2e-6f, 0}, {0, 0, 2e-6f, 1}},
        {0, 0, grey(.5f), kNone},
        {-.5f, 0, grey(0), grey(-.5f)},
        {1, 0, grey(0), kFull},
    };
    params.shadow = miTRUE;
    init({});
    for (const auto& c : cases) {
        params.shadow_factor = c.factor;
        host.trace_shadow = [&c](miColor* color, miState*) {
            *color = c.passing;
            return c.lit;
        };
        EXPECT_THAT(at({0, 0, -1}), IsColor(c.expected)) << &c - cases;
    }
    EXPECT_EQ(host.count("mi_trace_shadow"), 7);  // none with a factor of 1
}

}  // namespace
