// Illumination models by numbers that are worked out by hand, and what materials ask the renderer
// for. What pictures hold is not here: all that soft_material has a part in, maps and mirrors.

#include <cmath>

#include "scripted/host.h"

using Material = miBoolean(miColor*, miState*, void*);
extern "C" {
Material zel_strauss, zel_trispec, zel_frosty, zel_xmasball, zel_velvet, zel_peekaboo,
    translucent_material, zel_shadow_matte, zel_toon_mat, zel_toon_si_mat, zel_toon_wire_mat, dusty;
void zel_peekaboo_illumination(miColor*, miState*, soft_material_params* work, void*);
}

namespace {

using scripted::IsColor;

// The outside material's block, a shader's own fields, and behind them the light arrays.
template <typename Own>
struct Block {
    soft_material_params material = {};
    Own own = {};
    miTag light[3] = {3, 1, 2}, diffuse_light[2] = {1, 2};

    // The given numbers of lights: 1 is the blocked one alone.
    void lights(int n, int n_diffuse) {
        const auto* words = reinterpret_cast<const miTag*>(this);
        material.i_light = static_cast<int>(light - words) - 26;
        material.i_diffuse_light = static_cast<int>(diffuse_light - words) - 29;
        material.n_light = n, material.n_diffuse_light = n_diffuse;
    }
};

// A hit seen head-on: light 1 shines (0.5, 1, 2) from light_dir, light 2 red from the normal, light
// 3 is blocked. What rays hit is orange.
class MaterialTest : public scripted::Renderer {
  protected:
    MaterialTest() {
        host.light_samples = [this](miState*, miTag light) {
            std::vector<scripted::LightSample> samples;
            if (light == 1) samples.push_back({{0.5f, 1, 2, 0}, light_dir, light_dir.z});
            if (light == 2) samples.push_back({{1, 0, 0, 0}, {0, 0, 1}, 1});
            return samples;
        };
        host.trace_reflection = host.trace_refraction =
            host.trace_transparent = [this](miColor* seen, miState* at, const miVector&) {
                *seen = {1, 0.5f, 0.25f, 0.5f};
                ray = *at;
                return hit;
            };
    }
    template <typename Parameters>
    miColor shade(Material* shader, Parameters* block, miBoolean answer = miTRUE) {
        host.materials.calls.clear();
        miColor result = {9, 9, 9, 9};
        EXPECT_EQ(shader(&result, &state, block), answer);
        return result;
    }

