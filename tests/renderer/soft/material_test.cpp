// Laws of soft_material and the mi_mtl_ functions it is made of.

#include <cmath>
#include <cstring>
#include <limits>

#include "scripted/host.h"
#include "soft/builtins.h"

namespace {

using scripted::IsColor;

constexpr miScalar nan = std::numeric_limits<miScalar>::quiet_NaN();
constexpr miScalar infinity = std::numeric_limits<miScalar>::infinity();

scripted::Host::Trace sees(miColor seen) {
    return [seen](miColor* result, miState*, const miVector&) { return *result = seen, miTRUE; };
}

class SoftMaterial : public scripted::Renderer {
  protected:
    SoftMaterial() {
        block.diffuse = {1, 1, 1, 1};
        block.ambience[0] = block.ambience[1] = block.ambience[2] = 1;
        block.exponent = 1;
        state.ior_in = 1;
    }

    soft_material_params block = {};
    miColor result = {0, 0, 0, 0};
    const miVector mirrored = {0, 0, 1};
};

TEST_F(SoftMaterial, ReflectionIsExactlyWhatIsSeenOrElseTheEnvironment) {
    block.reflectivity = 1;
    state.ior = 1.25f;
    state.refraction_ior = 1.5f;
    host.trace_environment = sees({0, 0, 1, 1});
    host.trace_reflection = [&](miColor* c, miState* from, const miVector& dir) {
        EXPECT_EQ(from->ior, 1.25f) << "the mirrored ray stays in its medium";
        EXPECT_EQ(dir.z, mirrored.z);
        return *c = {0.1f, 0.7f, 3.3f, 0.5f}, miTRUE;
    };
    EXPECT_TRUE(mi_mtl_reflection(&result, &state, &block));
    EXPECT_THAT(result, IsColor(0.1f, 0.7f, 3.3f, 0, 0));
    EXPECT_EQ(state.refraction_ior, 1.5f);
    EXPECT_EQ(host.count("mi_trace_environment"), 0);
    block.tint_reflection = miTRUE;
    block.specular = {2, 0, 1, 1};
    mi_mtl_reflection(&result, &state, &block);
    EXPECT_THAT(result, IsColor(0.2f, 0, 3.3f, 0));

    host.trace_reflection = nullptr;
    mi_mtl_reflection(&result, &state, &block);
    EXPECT_EQ(result.b, 1) << "what is not traced shows the environment";
    block.environment_only = miTRUE;
    mi_mtl_reflection(&result, &state, &block);
    EXPECT_EQ(result.b, 1);
    EXPECT_EQ(host.count("mi_trace_reflection"), 3);
    host.trace_environment = nullptr;
    EXPECT_FALSE(mi_mtl_reflection(&result, &state, &block));
    EXPECT_THAT(result, IsColor(0, 0, 0, 0));

    host.calls.clear();
    options.no_secondary = miTRUE;
    block.transparency = 1;
    EXPECT_FALSE(mi_mtl_reflection(&result, &state, &block));
    EXPECT_FALSE(mi_mtl_refraction(&result, &state, &block, 1, 2));
    EXPECT_TRUE(host.calls.empty());
}

// A surface as bright as all around it cannot be told from its surroundings.
TEST_F(SoftMaterial, IsInvisibleInAFurnace) {
    block.ambient = {0.25f, 0.5f, 2, 1};
    for (const miScalar none : {0.0f, -1.0f, nan}) {
        block.reflectivity = block.transparency = block.fresnel = none;
        soft_material(&result, &state, &block);
        EXPECT_THAT(result, IsColor(0.25f, 0.5f, 2, 1));
    }
    EXPECT_TRUE(host.calls.empty());

    host.trace_reflection = host.trace_refraction = host.trace_transparent = sees(block.ambient);
    for (const miScalar weight : {0.0f, 0.3f, 1.0f})
        for (const miScalar fresnel : {0.0f, 1.0f})
            for (const miScalar cosine : {-1.0f, -0.4f, 0.0f}) {
                block.reflectivity = block.transparency = weight;
                block.fresnel = fresnel;
                block.ior = 1 + weight;
                state.dot_nd = cosine;
                EXPECT_TRUE(soft_material(&result, &state, &block));
                EXPECT_THAT(result, IsColor(0.25f, 0.5f, 2, 1));
            }

    block.reflectivity = 0;
    host.trace_reflection = sees({9, 9, 9, 9});
    mi_mtl_reflection(&result, &state, &block);
    EXPECT_FLOAT_EQ(result.r, 9) << "at grazing angles a full Fresnel effect is a mirror";
}

TEST_F(SoftMaterial, AlphaIsOneBeforeTheOpaqueAndWhatIsNotTransparentBeforeNothing) {
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

TEST_F(SoftMaterial, RefractedRaysKeepTheIndexOfTheirMedium) {
    block.transparency = 1;
    state.ior = state.refraction_ior = 7;
    const auto runs_in = [](miScalar miState::*index, miScalar ior) {
        return [=](miColor* c, miState* from, const miVector&) {
            EXPECT_EQ(from->*index, ior);
            return *c = {1, 1, 1, 1}, miTRUE;
        };
    };
    host.trace_transparent = runs_in(&miState::refraction_ior, 1.5f);
    host.trace_refraction = runs_in(&miState::refraction_ior, 1.25f);
    host.trace_reflection = runs_in(&miState::ior, 2);
    mi_mtl_refraction(&result, &state, &block, 1.5, 1.5);
    mi_mtl_refraction(&result, &state, &block, 2, 1.25);
    state.dir = normalized({1, 0, -0.5f});
    mi_mtl_refraction(&result, &state, &block, 2, 1);  // total internal reflection
    EXPECT_EQ(state.ior, 7);
    EXPECT_EQ(state.refraction_ior, 7);
    std::vector<std::string> calls;
    for (const scripted::Call& call : host.calls) calls.push_back(call.name);
    EXPECT_THAT(calls, testing::ElementsAre("mi_trace_transparent", "mi_trace_refraction",
                                            "mi_trace_reflection"));
    EXPECT_GT(host.calls[2].arguments[2], 0);

    // A ray that is not traced looks into the environment where it would have gone.
    host.trace_reflection = nullptr;
    host.trace_environment = sees({0, 1, 0, 1});
    mi_mtl_refraction(&result, &state, &block, 2, 1);
    EXPECT_EQ(host.last("mi_trace_environment").arguments, host.calls[2].arguments);
    EXPECT_THAT(result, IsColor(0, 1, 0, 1));
}

// From air into water, into glass in the water, and out again the same way.
TEST_F(SoftMaterial, IndicesNest) {
    constexpr miScalar water = 1.33f, glass = 1.5f;
    const struct {
        miTag instance;
        miBoolean inside;
        miScalar own, in, out;
    } steps[] = {{1, 0, water, 1, water},
                 {2, 0, glass, water, glass},
                 {2, 1, glass, glass, glass},  // reflected within: still in the glass
                 {2, 1, glass, glass, water},
                 {1, 1, water, water, 1}};
    miState hits[5];
    for (int i = 0; i < 5; ++i) {
        hits[i] = state;
        hits[i].parent = i ? &hits[i - 1] : nullptr;
        hits[i].ior = hits[i].ior_in = !i       ? 0
                                       : i == 3 ? hits[2].ior_in
                                                : hits[i - 1].refraction_ior;
        hits[i].instance = steps[i].instance;
        hits[i].inside = steps[i].inside;
        block.ior = steps[i].own;
        miScalar in, out;
        mi_mtl_refraction_index(&hits[i], &block, &in, &out);
        EXPECT_EQ(in, steps[i].in) << i;
        EXPECT_TRUE(i == 2 || out == steps[i].out) << i;
    }

    miScalar in, out;
    for (const miScalar nothing : {0.0f, -2.0f, nan, infinity}) {
        block.ior = state.ior_in = nothing;
        mi_mtl_refraction_index(&state, &block, &in, &out);
        EXPECT_EQ(in, 1);
        EXPECT_EQ(out, 1);
    }
}

TEST_F(SoftMaterial, LightsAreFoundBehindTheBlock) {
    struct {
        soft_material_params block;
        miTag lights[4];
    } whole = {block, {10, 11, 12, 13}};
    whole.block.i_light = 23;  // words from `light` to the end of the block
    whole.block.i_diffuse_light = 22;
    whole.block.n_light = whole.block.n_diffuse_light = 2;
    whole.block.model = miHIGHLIGHT_PHONG;
    whole.block.specular = {0.5f, 0.5f, 0.5f, 1};
    host.light_samples = [&](miState*, miTag light) {
        std::vector<scripted::LightSample> samples;
        if (light != 11) samples.push_back({{1, miScalar(light), 0, 1}, mirrored, 0.25f});
        return samples;
    };
    mi_mtl_illumination(&result, &state, &block, &whole, 1, 1);
    ASSERT_EQ(host.calls.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(host.calls[i].arguments[0], 10.0 + double(i));
    EXPECT_THAT(result, IsColor(0.75f, 0.25f * (10 + 12 + 13), 0, 1));

    // The first list alone gives highlights, in the colours of the working record.
    mi_mtl_illumination(&result, &state, &whole.block, &whole, 1, 1);
    EXPECT_THAT(result, IsColor(0.75f + 0.5f, 0.25f * (10 + 12 + 13) + 0.5f * 10, 0, 1));

    host.calls.clear();
    whole.block.n_light = -1;
    whole.block.i_diffuse_light = -3;
    mi_mtl_illumination(&result, &state, &block, &whole, 1, 1);
    EXPECT_TRUE(host.calls.empty());
}

TEST_F(SoftMaterial, ShadowsMultiply) {
    state.type = miRAY_SHADOW;
    result = {1, 2, 4, 1};
    block.transparency = 0.5f;
    block.tint_transparency = miTRUE;
    block.diffuse = {1, 0.5f, 0, 1};
    EXPECT_TRUE(soft_material(&result, &state, &block));
    block.no_shadow = miTRUE;
    block.transparency = 0;
    EXPECT_TRUE(soft_material(&result, &state, &block));
    EXPECT_THAT(result, IsColor(0.5f, 0.5f, 0, 1));
    EXPECT_TRUE(host.calls.empty());

    // In segments the rest of the way comes first, and light that takes away still does.
    options.shadow = miSHADOW_SEGMENTS;
    host.trace_shadow_seg = [](miColor* c, miState*) { return *c = {-2, 0, 0, 1}, miTRUE; };
    block.no_shadow = miFALSE;
    block.transparency = 0.5f;
    EXPECT_TRUE(soft_material(&result, &state, &block));
    EXPECT_THAT(result, IsColor(-1, 0, 0, 1));

    options.shadow = miSHADOW_ON;
    for (const miScalar opaque : {0.0f, -1.0f, 1e-7f, nan}) {
        result = {1, 1, 1, 1};
        block.transparency = opaque;
        EXPECT_FALSE(soft_material(&result, &state, &block));
        EXPECT_THAT(result, IsColor(0, 0, 0, 1));
    }

    soft_constant_params constant = {{1, 2, 3, 0.5f}};
    result = {1, 1, 1, 1};
    EXPECT_FALSE(soft_constant(&result, &state, &constant));
    EXPECT_THAT(result, IsColor(0, 0, 0, 1));
}

TEST_F(SoftMaterial, NoWordOfTheBlockMakesThePictureInvalid) {
    block.model = miHIGHLIGHT_BLINN;
    block.n_light = block.n_diffuse_light = 1;
    block.transparency = block.reflectivity = 0.5f;
    block.tint_reflection = block.tint_transparency = miTRUE;
    block.diffuse_map = block.bump_map = block.transparency_map = 1;
    host.light_samples = [&](miState*, miTag) {
        return std::vector<scripted::LightSample>{{{1, 1, 1, 1}, mirrored, 1}};
    };
    host.trace_reflection = host.trace_refraction = host.trace_transparent = sees({1, 1, 1, 1});
    host.texture = [](miColor* c, miState*, miTag, const miVector& at) {
        return *c = {at.x, at.y, 1, 1}, miTRUE;
    };
    host.texture_basis = [](miVector* du, miVector* dv) {
        return *du = {1, 0, 0}, *dv = {0, 1, 0}, miTRUE;
    };
    for (std::size_t word = 1; word < 44; ++word) {
        if (word == 21 || (word > 22 && word < 35) || word == 36) continue;  // no miScalar
        for (const miScalar bad : {nan, infinity, -infinity, -1.0f, 0.0f, 1e38f}) {
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
