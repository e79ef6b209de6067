// Maps and bumps of the outside material, and the built-in textures, environment and light.

#include <cmath>
#include <cstring>
#include <numbers>

#include "scripted/host.h"
#include "soft/builtins.h"

namespace {

using scripted::IsColor;

constexpr miTag picture = 77, nothing = 78;

class SoftTextures : public scripted::Renderer {
  protected:
    SoftTextures() {
        host.texture = [this](miColor* c, miState*, miTag tag, const miVector& at) {
            looked_up = at;
            *c = tag == nothing ? miColor{9, 9, 9, 9} : texel(at);
            return tag == nothing ? miFALSE : miTRUE;
        };
        host.texture_basis = [this](miVector* u, miVector* v) { return *u = du, *v = dv, miTRUE; };
    }

    void expect_normal(const miVector& towards) {
        const miVector d = state.normal - normalized(towards);
        EXPECT_LT(length(d), 2e-4) << state.normal.x << ' ' << state.normal.y;
        EXPECT_EQ(state.dot_nd, dot(state.normal, state.dir));
    }

    // Bends the normal n by the bump map.
    void bump(const miVector& n) {
        state.normal = n;
        state.dot_nd = dot(n, state.dir);
        mi_mtl_textures(&state, &block, &block, &state.normal, &state.dot_nd);
    }