    miVector light_dir = {0.6f, 0, 0.8f};
    miBoolean hit = miTRUE;
    miState ray = {};
};

TEST_F(MaterialTest, ShadowRaysAreAttenuatedAndNothingElse) {
    const std::pair<Material*, miBoolean> kAnswersWithoutShadow[] = {
        {zel_strauss, miFALSE},         {zel_trispec, miFALSE},    {zel_frosty, miTRUE},
        {zel_xmasball, miTRUE},         {zel_peekaboo, miTRUE},    {zel_toon_mat, miTRUE},
        {translucent_material, miTRUE}, {zel_toon_si_mat, miTRUE}, {zel_toon_wire_mat, miTRUE}};
    Block<miScalar[99]> block;
    block.lights(3, 2);
    state.type = miRAY_SHADOW;
    for (const auto& [shader, answer_without] : kAnswersWithoutShadow) {
        host.materials.casts_shadow = miFALSE;
        EXPECT_THAT(shade(shader, &block, answer_without), IsColor(9, 9, 9, 9));
        host.materials.casts_shadow = miTRUE, host.materials.shadow = {0, 0, 0, 0};
        EXPECT_THAT(shade(shader, &block, miFALSE), IsColor(0, 0, 0, 9));
        host.materials.shadow = {0.5f, 0.25f, 0, 0};
        EXPECT_THAT(shade(shader, &block), IsColor(4.5f, 2.25f, 0, 9));
    }
    EXPECT_EQ(host.materials.count("mi_mtl_refraction_index"), 0);
    EXPECT_TRUE(host.calls.empty()) << host.calls.front().name;
}

struct Strauss {
    miColor color = {0.5f, 0.25f, 1, 0};
    miScalar smoothness = 0.5f, metalness = 0.5f, transparency = 0;
    miScalar ior = 1.5f, reflectivity = 0;
    miInteger ambient = 0;
    miScalar kj = 0, kf = 2, ks = 2;
};

// Weights: F(2/3, 2) = 5/12, G(-2, 2) = 5/4, G(-4/3, 2) = 91/75.
TEST_F(MaterialTest, StraussLightsByItsModel) {
    const miVector seen_from_above = {0, 0, -1}, aslant = {0.8660254f, 0, 0.5f};
    const struct {
        miVector light_dir, dir;
        miScalar dot_nd, s, m, kj, diffuse, specular;
    } kCases[] = {
        {{0.6f, 0, 0.8f}, seen_from_above, -1, 0.5f, 0.5f, -0.475f, 0.525f, 0.1245184f},
        {aslant, seen_from_above, -1, 0, 0, -0.25f, 0.5f, 0.125f * 0.6627604f},
        {aslant, seen_from_above, -0.5f, 0, 0, -0.25f, 0.5f, 0.125f * 0.6533519f},
        {aslant, seen_from_above, -1, 0, 0, 1, 0.5f, 0.125f},      // rj is limited to 1
        {{0, 0, 1}, seen_from_above, -1.0000001f, 0, 0, 7, 1, 0},  // F(0) = 0, and rn = 0
        {{0, 0, 1.0000001f}, seen_from_above, -1, 0.5f, 0, 7, 0.875f, 0.125f},
        {{0.8f, 0, -0.6f}, {0.8f, 0, -0.6f}, -0.6f, 0, 0, -1.6f, 0, 0.021952f},  // from behind
        {aslant, {0.8f, 0, -0.6f}, -0.6f, 1, 1, 1, 0, 0},                        // a mirror
        {{0, 0, 1}, seen_from_above, -1, 7, 0, 1, 0, 0},                         // counts as one
    };
    Block<Strauss> block;
    for (const auto& c : kCases) {
        light_dir = c.light_dir, state.dir = c.dir, state.dot_nd = c.dot_nd;
        block.own.smoothness = c.s, block.own.metalness = c.m, block.own.kj = c.kj;
        block.lights(2, 0);
        const miScalar k = c.specular, kept = 1 - c.m;
        const miScalar r = 0.5f * k * (kept + 0.5f * c.m), g = k * (kept + 0.25f * c.m), b = 2 * k;
        EXPECT_THAT(shade(zel_strauss, &block),
                    IsColor(0.25f * c.diffuse + r, 0.25f * c.diffuse + g, 2 * c.diffuse + b,
                            1 + (r + g + b) / 3, 2e-6f))
            << "case " << &c - kCases;
    }
}

// With a colour of 1 and a smoothness of 1/2 the ambient light is 1/2.
TEST_F(MaterialTest, StraussSeesWhatLiesBehind) {
    const struct {
        miScalar ior_in, ior_out;
        int off;
        const char* call;
        miScalar ior;
        miTag environment;
    } kCases[] = {{1.25f, 1.5f, 0, "mi_trace_refraction", 1.5f, 0},
                  {1.5f, 1.5f, 0, "mi_trace_transparent", 1.5f, 0},
                  {2, 1, 0, "mi_trace_reflection", 2, 5},
                  {1.25f, 1.5f, 1, "none", 1.5f, 5}};
    Block<Strauss> block;
    block.material.ambience[0] = block.material.ambience[1] = block.material.ambience[2] = 1;
    block.own.ambient = 1, block.own.color = {1, 0.5f, 0.25f, 0}, block.own.transparency = 0.25f;
    state.environment = 5, state.dir = {0.8f, 0, -0.6f};
    for (const auto& c : kCases) {
        host.materials.ior_in = c.ior_in, host.materials.ior_out = c.ior_out;
        options.no_secondary = c.off, state.refraction_level = 4, host.calls.clear();
        const miScalar t = c.off ? 0 : 0.25f;
        EXPECT_THAT(shade(zel_strauss, &block), IsColor(0.375f + t, 0.1875f + t * 0.25f,
                                                        0.09375f + t * 0.0625f, 0.75f + t * 0.5f));
        EXPECT_EQ(host.calls.empty() ? "none" : host.calls[0].name, c.call);
        EXPECT_TRUE(state.ior == c.ior && state.environment == 5);
        EXPECT_TRUE(c.off || (ray.refraction_level == 3 && ray.environment == c.environment));
    }
}

struct Frosty {
    miScalar reflect_spread = 0;
    miInteger reflect_samples = 4, reflect_tint = 0;
    miScalar refract_spread = 0;
    miInteger refract_samples = 4, refract_tint = 0;
    miScalar edge_opacity = 0, specular_opacity = 0;
};

// Where the surface is transparent, alpha is what is left of it, as its rays see nothing here.
TEST_F(MaterialTest, FrostyIsMoreOpaqueInHighlightsAndAtEdges) {
    Block<Frosty> block;
    block.material.ambient = {0.1f, 0.2f, 0.3f, 0.4f}, block.material.transparency = 0.75f;
    block.material.diffuse = {0.5f, 0.5f, 0.5f, 0.5f}, block.material.exponent = 2;
    hit = miFALSE;
    const struct {
        int model, n;
        miScalar dot_nd, edge, specular, alpha;
    } kCases[] = {{1, 3, -1, 0, 0.25f, 0.25f},  {2, 3, -1, 0, 0.25f, 0.66f},
                  {3, 3, -1, 0, 0.25f, 0.725f}, {2, 0, -1, 0, 0.25f, 0.25f},
                  {0, 3, -1, 0, 0.25f, 0.25f},  {2, 3, -1, 4, 0, 0.25f},
                  {2, 3, 0.5f, 1, 0, 0.5f},     {2, 3, 0, 0.5f, 0, 0.75f},
                  {2, 3, 0, 2, 0, 1},  // all at most, and nothing given back to a highlight
                  {2, 3, -0.5f, -9, 1, 1}};
    for (const auto& c : kCases) {
        block.lights(c.n, 2), block.material.model = c.model, state.dot_nd = c.dot_nd;
        block.own.edge_opacity = c.edge, block.own.specular_opacity = c.specular;
        state.refraction_level = 3;
        EXPECT_NEAR(shade(zel_frosty, &block).a, c.alpha, 1e-6) << "case " << &c - kCases;
        EXPECT_EQ(state.refraction_level, c.alpha < 1 ? 2 : 3);
    }
}

// A count below 1 adds nothing. Depths limit reflections alone.
TEST_F(MaterialTest, RaysStayWithinTheDepthsAndTheirCounts) {
    const struct {
        int reflection_level, refraction_level, samples;
        miBoolean no_secondary;
        int reflected, refracted;
    } kCases[] = {{0, 7, 3, 0, 3, 3},
                  {1, 0, 3, 0, 0, 3},
                  {0, 8, 3, 0, 0, 3},
                  {0, 0, 3, 1, 0, 0},
                  {0, 0, 0, 0, 0, 0},
                  {0, 0, -7, 0, 0, 0},
                  {0, 0, 1 << 30, 0, 4096, 4096}};
    options.reflection_depth = 1, options.refraction_depth = 0;
    Block<Frosty> frosty;
    Block<Strauss> strauss;
    frosty.material.reflectivity = frosty.material.transparency = strauss.own.reflectivity = 0.5f;
    frosty.material.diffuse.r = 0.5f;
    for (const auto& c : kCases) {
        state.reflection_level = c.reflection_level, state.refraction_level = c.refraction_level;
        frosty.own.reflect_samples = frosty.own.refract_samples = c.samples;
        options.no_secondary = c.no_secondary, host.calls.clear();
        const miScalar red = shade(zel_frosty, &frosty).r;
        EXPECT_EQ(host.count("mi_trace_reflection"), c.reflected) << "case " << &c - kCases;
        EXPECT_EQ(host.count("mi_trace_refraction"), c.refracted) << "case " << &c - kCases;
        EXPECT_NEAR(red, 0.125f + (c.reflected ? 0.25f : 0) + (c.refracted ? 0.5f : 0), 1e-6);
        state.refraction_level = c.refraction_level, host.calls.clear();
        shade(zel_strauss, &strauss);
        EXPECT_TRUE(c.samples != 3 || host.count("mi_trace_reflection") == c.reflected / 3);
    }
}

TEST_F(MaterialTest, PeekLightsOpenOnceInEachList) {
    struct Own {
        miScalar strength = 0.5f;
        miInteger i_peek = 2, n_peek = 0;  // behind peek: 3, 1, 2 and 1, 2
        miTag peek[1] = {1};
    };
    constexpr miScalar kPeek = 3.5f / 6;  // of light 1: half its mean
    const struct {
        int n, n_diffuse, i_peek, n_peek;
        miScalar red, transparency;
    } kCases[] = {
        {3, 0, 2, 0, 2.12f, 0.25f},
        {0, 2, 2, 0, 0.8f, 0.25f},
        {3, 0, 1, 1, 2.12f, 0.25f},  // a blocked light does not peek
        {3, 0, 2, 1, 1.6f, 0.25f + kPeek},
        {3, 0, 1, 3, 0.1f, 0.25f + kPeek + 1 / 6.0f},
        {3, 2, 2, 1, 2.1f, 0.25f + 2 * kPeek},  // twice in lists of lights
        {3, 0, 0, 3, 1.6f, 0.25f + kPeek},      // twice in that of peek lights
    };
    Block<Own> block;
    block.material.ambient = {0.1f, 0.2f, 0.3f, 0.4f}, block.material.transparency = 0.25f;
    block.material.diffuse = {0.5f, 0.5f, 0.5f, 1}, block.material.specular = {1, 0.5f, 0.25f, 9};
    block.material.exponent = 2, block.material.model = 2;
    for (const auto& c : kCases) {
        block.lights(c.n, c.n_diffuse), block.own.i_peek = c.i_peek, block.own.n_peek = c.n_peek;
        soft_material_params work = block.material;
        miColor result;
        zel_peekaboo_illumination(&result, &state, &work, &block);
        EXPECT_NEAR(result.r, c.red, 1e-6) << "case " << &c - kCases;
        EXPECT_EQ(result.a, 0.75f) << "before any peeking";
        EXPECT_NEAR(work.transparency, c.transparency, 1e-6) << "case " << &c - kCases;
    }
}

TEST_F(MaterialTest, TranslucentOnesPassSegmentsOnFirst) {
    Block<miScalar[3]> block;
    options.shadow = miSHADOW_SEGMENTS, state.type = miRAY_SHADOW;
    host.materials.shadow = {0.5f, 0.25f, 0, 0};
    host.trace_shadow_seg = [](miColor* c, miState*) {
        *c = {1, 1, 1, 1};
        return miFALSE;
    };
    EXPECT_THAT(shade(translucent_material, &block), IsColor(0.5f, 0.25f, 0, 1));
    host.materials.casts_shadow = miFALSE;
    EXPECT_THAT(shade(translucent_material, &block), IsColor(1, 1, 1, 1));
}

// A shadow ray that looks for the shadows at a matte that another shadow ray has met asks none.
TEST_F(MaterialTest, MatteAlphaIsTheMissingLight) {
    struct {
        miInteger i_light = 2, n_light = 0;
        miTag light[4] = {9, 9, 0, 0};
    } block;
    // Light k has a grey of k quarters; light 7 is blocked, light 5 takes light away, 6 is broken.
    host.light_samples = [](miState*, miTag light) {
        const miScalar x = light == 5 ? -1 : light == 6 ? NAN : static_cast<miScalar>(light) / 4;
        return std::vector<scripted::LightSample>(light != 7, {{x, 2 * x, 0, 5}, {0, 0, 1}, 0});
    };
    const struct {
        int n;
        miTag first, second;
        miScalar alpha;
    } kCases[] = {{0, 4, 4, 1},     {-1, 4, 4, 1}, {1, 4, 4, 0},    {2, 2, 2, 0},
                  {2, 1, 7, 0.75f}, {2, 3, 5, 1},  {2, 8, 1, 0},    {2, 7, 7, 1},
                  {2, 5, 8, 0},     {2, 6, 4, 1},  {2, 1, 2, 0.25f}};
    for (const auto& c : kCases) {
        block.n_light = c.n, block.light[2] = c.first, block.light[3] = c.second;
        EXPECT_THAT(shade(zel_shadow_matte, &block), IsColor(0, 0, 0, c.alpha));
    }
    miState eye = state, outer = state;
    outer.type = miRAY_SHADOW, outer.parent = &eye;
    const std::tuple<miInteger, miState*, int> kRays[] = {
        {miRAY_SHADOW, &outer, 0}, {miRAY_REFLECT, &outer, 2}, {miRAY_SHADOW, &eye, 2}};
    for (const auto& [type, parent, asked] : kRays) {
        state.type = type, state.parent = parent, host.calls.clear();
        shade(zel_shadow_matte, &block);
        EXPECT_EQ(host.count("mi_trace_light"), asked);
    }
}

}  // namespace
