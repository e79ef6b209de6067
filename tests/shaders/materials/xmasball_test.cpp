// zel_xmasball: the tint of its reflection, and the outside material around it.

#include "material_fixture.h"

extern "C" miBoolean zel_xmasball(miColor*, miState*, void*);

namespace {

using scripted::IsColor;

class XmasballTest : public MaterialTest {
  protected:
    struct Own {
        miScalar tint = 0;
        miBoolean grey_reflection = miFALSE;
    };
    MaterialBlock<Own> block;
};

TEST_F(XmasballTest, TintsItsReflection) {
    host.materials.illumination = {0.5f, 0.25f, 1, 0.75f};
    host.materials.reflection = {0, 0.5f, 1, 0.5f};
    block.material.diffuse = {1, 0.5f, 0.25f, 0};
    const struct {
        miScalar reflectivity, tint;
        miBoolean grey;
        miColor color;
    } kCases[] = {{0, 1, miFALSE, {0.5f, 0.25f, 1, 0}},
                  {1, 0, miFALSE, {0, 0.5f, 1, 0}},
                  {1, 1, miFALSE, {0, 0.25f, 0.25f, 0}},
                  {1, 0, miTRUE, {0.5f, 0.5f, 0.5f, 0}},
                  {1, 1, miTRUE, {0.5f, 0.25f, 0.125f, 0}},
                  {0.5f, 0.5f, 2, {0.5f, 0.3125f, 0.65625f, 0}},
                  {0.25f, 0.5f, miFALSE, {0.375f, 0.28125f, 0.90625f, 0}}};
    for (const auto& c : kCases) {
        block.material.reflectivity = c.reflectivity;
        block.own = {c.tint, c.grey};
        EXPECT_THAT(shade(zel_xmasball, &block), IsColor(c.color.r, c.color.g, c.color.b, 0.75f))
            << "case " << &c - kCases;
        EXPECT_EQ(host.materials.count("mi_mtl_reflection"), 1);
    }
}

TEST_F(XmasballTest, StandsOnTheOutsideMaterial) {
    auto& library = host.materials;
    library.ior_in = 1.25f, library.ior_out = 1.5f;
    library.refraction = {0.125f, 0, 0, -0.5f};
    library.textures = [](soft_material_params* work, miVector* normal, miScalar* dot_nd) {
        work->reflectivity = 0.5f, work->diffuse.r = 0.25f;
        *normal = {0, 1, 0}, *dot_nd = -0.5f;
    };
    library.reflection = {1, 0, 0, 0};
    block.own.tint = 1;
    EXPECT_THAT(shade(zel_xmasball, &block), IsColor(0.75f, 0.5f, 0.5f, 0.5f));
    EXPECT_EQ(library_calls(),
              "refraction_index textures static_blur illumination reflection refraction ");
    EXPECT_TRUE(state.normal.y == 1 && state.dot_nd == -0.5f);
    EXPECT_EQ(library.calls[4].block.reflectivity, 1) << "that of the second record alone";
    for (const std::size_t i : {3u, 5u}) {
        EXPECT_EQ(library.calls[i].block.reflectivity, 0.5f);
        EXPECT_TRUE(library.calls[i].ior_in == 1.25 && library.calls[i].ior_out == 1.5);
    }
    host.calls.clear();
    expect_shadows(zel_xmasball, &block, miTRUE);
}

TEST_F(XmasballTest, StaysFinite) {
    host.materials.reflection = {1, 1, 1, 1};
    for (const miScalar bad : {kNan, kInfinity, -kInfinity}) {
        block.own.tint = bad;
        EXPECT_TRUE(is_finite(shade(zel_xmasball, &block))) << bad;
        block.own.tint = 1, block.material.reflectivity = bad;
        EXPECT_TRUE(is_finite(shade(zel_xmasball, &block))) << bad;
        block.material = {};
    }
}

}  // namespace
