// zel_strauss: its light, its reflections and refractions.

#include <cstring>

#include "material_fixture.h"

extern "C" miBoolean zel_strauss(miColor*, miState*, void*);

namespace {

using scripted::IsColor;

class StraussTest : public MaterialTest {
  protected:
    struct Own {
        miColor color = {0.5f, 0.25f, 1, 0};
        miScalar smoothness = 0.5f, metalness = 0.5f, transparency = 0;
        miScalar ior = 1.5f, reflectivity = 0;
        miInteger ambient = 0;
        miScalar kj = 0, kf = 1.12f, ks = 1.01f;
    };
    StraussTest() {
        block.material.diffuse = block.material.ambient = {9, 9, 9, 9};
        block.material.transparency = block.material.reflectivity = 9;
        block.material.ambience[0] = block.material.ambience[1] = block.material.ambience[2] = 1;
        host.trace_reflection = host.trace_refraction =
            host.trace_transparent = [this](miColor* seen, miState* at, const miVector&) {
                *seen = {1, 0.5f, 0.25f, 0.5f};
                ior_of_ray = at->ior, environment_of_ray = at->environment;
                level_of_ray = at->refraction_level;
                return hit;
            };
        host.materials.ior_in = 1.25f, host.materials.ior_out = 1.5f;
        state.environment = 5;
    }
    // Colour 1 and smoothness 1/2: the ambient light is 1/2.
    void no_lights() { block.own.ambient = 1, block.own.color = {1, 1, 1, 0}; }

    MaterialBlock<Own> block;
    miBoolean hit = miTRUE;
    miScalar ior_of_ray = 0;
    miTag environment_of_ray = 0;
    int level_of_ray = 99;
};

// Weights worked out by hand: F(2/3, 2) = 5/12, G(-2, 2) = 5/4, G(-4/3, 2) = 91/75.
TEST_F(StraussTest, LightsByItsModel) {
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
    block.own.kf = block.own.ks = 2;
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
        block.lights(1, 1);
        EXPECT_THAT(shade(zel_strauss, &block),
                    IsColor(0.25f * c.diffuse, 0.25f * c.diffuse, 2 * c.diffuse, 1, 2e-6f));
    }
}

TEST_F(StraussTest, ReflectsWithinTheDepth) {
    const struct {
        int reflected, refracted, off;
        miBoolean hit;
        bool traced;
    } kCases[] = {{0, 0, 0, miTRUE, true},  {1, 1, 0, miTRUE, true},  {2, 0, 0, miTRUE, false},
                  {0, 3, 0, miTRUE, false}, {0, 0, 1, miTRUE, false}, {0, 0, 0, miFALSE, true}};
    no_lights();
    block.own.color.g = 0.5f, block.own.color.b = 0.25f;  // metals tint reflections
    block.own.reflectivity = 0.25f;
    options.reflection_depth = 2, options.trace_depth = 3;
    for (const auto& c : kCases) {
        state.reflection_level = c.reflected, state.refraction_level = c.refracted;
        options.no_secondary = c.off, hit = c.hit, host.calls.clear();
        const miScalar k = c.traced && c.hit ? 0.25f : 0;
        EXPECT_THAT(shade(zel_strauss, &block),
                    IsColor(0.375f + k, 0.1875f + k * 0.375f, 0.09375f + k * 0.15625f, 1));
        EXPECT_EQ(host.count("mi_trace_reflection"), c.traced);
        EXPECT_TRUE(!c.traced || ior_of_ray == 1.25f);
        EXPECT_TRUE(state.ior == 1.5f && state.refraction_level == c.refracted);
    }
}

TEST_F(StraussTest, SeesWhatLiesBehind) {
    const struct {
        miScalar ior_in, ior_out;
        miVector dir;
        int off;
        const char* call;
    } kCases[] = {{1.25f, 1.5f, {0.8f, 0, -0.6f}, 0, "mi_trace_refraction"},
                  {1.5f, 1.5f, {0.8f, 0, -0.6f}, 0, "mi_trace_transparent"},
                  {2, 1, {0.8f, 0, -0.6f}, 0, "mi_trace_reflection"},
                  {1.25f, 1.5f, {0.8f, 0, -0.6f}, 1, nullptr}};
    no_lights();
    block.own.color.g = 0.5f, block.own.color.b = 0.25f, block.own.transparency = 0.25f;
    for (const auto& c : kCases) {
        host.materials.ior_in = c.ior_in, host.materials.ior_out = c.ior_out, state.dir = c.dir;
        options.no_secondary = c.off, state.refraction_level = 4, host.calls.clear();
        const miScalar t = c.call ? 0.25f : 0;
        EXPECT_THAT(shade(zel_strauss, &block), IsColor(0.375f + t, 0.1875f + t * 0.25f,
                                                        0.09375f + t * 0.0625f, 0.75f + t * 0.5f));
        ASSERT_EQ(host.calls.size(), c.call ? 1u : 0u);
        const bool total = c.ior_in > c.ior_out;
        EXPECT_EQ(state.ior, total ? c.ior_in : c.ior_out);
        EXPECT_EQ(state.environment, 5u);
        if (!c.call) continue;
        EXPECT_EQ(host.calls[0].name, c.call);
        EXPECT_TRUE(level_of_ray == 3 && state.refraction_level == 3);
        EXPECT_EQ(environment_of_ray, total ? 5u : 0u);
    }
}

TEST_F(StraussTest, StandsOnTheOutsideMaterial) {
    auto& library = host.materials;
    library.textures = [](soft_material_params* work, miVector*, miScalar*) {
        EXPECT_TRUE(work->ambient.r == 0.5f && work->diffuse.g == 0.25f && work->specular.b == 1);
        EXPECT_TRUE(work->transparency == 0.75f && work->reflectivity == 0.5f);
        work->diffuse = {1, 0.5f, 0, 0}, work->transparency = work->reflectivity = 0;
    };
    block.own.transparency = 0.75f, block.own.reflectivity = 0.5f, block.own.ambient = 1;
    const auto before = block;
    EXPECT_THAT(shade(zel_strauss, &block), IsColor(0.5f, 0.25f, 0, 1));
    EXPECT_EQ(library_calls(), "refraction_index textures ");
    for (const auto& call : library.calls) EXPECT_EQ(call.block.ior, 1.5f);
    EXPECT_TRUE(host.calls.empty());
    EXPECT_EQ(std::memcmp(&before, &block, sizeof block), 0) << "other threads read it";
    expect_shadows(zel_strauss, &block, miFALSE);
}

TEST_F(StraussTest, StaysFinite) {
    auto& own = block.own;
    block.lights(3, 1);
    own.ambient = 1, own.transparency = own.reflectivity = 0.25f, own.kf = own.ks = 2;
    for (const miScalar bad : {kNan, kInfinity, -kInfinity, 0.0f, 0.5f, 1.0f, 2.0f, -1.0f, -1e20f})
        for (miScalar* field :
             {&own.color.r, &own.smoothness, &own.metalness, &own.transparency, &own.ior,
              &own.reflectivity, &own.kj, &own.kf, &own.ks, block.material.ambience}) {
            const miScalar sane = std::exchange(*field, bad);
            for (const miScalar dot_nd : {-1.0f, 0.0f}) {
                state.dot_nd = dot_nd, light_dir.z = -dot_nd;
                EXPECT_TRUE(is_finite(shade(zel_strauss, &block))) << bad << ' ' << field;
            }
            *field = sane;
        }
}

}  // namespace
