// zel_frosty: its light, its rays, and what highlights and edges take from its transparency.

#include <utility>

#include "material_fixture.h"

extern "C" miBoolean zel_frosty(miColor*, miState*, void*);

namespace {

using scripted::IsColor;

class FrostyTest : public MaterialTest {
  protected:
    struct Own {
        miScalar reflect_spread = 0;
        miInteger reflect_samples = 4, reflect_tint = 0;
        miScalar refract_spread = 0;
        miInteger refract_samples = 4, refract_tint = 0;
        miScalar edge_opacity = 0, specular_opacity = 0;
    };
    FrostyTest() {
        block.material.ambient = {0.1f, 0.2f, 0.3f, 0.4f}, block.material.ambience[0] = 9;
        block.material.diffuse = {0.5f, 0.5f, 0.5f, 0.5f}, block.material.exponent = 2;
        block.material.specular = {1, 0.5f, 0.25f, 9};
        host.trace_reflection =
            host.trace_refraction = [this](miColor* c, miState*, const miVector&) {
                *c = {1, 0.5f, 0.25f, 0.75f};
                return hit;
            };
        host.trace_environment = [this](miColor* c, miState*, const miVector&) {
            *c = {0, 0, 1, 0.5f};
            return surrounded;
        };
    }
    miVector traced(const char* call) const {
        const auto& d = host.last(call).arguments;
        return {miScalar(d[0]), miScalar(d[1]), miScalar(d[2])};
    }
    MaterialBlock<Own> block;
    miBoolean hit = miTRUE, surrounded = miTRUE;
};

// Where the surface is transparent, alpha is what is left of it, as its rays see nothing here.
TEST_F(FrostyTest, LightsByItsModelAndIsMoreOpaqueThere) {
    hit = surrounded = miFALSE;
    const struct {
        int model, n, n_diffuse;
        miColor color;  // alpha with a transparency of 3/4 and a specular opacity of 1/4
    } kCases[] = {{1, 3, 0, {0.8f, 0.6f, 1.1f, 0.25f}},     {2, 3, 0, {2.12f, 0.92f, 1.42f, 0.66f}},
                  {3, 3, 0, {2.25f, 1.05f, 1.55f, 0.725f}}, {2, 0, 2, {0.8f, 0.6f, 1.1f, 0.25f}},
                  {2, -1, -1, {0.1f, 0.2f, 0.3f, 0.25f}},   {0, 3, 2, {0.5f, 0.5f, 0.5f, 0.25f}}};
    for (const auto& c : kCases) {
        block.lights(c.n, c.n_diffuse), block.material.model = c.model;
        block.material.transparency = 0;
        EXPECT_THAT(shade(zel_frosty, &block), IsColor(c.color.r, c.color.g, c.color.b, 1));
        block.material.transparency = 0.75f, block.own.specular_opacity = 0.25f;
        EXPECT_NEAR(shade(zel_frosty, &block).a, c.color.a, 1e-6) << "case " << &c - kCases;
    }
    // Edges take nothing head-on, all at most, and give nothing back to a strong highlight.
    const miScalar kEdges[][4] = {{-1, 4, 0, 0.25f},
                                  {0.5f, 1, 0, 0.5f},
                                  {0, 0.5f, 0, 0.75f},
                                  {0, 2, 0, 1},
                                  {-0.5f, -9, 1, 1}};
    block.lights(3, 2), block.material.model = 2;
    for (const auto& [dot_nd, edge, specular, alpha] : kEdges) {
        state.dot_nd = dot_nd, block.own.edge_opacity = edge, block.own.specular_opacity = specular;
        state.refraction_level = 3;
        EXPECT_NEAR(shade(zel_frosty, &block).a, alpha, 1e-6) << edge;
        EXPECT_EQ(state.refraction_level, alpha < 1 ? 2 : 3);
    }
}

TEST_F(FrostyTest, BlendsWhatItsRaysSee) {
    block.material.diffuse = {1, 0.5f, 0.25f, 0};
    const struct {
        miScalar r, t;
        int tint;
        miBoolean hit, surrounded, environment_only;
        miColor color;
        int rays;
    } kCases[] = {{0.5f, 0, 0, 1, 0, 0, {1, 0.5f, 0.25f, 1}, 4},
                  {0.5f, 0, 1, 1, 0, 0, {1, 0.375f, 0.15625f, 1}, 4},
                  {0.5f, 0, 2, 0, 1, 0, {0.5f, 0.25f, 0.625f, 1}, 4},
                  {0.5f, 0, 1, 1, 1, 1, {0.5f, 0.25f, 0.25f, 1}, 0},
                  {0, 0.5f, 0, 1, 0, 0, {1, 0.5f, 0.25f, 0.875f}, 4},
                  {0, 0.5f, 1, 1, 0, 0, {1, 0.375f, 0.15625f, 0.875f}, 4},
                  {0, 0.5f, 0, 0, 1, 1, {0.5f, 0.25f, 0.625f, 0.75f}, 4},
                  {0.5f, 0.5f, 0, 0, 0, 0, {0.25f, 0.125f, 0.0625f, 0.5f}, 8},
                  {-1, 0, 0, 1, 1, 0, {1, 0.5f, 0.25f, 1}, 0}};
    for (const auto& c : kCases) {
        block.material.reflectivity = c.r, block.material.transparency = c.t;
        block.material.environment_only = c.environment_only;
        block.own.reflect_tint = block.own.refract_tint = c.tint;
        hit = c.hit, surrounded = c.surrounded, host.calls.clear();
        EXPECT_THAT(shade(zel_frosty, &block), IsColor(c.color.r, c.color.g, c.color.b, c.color.a))
            << "case " << &c - kCases;
        EXPECT_EQ(host.count("mi_trace_reflection") + host.count("mi_trace_refraction"), c.rays);
    }
}

// A count below 1 adds nothing. Depths limit reflections alone.
TEST_F(FrostyTest, TracesWithinTheDepthsAndItsCounts) {
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
    block.material.reflectivity = block.material.transparency = 0.5f;
    for (const auto& c : kCases) {
        state.reflection_level = c.reflection_level, state.refraction_level = c.refraction_level;
        block.own.reflect_samples = block.own.refract_samples = c.samples;
        options.no_secondary = c.no_secondary, host.calls.clear();
        const miScalar red = shade(zel_frosty, &block).r;
        EXPECT_EQ(host.count("mi_trace_reflection"), c.reflected) << "case " << &c - kCases;
        EXPECT_EQ(host.count("mi_trace_refraction"), c.refracted) << "case " << &c - kCases;
        EXPECT_NEAR(red, 0.125f + (c.reflected ? 0.25f : 0) + (c.refracted ? 0.5f : 0), 1e-6);
    }
}

TEST_F(FrostyTest, JittersToOneSide) {
    const auto expect = [](miVector dir, miVector expected) {
        EXPECT_LT(length(dir - expected), 1e-6) << dir.x << ' ' << dir.y << ' ' << dir.z;
    };
    host.random = [number = 0u]() mutable { return std::array{0.25, 0.5, 1.0}[number++ % 3]; };
    block.material.reflectivity = block.material.transparency = 1;
    block.own.reflect_spread = 0.8f, state.dir = {0.6f, 0, -0.8f};
    host.materials.ior_in = 1, host.materials.ior_out = 1.25f;
    shade(zel_frosty, &block);
    expect(traced("mi_trace_reflection"), normalized({0.8f, 0.4f, 1.6f}));
    expect(traced("mi_trace_refraction"), {0.48f, 0, -0.8772685f});

    // Nothing is traced under total internal reflection.
    host.materials.ior_in = 2, host.materials.ior_out = 1, host.calls.clear();
    EXPECT_THAT(shade(zel_frosty, &block), IsColor(0, 0, 0, 0));
    EXPECT_EQ(host.count("mi_trace_refraction"), 0);
    EXPECT_EQ(state.refraction_level, -2);
}

TEST_F(FrostyTest, StandsOnTheOutsideMaterial) {
    host.materials.textures = [](soft_material_params* work, miVector* normal, miScalar* dot_nd) {
        work->diffuse = {1, 0, 0, 0}, work->transparency = work->reflectivity = 0.5f;
        *normal = {0, 1, 0}, *dot_nd = 0;
    };
    block.own.edge_opacity = 0.25f, hit = surrounded = miFALSE;
    EXPECT_THAT(shade(zel_frosty, &block), IsColor(0.375f, 0, 0, 0.75f));
    EXPECT_EQ(library_calls(), "refraction_index textures static_blur ");
    host.calls.clear();
    expect_shadows(zel_frosty, &block, miTRUE);
}

TEST_F(FrostyTest, StaysFinite) {
    auto& [m, own, light, diffuse_light] = block;
    block.lights(3, 2), m.model = 2, m.reflectivity = m.transparency = 0.5f;
    for (const miScalar bad : {kNan, kInfinity, -kInfinity, 3e38f})
        for (miScalar* field :
             {&own.reflect_spread, &own.refract_spread, &own.edge_opacity, &own.specular_opacity,
              &m.reflectivity, &m.transparency, &m.diffuse.g, &m.ambient.b, &m.specular.r}) {
            const miScalar sane = std::exchange(*field, bad);
            EXPECT_TRUE(is_finite(shade(zel_frosty, &block))) << bad;
            *field = sane;
        }
}

}  // namespace
