// Orvane_Light: edge, slide, attenuation, shadows and the life of its instances.

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
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
using testing::FloatNear;
using testing::Optional;

constexpr float kCos45 = 0.70710678f;

// A white light at (0, -1, 0), below world height 0, so that the slide of a spot light along -z
// stands upright: u to the right (+x), v up (+y).
class LightTest : public scripted::Renderer {
  protected:
    LightTest() {
        params.color = {1, 1, 1, 1};
        params.intensity = 1;
        params.slide_scale = 1;
        params.atten_end = 100;
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
    void init_point() { init({.type = miLIGHT_POINT}); }

    std::optional<miColor> shade() {
        miColor c;
        return Orvane_Light(&c, &state, &params) ? std::optional(c) : std::nullopt;
    }
    // The light at a point given relative to it.
    std::optional<miColor> at(miVector offset) {
        state.org = {0, -1, 0};
        state.point = state.org + offset;
        state.dir = normalized(offset);
        state.dist = length(offset);
        return shade();
    }
    std::optional<miColor> along(miVector dir) {
        state.dir = dir;
        return shade();
    }
    float strength(std::optional<miColor> c) { return c ? c->r : -1; }

    Orvane_Light_params params = {};
};

TEST_F(LightTest, InitAndExitKeepOneRecordAnInstance) {
    EXPECT_EQ(Orvane_Light_version(), 2);
    miBoolean wanted = miFALSE;
    Orvane_Light_init(&state, nullptr, &wanted);
    EXPECT_EQ(wanted, miTRUE);
    EXPECT_EQ(host.allocation_count, 0);

    init_spot(0.5f);
    ASSERT_EQ(host.allocations.size(), 1u);
    EXPECT_EQ(host.allocations.begin()->second.file, "Orvane_Light");
    Orvane_Light_exit(&state, nullptr);
    EXPECT_EQ(host.allocations.size(), 1u);
    Orvane_Light_exit(&state, &params);
    EXPECT_TRUE(host.allocations.empty());
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(LightTest, WithoutItsRecordGivesNoLightButItsColor) {
    host.failing_allocation = 1;
    init_spot(0.5f);
    EXPECT_FALSE(along({0, 0, -1}));
    state.type = miRAY_EYE;
    EXPECT_TRUE(shade());
}

TEST_F(LightTest, GivesOtherRaysTheColorAlone) {
    params.color = {0.2f, 0.4f, 0.6f, 0.8f};
    params.intensity = 0.5f;
    params.shadow = params.attenuation = params.slide = 1;
    params.atten_end = 0;
    init_spot(0.5f);
    for (const int type : {miRAY_EYE, miRAY_REFLECT, miRAY_SHADOW}) {
        state.type = type;
        EXPECT_THAT(along({0, 0, 1}), Optional(IsColor(0.1f, 0.2f, 0.3f, 0.4f)));
    }
    EXPECT_EQ(host.count("mi_trace_shadow") + host.count("mi_lookup_color_texture"), 0);
}

TEST_F(LightTest, EvaluatesColorAndIntensityWhereConnectedAndNothingElse) {
    miColor red = {1, 0, 0, 1};
    host.connect = [&](miState*, void* param) -> void* {
        return param == &params.color ? &red : param;
    };
    unsigned char connected[50] = {};
    function.connected = connected;
    init_point();
    EXPECT_THAT(along({0, 0, -1}), Optional(IsColor(1, 1, 1, 1)));
    connected[1] = 1;
    connected[7] = connected[10] = 1;
    EXPECT_THAT(along({0, 0, -1}), Optional(IsColor(1, 0, 0, 1)));
    EXPECT_EQ(host.count("mi_phen_eval"), 1);
    connected[5] = 1;
    along({0, 0, -1});
    EXPECT_EQ(host.count("mi_phen_eval"), 3);
}

// Outer cone at 60 degrees, cosine 0.5; the edge runs linearly in the cosine.
TEST_F(LightTest, FadesOverTheEdgeAndEndsBeyondTheCone) {
    const auto with_cosine = [&](float d) {
        return strength(along({0, std::sqrt(1 - d * d), -d}));
    };
    for (const float falloff : {60.0f, 90.0f}) {  // wider than the cone counts as its half angle
        params.falloff = falloff;
        init_spot(0.5f);
        EXPECT_FLOAT_EQ(with_cosine(1), 1);
        EXPECT_NEAR(with_cosine(0.75f), 0.5, 1e-6);
        EXPECT_EQ(with_cosine(0.5f), 0);
        EXPECT_FALSE(along({0, 0.8660254f, std::nextafter(-0.5f, 0.0f)}));
        EXPECT_FALSE(along({0, 1, 0}));
    }
    params.falloff = 15;  // inner cone at 45 degrees
    init_spot(0.5f);
    EXPECT_EQ(with_cosine(0.708f), 1);
    EXPECT_NEAR(with_cosine((0.5f + kCos45) / 2), 0.5, 1e-6);

    for (const float falloff : {0.0f, -10.0f}) {  // no edge
        params.falloff = falloff;
        init_spot(0.5f);
        EXPECT_EQ(with_cosine(0.501f), 1);
        EXPECT_FALSE(along({0, 0, 1}));
    }
}

TEST_F(LightTest, ConeWiderThanAHalfSpaceEndsAtTheHalfSpace) {
    init_spot(-0.5f);
    EXPECT_TRUE(along({0, 0.9f, -0.1f}));
    EXPECT_FALSE(along({0, 1, 0}));
    EXPECT_FALSE(along({0, 0.9f, 0.1f}));
}

TEST_F(LightTest, ShinesAlongMinusZOfItsOwnSpaceInInternalSpace) {
    // Placed and scaled in the world; internal space is the light's own, but for the scale.
    const scripted::Matrix turned = scripted::rotation(1.1f, 0.4f, -2.0f);
    scripted::Matrix scaled = turned;
    for (std::size_t i = 0; i < 12; ++i) scaled[i] *= 3;
    host.world = turned * scripted::translation(7, 8, 9);
    scripted::Light light = {.type = miLIGHT_SPOT, .spread = 0.9f, .to_world = &scaled};
    params.falloff = 180;
    init(light);
    EXPECT_NEAR(strength(along({0, 0.31225f, -0.95f})), 0.5, 1e-5);
    light.direction = {0, 5, 0};
    init(light);
    EXPECT_NEAR(strength(along({0, 0.95f, 0.31225f})), 0.5, 1e-5);
    EXPECT_FALSE(along({0, 0, -1}));
}

// A cone of 45 degrees: half a unit away the slide is one unit wide.
TEST_F(LightTest, ProjectsTheSlideUprightOntoTheCone) {
    params.slide = 42;
    init_spot(kCos45);
    EXPECT_THAT(at({0, 0, -1}), Optional(IsColor(0.5f, 0.5f, 0, 1)));
    EXPECT_THAT(at({0.5f, 0.25f, -1}), Optional(IsColor(0.75f, 0.625f, 0, 1)));
    EXPECT_THAT(at({1, 0.5f, -2}), Optional(IsColor(0.75f, 0.625f, 0, 1)));
    EXPECT_EQ(host.last("mi_lookup_color_texture").arguments[0], 42);
    params.slide_scale = 2;
    EXPECT_THAT(at({0.5f, 0.25f, -1}), Optional(IsColor(0.625f, 0.5625f, 0, 1)));
    params.slide_scale = 1;
    params.slide_rotation = 90;
    EXPECT_THAT(at({0.5f, 0.25f, -1}), Optional(IsColor(0.375f, 0.75f, 0, 1)));
}

TEST_F(LightTest, SlideIncludesItsBoundsAndLeavesTheRestUnfiltered) {
    params.slide = 1;
    params.slide_scale = 0.5f;  // spans -0.5..0.5 at distance 1
    init_spot(kCos45);
    EXPECT_THAT(at({0.5f, -0.5f, -1}), Optional(IsColor(1, 0, 0, 1)));
    EXPECT_THAT(at({-0.5f, 0.5f, -1}), Optional(IsColor(0, 1, 0, 1)));
    for (const miVector out :
         {miVector{0.501f, 0, -1}, {-0.501f, 0, -1}, {0, 0.501f, -1}, {0, -0.501f, -1}})
        EXPECT_THAT(at(out), Optional(IsColor(1, 1, 1, 1)));
    params.slide_repeat = 2;
    EXPECT_THAT(at({0.75f, 0, -1}), Optional(IsColor(1, 1, 1, 1)));
    params.slide_repeat = 1;
    EXPECT_THAT(at({0.75f, 0, -1}), Optional(IsColor(1.25f, 0.5f, 0, 1)));
}

TEST_F(LightTest, WrapsTheSlideAroundOtherLightsInWorldSpace) {
    params.slide = 1;
    for (const int type : {miLIGHT_POINT, miLIGHT_DIRECTIONAL}) {
        init({.type = type});
        EXPECT_THAT(at({3, 0, 0}), Optional(IsColor(0.75f, 0.5f, 0, 1)));
        EXPECT_THAT(at({0, 2, 0}), Optional(IsColor(1, 1, 0, 1)));
        EXPECT_TRUE(at({0, 0, 0}));
    }
    params.slide_rotation = 360;  // no bounds here
    EXPECT_THAT(at({3, 0, 0}), Optional(IsColor(-0.25f, 0.5f, 0, 1)));
    params.slide_rotation = 0;
    host.world = scripted::rotation(0, 0, 1.5707964f);  // internal x is the world's y
    EXPECT_NEAR(at({3, 0, 0})->g, 1, 1e-3);
}

TEST_F(LightTest, AttenuatesLinearlyBetweenStartAndEnd) {
    const struct {
        float start, end, distance, expected;  // -1: no light
    } cases[] = {
        {2, 6, 1, 1},  {2, 6, 2, 1},  {2, 6, 3, 0.75f},           {2, 6, 5, 0.25f},
        {2, 6, 6, -1}, {2, 6, 9, -1}, {4, 4, 3.999f, 1},          {4, 4, 4, -1},
        {4, 4, 5, -1}, {8, 4, 3, 1},  {4, 4.00008f, 4.00004f, 1},
    };
    init_point();
    for (const auto& [start, end, distance, expected] : cases) {
        params.attenuation = miTRUE;
        params.atten_start = start;
        params.atten_end = end;
        EXPECT_THAT(strength(at({0, 0, -distance})), FloatNear(expected, 1e-6f))
            << start << ".." << end << " at " << distance;
        params.attenuation = miFALSE;
        EXPECT_EQ(strength(at({0, 0, -distance})), 1);
    }
}

TEST_F(LightTest, LetsTheShadowFactorThroughShadows) {
    const struct {
        float factor;
        miBoolean lit;
        float passing, expected;
    } cases[] = {
        {0.25f, miTRUE, 0.5f, 0.625f}, {0.25f, miTRUE, 1, 1},     {0.25f, miFALSE, 1, 0.25f},
        {0.25f, miTRUE, 0, 0.25f},     {0, miTRUE, 0.5f, 0.5f},   {0, miFALSE, 0.5f, -1},
        {0, miTRUE, 9e-7f, -1},        {0, miTRUE, 2e-6f, 2e-6f}, {-0.5f, miFALSE, 0, -0.5f},
    };
    params.shadow = miTRUE;
    init_point();
    for (const auto& [factor, lit, passing, expected] : cases) {
        params.shadow_factor = factor;
        host.trace_shadow = [passing = passing, lit = lit](miColor* c, miState*) {
            EXPECT_THAT(*c, IsColor(1, 1, 1, 1));
            *c = {passing, passing, passing, 0};
            return lit;
        };
        const auto c = at({0, 0, -1});
        EXPECT_NEAR(strength(c), expected, 1e-7) << factor << ' ' << lit << ' ' << passing;
        EXPECT_EQ(c.value_or(params.color).a, 1);
    }
}

TEST_F(LightTest, TintsByColoredShadowsAndTracesNoneThatWouldNotShow) {
    params.shadow = miTRUE;
    params.shadow_factor = 0.5f;
    init_point();
    host.trace_shadow = [](miColor* c, miState*) {
        *c = {1, 0.5f, 0, 1};
        return miTRUE;
    };
    EXPECT_THAT(at({0, 0, -1}), Optional(IsColor(1, 0.75f, 0.5f, 1)));
    EXPECT_EQ(host.count("mi_trace_shadow"), 1);
    params.shadow_factor = 1;
    EXPECT_EQ(strength(at({0, 0, -1})), 1);
    params.shadow_factor = 0;
    params.shadow = miFALSE;
    EXPECT_EQ(strength(at({0, 0, -1})), 1);
    EXPECT_EQ(host.count("mi_trace_shadow"), 1);
}

// Every part multiplies; alpha knows the intensity alone.
TEST_F(LightTest, CombinesAllParts) {
    params.color = {1, 0.5f, 1, 1};
    params.intensity = 2;
    params.slide = 1;
    params.attenuation = params.shadow = miTRUE;
    params.atten_end = 2;
    init_spot(kCos45);
    host.trace_shadow = [](miColor* c, miState*) {
        *c = {0.5f, 0.5f, 0.5f, 0.5f};
        return miTRUE;
    };
    EXPECT_THAT(at({0, 0, -1}), Optional(IsColor(0.25f, 0.125f, 0, 2)));
}

TEST_F(LightTest, StaysFiniteUnderImpossibleSettings) {
    params.slide = 1;
    params.attenuation = miTRUE;
    const scripted::Matrix nothing = {};
    const auto expect_finite = [&](float spread, const scripted::Matrix* to_world) {
        init({.type = miLIGHT_SPOT, .spread = spread, .to_world = to_world});
        for (const miVector to : {miVector{0, 0, -1}, {0, 0, 0}, {0.1f, 0, -1}, {0, -1, 0}}) {
            const miColor c = at(to).value_or(miColor{});
            EXPECT_TRUE(std::isfinite(c.r + c.g + c.b)) << spread << ' ' << params.slide_scale;
        }
    };
    for (const float scale : {0.0f, 1.0f, -4.0f, std::numeric_limits<float>::infinity()})
        for (const int repeat : {0, 1})
            for (const float spread : {1.0f, -1.0f, 0.0f, 2.0f, -2.0f, 0.99999994f, -0.3f}) {
                params.slide_scale = scale;
                params.slide_repeat = repeat;
                expect_finite(spread, nullptr);
                expect_finite(spread, &nothing);
            }
    init_spot(1);  // a cone without width has no slide
    EXPECT_THAT(at({0, 0, -1}), Optional(IsColor(0.99f, 0.99f, 0.99f, 1)));
    state.light_instance = miNULLTAG;  // no light at all: a point light
    Orvane_Light_exit(&state, &params);
    Orvane_Light_init(&state, &params, nullptr);
    EXPECT_TRUE(at({0, 0, 1}));
}

}  // namespace
