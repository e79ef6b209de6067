// dusty: how the dust depends on facing and noise, and what it is handed to.

#include <cmath>
#include <limits>

#include "scripted/host.h"

extern "C" miBoolean dusty(miColor*, miState*, void*);

namespace {

using scripted::IsColor;

constexpr miScalar kNan = std::numeric_limits<miScalar>::quiet_NaN();

// A black material under white dust: the colour of a hit is the dust.
class DustyTest : public scripted::Renderer {
  protected:
    struct Block {
        soft_material_params material = {};
        miScalar amount = 1, noise_amount = 1;
        miBoolean use_noise = miFALSE;
        miScalar noise_scale = 2, falloff = 0.5f;
        miColor dust_color = {1, 0.5f, 0.25f, 1};
        miInteger octaves = 1;
    };
    DustyTest() {
        host.materials.material = {0, 0, 0, 0.75f};
        block.material.transparency = block.material.reflectivity = 0.5f;
        block.material.diffuse = block.material.ambient = block.material.specular = {0, 0, 0, 1};
    }

    miColor shade(miBoolean answer = miTRUE) {
        host.materials.calls.clear();
        miColor result = {2, 2, 2, 2};
        EXPECT_EQ(dusty(&result, &state, &block), answer);
        return result;
    }
    miScalar dust(miScalar cosine) {
        state.normal = {std::sqrt(1 - cosine * cosine), cosine, 0};
        const miColor c = shade();
        EXPECT_EQ(c.r, c.g);
        EXPECT_EQ(c.a, 0.75f);  // the material's
        return c.r;
    }
    const soft_material_params& last_block() const { return host.materials.calls.back().block; }

    Block block;
};

TEST_F(DustyTest, SettlesOnWhatFacesUp) {
    block.amount = 0.8f;
    for (const miScalar c : {1.0f, 0.7f, 0.5f, 0.1f}) EXPECT_NEAR(dust(c), 0.8f * c, 1e-6);
    block.falloff = 0.25f;
    for (const miScalar c : {1.0f, 0.7f, 0.5f, 0.1f}) EXPECT_NEAR(dust(c), 0.8f * c * c, 1e-6);
    for (const miScalar c : {0.0f, -0.1f, -1.0f, kNan}) {
        EXPECT_EQ(dust(c), 0);
        EXPECT_EQ(host.materials.calls.size(), 1u);  // soft_material alone
    }
    host.world = scripted::rotation(0, 0, 1.5707964f);
    EXPECT_NEAR(dust(0), 0.8f, 1e-6);  // along x, which is up in the world
}

TEST_F(DustyTest, NoiseTakesDustAway) {
    miVector asked = {};
    host.noise = [&asked](const miVector& p) { return asked = p, 0.25f; };  // sums up to 0.75
    block.use_noise = miTRUE, host.object = scripted::translation(1, 0, 0);
    EXPECT_NEAR(dust(1), 0.75f, 1e-6);
    EXPECT_TRUE(asked.x == 2 && asked.y == 0 && asked.z == -2);
    block.noise_amount = 0.5f;
    EXPECT_NEAR(dust(1), 0.875f, 1e-6);
    block.use_noise = 2;  // neither off nor on
    EXPECT_EQ(dust(1), 1);
}

TEST_F(DustyTest, IsMatteAndLitByTheBlocksLights) {
    dust(0.5f);
    const soft_material_params& block = last_block();
    EXPECT_TRUE(block.transparency == 0 && block.reflectivity == 0);
    EXPECT_THAT(block.specular, IsColor(0, 0, 0, 0));
    EXPECT_THAT(block.ambient, IsColor(1, 0.5f, 0.25f, 1));
    EXPECT_THAT(block.diffuse, IsColor(1, 0.5f, 0.25f, 1));
}

TEST_F(DustyTest, ShadowsAreThoseOfADustierMaterial) {
    state.normal = {0, 1, 0}, state.type = miRAY_SHADOW, block.amount = 0.75f;
    host.materials.textures = [](soft_material_params* work, miVector*, miScalar*) {
        work->transparency *= 0.5f;
    };
    shade(miFALSE);
    EXPECT_EQ(host.materials.count("mi_mtl_static_blur"), 1);
    EXPECT_EQ(last_block().transparency, 0.25f * 0.25f);
    EXPECT_THAT(last_block().diffuse, IsColor(0.75f, 0.375f, 0.1875f, 1));
    host.materials.casts_shadow = miFALSE;
    EXPECT_THAT(shade(), IsColor(2, 2, 2, 2));
}

TEST_F(DustyTest, WhatIsNoNumberIsNoDust) {
    block.falloff = -1;
    EXPECT_EQ(dust(0.3f), 0);
    block.falloff = kNan;
    EXPECT_EQ(dust(0.5f), 0);
    state.type = miRAY_SHADOW;
    shade(miFALSE);
    EXPECT_EQ(last_block().transparency, 0.5f);
    state.type = miRAY_EYE, block.falloff = block.amount = 3e38f;
    EXPECT_TRUE(std::isfinite(dust(1e-30f)));
}

}  // namespace