    std::function<miColor(const miVector&)> texel = [](const miVector&) {
        return miColor{0.5f, 0.25f, 0, 1};
    };
    miVector looked_up = {}, du = {1, 0, 0}, dv = {0, 1, 0};
    soft_material_params block = {};
    miColor result = {0, 0, 0, 0};
};

TEST_F(SoftTextures, MapsMultiplyAndAFailingOneChangesNothing) {
    block.ambient = block.diffuse = block.specular = {1, 2, 3, 4};
    block.transparency = block.reflectivity = 1;
    block.diffuse_map = block.specular_map = block.transparency_map = block.reflectivity_map =
        block.bump_map = nothing;
    soft_material_params work = block;
    miVector normal = {};
    miScalar dot_nd = 0;
    mi_mtl_textures(&state, &work, &block, &normal, &dot_nd);
    EXPECT_EQ(std::memcmp(&work, &block, sizeof work), 0);
    EXPECT_EQ(normal.z, 1);
    EXPECT_EQ(dot_nd, -1);

    block.diffuse_map = block.specular_map = block.transparency_map = picture;
    mi_mtl_textures(&state, &work, &block, nullptr, nullptr);
    for (const miColor& c : {work.ambient, work.diffuse, work.specular})
        EXPECT_THAT(c, IsColor(0.5f, 0.5f, 0, 4));
    EXPECT_EQ(work.transparency, 0.25f);
    EXPECT_EQ(work.reflectivity, 1);
}

TEST_F(SoftTextures, CoordinatesAreScaledThenMovedThenTurned) {
    block.diffuse_map = picture;
    block.texture_scale = {2, 0, 1};
    block.texture_offset = {0, 1, 0};
    block.texture_rotation = 90;
    state.tex = {3, 4, 5};
    mi_mtl_textures(&state, &block, &block, nullptr, nullptr);
    EXPECT_LT(length(looked_up - miVector{-5, 6, 5}), 1e-5);

    soft_texture_params texture = {picture, {2, 2, 2, 0}, 0, {1, 1, 1}, {0, 0, 0}, 0};
    host.texture_coord = [](miVector* coord) { return *coord = {0.5f, 0.5f, 0}, miTRUE; };
    EXPECT_TRUE(soft_texture(&result, &state, &texture));
    EXPECT_EQ(looked_up.x, 0.5f);
    EXPECT_EQ(result.g, 0.5f);
    EXPECT_EQ(result.a, 1);
    texture.space = -1;
    soft_texture(&result, &state, &texture);
    EXPECT_EQ(looked_up.x, 3);
    texture.texture = nothing;
    EXPECT_FALSE(soft_texture(&result, &state, &texture));
    EXPECT_EQ(result.g, 0.5f);
}

// The plane z = a x + b y has the normal (-a, -b, 1), however its coordinates run.
TEST_F(SoftTextures, BumpsBendTheNormalAsARaisedSurface) {
    block.bump_map = picture;
    block.bump_strength = 2;
    const miVector n = normalized({0.1f, 0.2f, 0.7f});
    bump(n);
    EXPECT_EQ(std::memcmp(&state.normal, &n, sizeof n), 0) << "a constant map changes no bit";
    texel = [](const miVector& p) { return miColor{p.x, p.x, p.x, 1}; };
    bump({0, 0, 1});
    expect_normal({-2, 0, 1});

    // Skewed and mirrored: x = 2 u + v, y = -v, so u = (x + y) / 2.
    du = {2, 0, 0};
    dv = {1, -1, 0};
    bump({0, 0, 1});
    expect_normal({-1, -1, 1});

    // Turned by 90 degrees the map's s is -v = y, twice as fast.
    block.texture_rotation = 90;
    block.texture_scale = {1, 2, 1};
    bump({0, 0, 1});
    expect_normal({0, -4, 1});

    // From the back the same surface has the same plane.
    state.inside = miTRUE;
    state.dir = {0, 0, 1};
    bump({0, 0, -1});
    expect_normal({0, 4, -1});

    // The normal never turns away from the ray.
    state.inside = miFALSE;
    state.dir = normalized({0, -1, -0.1f});
    block.bump_strength = -2;
    bump({0, 0, 1});
    EXPECT_LT(state.dot_nd, 0);
    EXPECT_NEAR(length(state.normal), 1, 1e-5);

    // Coordinates that do not vary say nothing about the surface.
    dv = du;
    bump({0, 0, 1});
    expect_normal({0, 0, 1});
}

TEST_F(SoftTextures, CheckersAlternateAcrossTheOrigin) {
    soft_checker_params checker = {{1, 1, 1, 1}, {0, 0, 0, 1}, -1, miFALSE, {2, 2, 2}, {}};
    const auto square = [&](miScalar u, miScalar v) {
        state.tex = {u, v, 0.9f};
        state.point = {u, v, 0.1f};
        soft_checker(&result, &state, &checker);
        return result.r;
    };
    EXPECT_EQ(square(0.1f, 0.1f), 1);
    EXPECT_EQ(square(0.6f, 0.1f), 0);
    EXPECT_EQ(square(0.6f, 0.6f), 1);
    EXPECT_EQ(square(-0.1f, 0.1f), 0);
    EXPECT_EQ(square(INFINITY, -INFINITY), 1);

    checker.solid = miTRUE;
    for (const miScalar y : {-1e-6f, 0.0f, 1e-6f})
        EXPECT_EQ(square(0.1f, y), 1) << "a plane on the border of two cubes is speckled";
    host.object = scripted::translation(0, 0, 0.5f);
    EXPECT_EQ(square(0.1f, 0), 0);
}

TEST_F(SoftTextures, EnvironmentIsAPictureAroundTheSixAxesOrAGradient) {
    scripted::Image image = {8, 4, std::vector<miColor>(32)};
    soft_environment_params sky = {host.add_image(&image), 0, 2, {}, {}, {}};
    const auto at = [&](miVector dir) {
        state.dir = dir;
        EXPECT_TRUE(soft_environment(&result, &state, &sky));
        return looked_up;
    };
    EXPECT_FLOAT_EQ(at({1, 0, 0}).x, 0.75f);
    EXPECT_FLOAT_EQ(looked_up.y, 0.5f);
    EXPECT_THAT(result, IsColor(1, 0.5f, 0, 1));
    EXPECT_FLOAT_EQ(std::fabs(at({0, 0, 1}).x - 0.5f), 0.5f);
    EXPECT_FLOAT_EQ(at({0, 1, 0}).y, 0.875f) << "the middle of the top row";
    EXPECT_FLOAT_EQ(at({0, -1, 0}).y, 0.125f);

    // Turned by 90 degrees, the picture's middle lies where a rotation about y takes -z.
    sky.rotation = 90;
    EXPECT_FLOAT_EQ(at({-1, 0, 0}).x, 0.5f);
    host.world = scripted::rotation(0, std::numbers::pi_v<miScalar> / 2, 0);
    EXPECT_FLOAT_EQ(at({0, 0, -1}).x, 0.5f) << "directions are those of the world";

    sky = {0, 0, 0.5f, {0, 0, 2, 1}, {2, 0, 0, 1}, {0, 2, 0, 1}};
    at({0, 1, 0});
    EXPECT_THAT(result, IsColor(0, 0, 1, 1));
    at({0, -1, 0});
    EXPECT_THAT(result, IsColor(0, 1, 0, 1));
    at({0.8f, 0.6f, 0});
    EXPECT_THAT(result, IsColor(0.4f, 0, 0.6f, 1));
}

TEST_F(SoftTextures, SpotsFadeTowardsTheConesEdge) {
    scripted::Light spot = {.type = miLIGHT_SPOT, .direction = {0, 0, -1}, .spread = 0.5f};
    soft_light_params light = {{1, 2, 0, 1}, 8, miTRUE, 2, 1};
    state.type = miRAY_LIGHT;
    state.dist = 2;
    state.light_instance = host.add_light(spot);
    const auto shine = [&](miScalar cosine) {
        state.dir = {std::sqrt(1 - cosine * cosine), 0, -cosine};
        return soft_light(&result, &state, &light) ? result.r : 0;
    };
    EXPECT_FLOAT_EQ(shine(1), 2);
    EXPECT_NEAR(shine(0.75f), 1, 1e-5) << "half-way between the cones";
    EXPECT_EQ(shine(0.4f), 0);
    EXPECT_EQ(host.count("mi_trace_shadow"), 2) << "no shadow where there is no light";
    light.inner = 0;
    EXPECT_FLOAT_EQ(shine(0.51f), 2);

    const scripted::Matrix turned = scripted::rotation(0, std::numbers::pi_v<miScalar>, 0);
    spot.to_world = &turned;
    state.light_instance = host.add_light(spot);
    EXPECT_EQ(shine(1), 0);
}

}  // namespace
