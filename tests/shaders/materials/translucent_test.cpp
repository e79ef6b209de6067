// translucent_material: the light from behind, and what makes it solid.

#include <cstring>

#include "material_fixture.h"

extern "C" {
miBoolean translucent_material(miColor*, miState*, void*);
void translucent_illumination(miColor*, miState*, soft_material_params* work, void*, double,
                              double);
}

namespace {

using scripted::IsColor;

class TranslucentTest : public MaterialTest {
  protected:
    struct Own {
        miScalar translucency = 0.5f;
        miBoolean use_transparency = miFALSE, opaque = miFALSE;
    };
    // Light 1 shines from right behind, light 2 from aslant behind, light 3 from the front.
    TranslucentTest() {
        host.light_samples = [](miState* at, miTag light) {
            const miVector dirs[] = {{0, 0, -1}, {0.6f, 0, -0.8f}, {0, 0, 1}};
            const miScalar cosine = dot(dirs[light - 1], at->normal);
            std::vector<scripted::LightSample> samples;
            if (cosine > 0) samples.push_back({{0.5f, 1, 2, 0}, dirs[light - 1], cosine});
            return samples;
        };
        host.materials.illumination = {0.25f, 0.25f, 0.25f, 0.75f};
        block.material.diffuse = {1, 0.5f, 0.25f, 9};
        block.material.transparency = 0.5f;
    }
    MaterialBlock<Own> block;
};

TEST_F(TranslucentTest, LightShinesThrough) {
    const struct {
        int n, n_diffuse;
        miScalar translucency;
        miBoolean use_transparency;
        miScalar light;  // each colour times diffuse is 1/2
    } kCases[] = {{0, 0, 1, 0, 0},    {1, 0, 1, 0, 0},    {2, 0, 1, 0, 1},
                  {3, 0, 1, 0, 1.8f}, {0, 2, 1, 0, 1.8f}, {3, 2, 0.5f, 0, 1.8f},
                  {3, 0, 0, 0, 0},    {3, 0, 1, 2, 0.9f}, {2, 0, -0.5f, 0, -0.5f}};
    for (const auto& c : kCases) {
        block.lights(c.n, c.n_diffuse);
        block.own = {c.translucency, c.use_transparency, miFALSE};
        const miScalar grey = 0.25f + 0.5f * c.light;
        EXPECT_THAT(shade(translucent_material, &block), IsColor(grey, grey, grey, 0.75f))
            << "case " << &c - kCases;
        EXPECT_EQ(library_calls(),
                  "refraction_index textures static_blur illumination reflection refraction ");
    }
}

TEST_F(TranslucentTest, TakesColoursFromTheWorkingRecord) {
    block.lights(2, 0), block.own.use_transparency = miTRUE;
    soft_material_params work = block.material;
    work.diffuse = {1, 1, 1, 1}, work.transparency = 0.25f;
    const miVector normal = state.normal = {-0.0f, 0.1f, 0.9949874f};
    miColor result = {1, 0, 0, 0.5f};
    translucent_illumination(&result, &state, &work, &block, 1, 1);
    const miScalar f = 0.9949874f * 0.125f;
    EXPECT_THAT(result, IsColor(1 + 0.5f * f, f, 2 * f, 0.5f));
    EXPECT_EQ(std::memcmp(&state.normal, &normal, sizeof normal), 0);
}

TEST_F(TranslucentTest, IsSolidWithBothSwitches) {
    host.materials.shadow = {0.5f, 0.5f, 0.5f, 0};
    host.materials.refraction = {0, 0, 0, 0.25f};
    for (const miBoolean use : {0, 1})
        for (const miBoolean opaque : {0, 1}) {
            block.own = {0.5f, use, opaque};
            state.type = miRAY_EYE;
            EXPECT_EQ(shade(translucent_material, &block).a, use && opaque ? 0.75f : 1);
            EXPECT_EQ(host.materials.count("mi_mtl_refraction"), !(use && opaque));
            state.type = miRAY_SHADOW;
            shade(translucent_material, &block);
            EXPECT_EQ(host.materials.calls.back().block.transparency, use && opaque ? 0 : 0.5f);
        }
}

TEST_F(TranslucentTest, PassesSegmentsOnFirst) {
    expect_shadows(translucent_material, &block, miTRUE);
    options.shadow = miSHADOW_SEGMENTS;
    host.trace_shadow_seg = [this](miColor* c, miState*) {
        EXPECT_EQ(library_calls(), "refraction_index ");
        *c = {1, 1, 1, 1};
        return miFALSE;
    };
    EXPECT_THAT(shade(translucent_material, &block), IsColor(0.5f, 0.25f, 0, 1));
    EXPECT_EQ(library_calls(),
              "refraction_index is_casting_shadow textures static_blur compute_shadow ");
    host.materials.casts_shadow = miFALSE;
    EXPECT_THAT(shade(translucent_material, &block), IsColor(1, 1, 1, 1));
    EXPECT_EQ(host.count("mi_trace_shadow_seg"), 2);
}

TEST_F(TranslucentTest, StaysFinite) {
    block.lights(3, 2);
    for (const miScalar bad : {kNan, kInfinity, -kInfinity, 3e38f}) {
        block.own.translucency = bad;
        EXPECT_TRUE(is_finite(shade(translucent_material, &block))) << bad;
    }
}

}  // namespace
