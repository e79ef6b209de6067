// zel_trispec: its three lobes, and the outside material around them.

#include "material_fixture.h"

extern "C" miBoolean zel_trispec(miColor*, miState*, void*);

namespace {

using scripted::IsColor;

class TrispecTest : public MaterialTest {
  protected:
    struct Own {
        miScalar side_weight = 0.5f;
        miColor main = {1, 1, 0, 9}, plus = {1, 0, 0, 9}, minus = {0, 0, 1, 9};
        miVector split = {0, 0, 0};
    };
    TrispecTest() {
        auto& m = block.material;
        m.model = miHIGHLIGHT_PHONG, m.exponent = 2;
        m.ambient = {0.125f, 0.25f, 0.5f, 0.5f}, m.ambience[0] = 7;
        m.diffuse = {0.5f, 0.25f, 0, 1}, m.specular = {1, 0.5f, 1, 1};
        block.lights(2, 0);  // the blocked one and light 1
        light_dir = {0, 0, 1};
    }
    MaterialBlock<Own> block;
};

// Light 1 from the viewer: its own lobe is 1. Split to the side its directions have a length of
// sqrt 2: by Phong the cosine that the scripted renderer takes, without bringing them to unit
// length, is 1; by Blinn the half-way vector (1, 0, 2) / sqrt 5 gives 4 / 5.
TEST_F(TrispecTest, AddsThreeLobes) {
    constexpr miScalar kR = 0.125f + 0.25f, kG = 0.25f + 0.25f, kB = 0.5f;  // ambient, diffuse
    const struct {
        int model;
        miScalar weight;
        miVector split;
        miColor color;
    } kCases[] = {
        {2, 0.5f, {0, 0, 0}, {kR + 0.75f, kG + 0.5f, kB + 1, 1}},
        {0, 0.5f, {0, 0, 0}, {kR + 0.75f, kG + 0.5f, kB + 1, 1}},
        {2, 0, {3, 0, 0}, {kR + 0.5f, kG + 0.5f, kB, 1}},
        {2, 0.5f, {3, 0, 0}, {kR + 0.75f, kG + 0.5f, kB + 1, 1}},
        {3, 0.5f, {0, 3, 0}, {kR + 0.5f + 0.25f * 0.8f, kG + 0.5f, kB + 0.8f, 1}},
        {1, 0.5f, {0, 0, 4}, {kR + 1.5f, kG + 0.5f, kB, 1}},  // lobes at 2 and 0 times l
    };
    for (const auto& c : kCases) {
        block.material.model = c.model;
        block.own.side_weight = c.weight, block.own.split = c.split;
        EXPECT_THAT(shade(zel_trispec, &block), IsColor(c.color.r, c.color.g, c.color.b, 1))
            << "case " << &c - kCases;
    }
    host.object = scripted::rotation(0, 1.5707964f, 0);  // object space is turned: x becomes -z
    block.own.split = {-4, 0, 0};
    EXPECT_THAT(shade(zel_trispec, &block), IsColor(kR + 1.5f, kG + 0.5f, kB, 1, 1e-5f));

    block.lights(1, 2);  // the blocked one; lights 1 and 2 without highlights
    EXPECT_THAT(shade(zel_trispec, &block), IsColor(kR + 0.5f, kG, kB, 1));
    block.lights(-1, -5);
    EXPECT_THAT(shade(zel_trispec, &block), IsColor(0.125f, 0.25f, 0.5f, 1));
}

TEST_F(TrispecTest, StandsOnTheOutsideMaterial) {
    auto& library = host.materials;
    library.ior_in = 1.25f, library.ior_out = 1.5f;
    library.reflection = {1, 0, 0, 0}, library.refraction = {0, 1, 0, -0.5f};
    library.textures = [](soft_material_params* work, miVector*, miScalar*) {
        work->ambient = work->diffuse = work->specular = {0, 0, 0, 1};
    };
    EXPECT_THAT(shade(zel_trispec, &block), IsColor(1, 1, 0, 0.5f));
    EXPECT_EQ(library_calls(), "refraction_index textures static_blur reflection refraction ");
    EXPECT_TRUE(library.calls.back().ior_in == 1.25 && library.calls.back().ior_out == 1.5);
    host.calls.clear();
    expect_shadows(zel_trispec, &block, miFALSE);
}

TEST_F(TrispecTest, StaysFinite) {
    for (const miScalar bad : {kNan, kInfinity, -kInfinity, 3e38f, 0.0f})
        for (miScalar* field : {&block.own.side_weight, &block.own.main.r, &block.own.minus.b,
                                &block.own.split.x, &block.own.split.z, &block.material.exponent}) {
            const miScalar sane = std::exchange(*field, bad);
            const miColor c = shade(zel_trispec, &block);
            EXPECT_TRUE(is_finite(c)) << bad;
            EXPECT_GE(c.r, 0.375f) << "ambient and diffuse light stay: " << bad;
            *field = sane;
        }
}

}  // namespace
