// Laws of the outside material and the built-in shaders that no picture shows: weights and indices
// that nobody means, where lights lie in a block, and how bumps bend normals.

#include <cmath>
#include <cstring>

#include "scripted/host.h"
#include "soft/builtins.h"

namespace {

using scripted::IsColor;

constexpr miTag kPicture = 77, kNothing = 78;

scripted::Host::Trace sees(miColor seen) {
    return [seen](miColor* result, miState*, const miVector&) { return *result = seen, miTRUE; };
}

class SoftTest : public scripted::Renderer {
  protected:
    SoftTest() {
        block.diffuse = {1, 1, 1, 1};
        block.ambience[0] = block.ambience[1] = block.ambience[2] = 1;
        block.exponent = 1;
        state.ior_in = 1;
        host.texture = [this](miColor* c, miState*, miTag tag, const miVector& at) {
            looked_up = at;
            *c = tag == kNothing ? miColor{9, 9, 9, 9} : texel(at);
            return tag == kNothing ? miFALSE : miTRUE;
        };
        host.texture_basis = [this](miVector* u, miVector* v) { return *u = du, *v = dv, miTRUE; };
        host.light_samples = [](miState*, miTag light) {
            std::vector<scripted::LightSample> samples;
            if (light != 11) samples.push_back({{1, miScalar(light), 0, 1}, {0, 0, 1}, 0.25f});
            return samples;
        };
    }

    // The normal n bent by the bump map.
    miVector bent(const miVector& n) {
        state.normal = n;
        state.dot_nd = dot(n, state.dir);
        mi_mtl_textures(&state, &block, &block, nullptr, nullptr);
        EXPECT_EQ(state.dot_nd, dot(state.normal, state.dir));
        return state.normal;
    }

