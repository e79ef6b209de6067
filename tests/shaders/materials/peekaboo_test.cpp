// zel_peekaboo: its light, and where it opens up.

#include <utility>

#include "material_fixture.h"

extern "C" {
miBoolean zel_peekaboo(miColor*, miState*, void*);
void zel_peekaboo_illumination(miColor*, miState*, soft_material_params* work, void*);
}

namespace {

using scripted::IsColor;

class PeekabooTest : public MaterialTest {
  protected:
    // Behind peek lie the block's light arrays: 3, 1, 2 and 1, 2.
    struct Own {
        miScalar peek_strength = 0.5f;
        miInteger i_peek = 2, n_peek = 0;
        miTag peek[1] = {1};
    };
    PeekabooTest() {
        block.material.ambient = {0.1f, 0.2f, 0.3f, 0.4f};
        block.material.diffuse = {0.5f, 0.5f, 0.5f, 1};
        block.material.specular = {1, 0.5f, 0.25f, 9};
        block.material.transparency = 0.25f;
        block.material.exponent = 2, block.material.model = 2;
    }
    MaterialBlock<Own> block;
};

TEST_F(PeekabooTest, LightsOrOpens) {
    constexpr miScalar kPeek = 3.5f / 6;  // of light 1: half its mean
    const struct {
        int model, n, n_diffuse, i_peek, n_peek;
        miColor color;
        miScalar transparency;
    } kCases[] = {
        {2, 3, 0, 2, 0, {2.12f, 0.92f, 1.42f, 0}, 0.25f},
        {3, 3, 0, 2, -1, {2.25f, 1.05f, 1.55f, 0}, 0.25f},
        {0, 3, 0, 2, 0, {0.8f, 0.6f, 1.1f, 0}, 0.25f},
        {2, 0, 2, 2, 0, {0.8f, 0.6f, 1.1f, 0}, 0.25f},
        {2, 3, 0, 1, 1, {2.12f, 0.92f, 1.42f, 0}, 0.25f},  // a blocked light does not peek
        {2, 3, 0, 2, 1, {1.6f, 0.2f, 0.3f, 0}, 0.25f + kPeek},
        {2, 3, 0, 1, 3, {0.1f, 0.2f, 0.3f, 0}, 0.25f + kPeek + 1 / 6.0f},
        {2, 3, 2, 2, 1, {2.1f, 0.2f, 0.3f, 0}, 0.25f + 2 * kPeek},  // twice in lists of lights
        {2, 3, 0, 0, 3, {1.6f, 0.2f, 0.3f, 0}, 0.25f + kPeek},      // twice in that of peek lights
    };
    for (const auto& c : kCases) {
        block.lights(c.n, c.n_diffuse), block.material.model = c.model;
        block.own.i_peek = c.i_peek, block.own.n_peek = c.n_peek;
        soft_material_params work = block.material;
        miColor result = {9, 9, 9, 9};
        zel_peekaboo_illumination(&result, &state, &work, &block);
        EXPECT_THAT(result, IsColor(c.color.r, c.color.g, c.color.b, 0.75f))
            << "case " << &c - kCases;
        EXPECT_NEAR(work.transparency, c.transparency, 1e-6) << "case " << &c - kCases;
    }
}

TEST_F(PeekabooTest, StandsOnTheOutsideMaterial) {
    auto& library = host.materials;
    library.ior_in = 1.25f, library.ior_out = 1.5f;
    library.reflection = {0.25f, 0, 0, 0}, library.refraction = {0, 0.125f, 0, 0.5f};
    library.textures = [](soft_material_params* work, miVector* normal, miScalar* dot_nd) {
        work->ambient = {0, 0, 0, 0}, work->diffuse = {1, 1, 1, 1}, work->transparency = 0.5f;
        *normal = {0, 1, 0}, *dot_nd = -0.5f;
    };
    block.lights(0, 2), block.own.n_peek = 1;
    EXPECT_THAT(shade(zel_peekaboo, &block), IsColor(1.25f, 0.125f, 0, 1));
    EXPECT_EQ(library_calls(), "refraction_index textures static_blur reflection refraction ");
    EXPECT_NEAR(library.calls.back().block.transparency, 0.5f + 3.5f / 6, 1e-6);
    EXPECT_TRUE(library.calls.back().ior_in == 1.25 && library.calls.back().ior_out == 1.5);
    EXPECT_EQ(block.material.transparency, 0.25f);
    host.calls.clear();
    expect_shadows(zel_peekaboo, &block, miTRUE);
}

TEST_F(PeekabooTest, StaysFinite) {
    block.lights(3, 2), block.own.n_peek = 1;
    for (const miScalar bad : {kNan, kInfinity, -kInfinity, 3e38f})
        for (miScalar* field : {&block.own.peek_strength, &block.material.transparency,
                                &block.material.ambient.r, &block.material.specular.b}) {
            const miScalar sane = std::exchange(*field, bad);
            EXPECT_TRUE(is_finite(shade(zel_peekaboo, &block))) << bad;
            *field = sane;
        }
}

}  // namespace