    soft_material_params block = {};
    miColor result = {0, 0, 0, 0};
    std::function<miColor(const miVector&)> texel = [](const miVector&) {
        return miColor{0.5f, 0.25f, 0, 1};
    };
    miVector looked_up = {}, du = {1, 0, 0}, dv = {0, 1, 0};
};

TEST_F(SoftTest, WhatIsNotSeenIsTheEnvironmentOrBlack) {
    block.reflectivity = block.transparency = 1;
    host.trace_environment = sees({0, 0, 1, 1});
    mi_mtl_reflection(&result, &state, &block);
    EXPECT_THAT(result, IsColor(0, 0, 1, 0));
    mi_mtl_refraction(&result, &state, &block, 1, 2);
    EXPECT_THAT(result, IsColor(0, 0, 1, 1));
    const scripted::Call &traced = host.last("mi_trace_refraction"),
                         &shown = host.last("mi_trace_environment");
    EXPECT_EQ(traced.arguments, shown.arguments);
    host.trace_environment = nullptr;
    EXPECT_FALSE(mi_mtl_reflection(&result, &state, &block));
    EXPECT_THAT(result, IsColor(0, 0, 0, 1));

    host.calls.clear();
    options.no_secondary = miTRUE;
    EXPECT_FALSE(mi_mtl_reflection(&result, &state, &block));
    EXPECT_FALSE(mi_mtl_refraction(&result, &state, &block, 1, 2));
    EXPECT_TRUE(host.calls.empty());
}

TEST_F(SoftTest, AlphaIsOneBeforeTheOpaqueAndWhatIsNotTransparentBeforeNothing) {
    block.transparency = 0.75f;
    block.diffuse = {1, 0, 0.5f, 0};
    for (const miScalar incoming : {1.0f, 0.25f}) {
        block.tint_transparency = miFALSE;
        host.trace_transparent = nullptr;
        result = {1, 1, 1, incoming};
        EXPECT_FALSE(mi_mtl_refraction(&result, &state, &block, 1, 1));
        EXPECT_THAT(result, IsColor(0.25f, 0.25f, 0.25f, 0.25f));

        block.tint_transparency = miTRUE;
        host.trace_transparent = sees({4, 4, 4, 1});
        result = {1, 1, 1, incoming};
        EXPECT_TRUE(mi_mtl_refraction(&result, &state, &block, 1, 1));
        EXPECT_THAT(result, IsColor(3.25f, 0.25f, 1.75f, 1));
    }
}

TEST_F(SoftTest, LightsAreFoundBehindTheBlock) {
    struct {
        soft_material_params block;
        miTag lights[4];
    } whole = {block, {10, 11, 12, 13}};
    whole.block.i_light = 23;  // words from `light` to the end of the block
    whole.block.i_diffuse_light = 22;
    whole.block.n_light = whole.block.n_diffuse_light = 2;
    mi_mtl_illumination(&result, &state, &block, &whole, 1, 1);
    EXPECT_THAT(result, IsColor(0.75f, 0.25f * (10 + 12 + 13), 0, 1));

    // The first list alone gives highlights, in the colors of the working record.
    whole.block.model = miHIGHLIGHT_PHONG;
    whole.block.specular = {0.5f, 0.5f, 0.5f, 1};
    mi_mtl_illumination(&result, &state, &whole.block, &whole, 1, 1);
    EXPECT_THAT(result, IsColor(0.75f + 0.5f, 0.25f * (10 + 12 + 13) + 0.5f * 10, 0, 1));

    host.calls.clear();
    whole.block.n_light = -1;
    whole.block.i_diffuse_light = -3;
    mi_mtl_illumination(&result, &state, &block, &whole, 1, 1);
    EXPECT_TRUE(host.calls.empty());
}

TEST_F(SoftTest, ShadowsMultiplyAndEndWhereNothingIsLeft) {
    state.type = miRAY_SHADOW;
    for (const miScalar opaque : {0.0f, -1.0f, 1e-7f, NAN}) {
        result = {1, 1, 1, 1};
        block.transparency = opaque;
        EXPECT_FALSE(soft_material(&result, &state, &block));
        EXPECT_THAT(result, IsColor(0, 0, 0, 1));
    }
    // In segments the rest of the way comes first, and light that takes away still does.
    options.shadow = miSHADOW_SEGMENTS;
    host.trace_shadow_seg = [](miColor* c, miState*) { return *c = {-2, 0, 0, 1}, miTRUE; };
    block.transparency = 0.5f;
    EXPECT_TRUE(soft_material(&result, &state, &block));
    EXPECT_THAT(result, IsColor(-1, 0, 0, 1));
}

TEST_F(SoftTest, AMapThatFailsChangesNothing) {
    block.ambient = block.diffuse = block.specular = {1, 2, 3, 4};
    block.transparency = block.reflectivity = 1;
    block.diffuse_map = block.specular_map = block.transparency_map = kNothing;
    block.reflectivity_map = block.bump_map = kNothing;
    soft_material_params work = block;
    mi_mtl_textures(&state, &work, &block, nullptr, nullptr);
    EXPECT_EQ(std::memcmp(&work, &block, sizeof work), 0);

    soft_texture_params texture = {kPicture, {2, 2, 2, 0}, 0, {1, 1, 1}, {0, 0, 0}, 0};
    host.texture_coord = [](miVector* coord) { return *coord = {0.5f, 0.5f, 0}, miTRUE; };
    state.tex = {3, 4, 5};
    EXPECT_TRUE(soft_texture(&result, &state, &texture));
    EXPECT_EQ(looked_up.x, 0.5f);
    texture.space = -1;
    soft_texture(&result, &state, &texture);
    EXPECT_EQ(looked_up.x, 3);
    texture.texture = kNothing;
    EXPECT_FALSE(soft_texture(&result, &state, &texture));
    EXPECT_EQ(result.g, 0.5f);
}

// The plane z = a x + b y has the normal (-a, -b, 1), however its coordinates run.
TEST_F(SoftTest, BumpsBendTheNormalAsARaisedSurface) {
    block.bump_map = kPicture;
    block.bump_strength = 2;
    const miVector n = normalized({0.1f, 0.2f, 0.7f}), same = bent(n);
    EXPECT_EQ(std::memcmp(&same, &n, sizeof n), 0) << "a constant map changes no bit";

    texel = [](const miVector& p) { return miColor{p.x, p.x, p.x, 1}; };
    const struct {
        miVector du, dv, normal;
        miScalar turn, stretch;
        miBoolean inside;
    } cases[] = {
        {{1, 0, 0}, {0, 1, 0}, {-2, 0, 1}, 0, 1, miFALSE},
        {{2, 0, 0}, {1, -1, 0}, {-1, -1, 1}, 0, 1, miFALSE},  // so u = (x + y) / 2
        {{2, 0, 0}, {1, -1, 0}, {0, -4, 1}, 90, 2, miFALSE},  // the map's s is -v = y, twice
        {{2, 0, 0}, {1, -1, 0}, {0, 4, -1}, 90, 2, miTRUE},   // the same plane from behind
        {{1, 0, 0}, {1, 0, 0}, {0, 0, 1}, 0, 1, miFALSE},     // coordinates that do not vary
    };
    for (const auto& c : cases) {
        du = c.du;
        dv = c.dv;
        block.texture_rotation = c.turn;
        block.texture_scale = {1, c.stretch, 1};
        state.inside = c.inside;
        const miScalar front = c.inside ? -1 : 1;
        state.dir = {0, 0, -front};
        EXPECT_LT(length(bent({0, 0, front}) - normalized(c.normal)), 2e-4) << c.turn;
    }

    // The normal never turns away from the ray.
    dv = {0, 1, 0};
    state.dir = normalized({-1, 0, -0.1f});
    block.bump_strength = 2;
    EXPECT_NEAR(length(bent({0, 0, 1})), 1, 1e-5);
    block.bump_strength = -2;
    EXPECT_NEAR(length(bent({0, 0, 1})), 1, 1e-5);
    EXPECT_LT(state.dot_nd, 0);
}

TEST_F(SoftTest, NoWordOfTheBlockMakesThePictureInvalid) {
    block.model = miHIGHLIGHT_BLINN;
    block.n_light = block.n_diffuse_light = 1;
    block.transparency = block.reflectivity = 0.5f;
    block.tint_reflection = block.tint_transparency = miTRUE;
    block.diffuse_map = block.bump_map = block.transparency_map = kPicture;
    host.trace_reflection = host.trace_refraction = host.trace_transparent = sees({1, 1, 1, 1});
    texel = [](const miVector& at) { return miColor{at.x, at.y, 1, 1}; };
    for (std::size_t word = 1; word < 44; ++word) {
        if (word == 21 || (word > 22 && word < 35) || word == 36) continue;  // no miScalar
        for (const miScalar bad : {NAN, INFINITY, -INFINITY, -1.0f, 0.0f, 1e38f}) {
            soft_material_params broken = block;
            std::memcpy(reinterpret_cast<char*>(&broken) + 4 * word, &bad, 4);
            for (const miInteger type : {miRAY_EYE, miRAY_SHADOW}) {
                miState hit = state;
                hit.type = type;
                result = {1, 1, 1, 1};
                soft_material(&result, &hit, &broken);
                EXPECT_TRUE(std::isfinite(result.r + result.g + result.b + result.a))
                    << "word " << word << " = " << bad;
                EXPECT_NEAR(length(hit.normal), 1, 1e-5);
                EXPECT_LT(dot(hit.normal, hit.dir), 0);
            }
        }
    }
}

}  // namespace
