// The projector: its frame, its edges, and its list of instances.

#include <cmath>

#include "scripted/host.h"

extern "C" {
void cam_proj_tex_init(miState*, void*, miBoolean*);
void cam_proj_tex_exit(miState*, void*);
miBoolean cam_proj_tex(miColor*, miState*, void*);
}

namespace {

using scripted::IsColor;

struct Params {
    miTag texture = 5;
    miInteger unused[28] = {};
    miVector from = {0, 0, 0}, to = {0, 0, -1};
    miScalar roll = 0, fov = 90, aspect = 1;
    miBoolean both_sides = miTRUE;
};

class Projection : public scripted::Renderer {
  protected:
    Projection() {
        host.texture = [](miColor* color, miState*, miTag texture, const miVector& at) {
            *color = {at.x, at.y, at.z, static_cast<miScalar>(texture)};
            return miTRUE;
        };
    }
    void TearDown() override {
        cam_proj_tex_exit(&state, nullptr);
        Renderer::TearDown();
    }
    // A render with this projector.
    void place(const Params& p) {
        miBoolean wanted = miFALSE;
        cam_proj_tex_init(&state, nullptr, &wanted);
        EXPECT_TRUE(wanted);
        params = p;
        cam_proj_tex_init(&state, &params, nullptr);
    }
    miBoolean look(miVector point, Params* block) {
        state.point = point;
        color = {9, 9, 9, 9};
        return cam_proj_tex(&color, &state, block);
    }
    // (u, v) of a point, and its z in the projector's space.
    void expect(miVector point, float u, float v, float z) {
        EXPECT_TRUE(look(point, &params)) << point.x << ' ' << point.y << ' ' << point.z;
        EXPECT_THAT(color, IsColor(u, v, z, 5, 1e-5f)) << point.x << ' ' << point.y;
    }
    void expect_outside(miVector point) {
        EXPECT_FALSE(look(point, &params)) << point.x << ' ' << point.y << ' ' << point.z;
        EXPECT_THAT(color, IsColor(0, 0, 0, 0, 0));
    }
    Params params;
    miColor color = {};
};

TEST_F(Projection, PutsTheFrameWhereItLooks) {
    place({});
    expect({0, 0, -3}, 0.5f, 0.5f, -3);
    expect({-1, 0.5f, -2}, 0.25f, 0.625f, -2);
    expect({0.5f, 0, 1}, 0.75f, 0.5f, 1);  // the mirror image behind it
    for (const miVector edge : {miVector{1, 0, -1}, {0, -1, -1}, {0.5f, 0, 0}, {0, 0, 0}})
        expect_outside(edge);
    place({.from = {2, 0, 0}, .to = {1, 0, 0}});
    expect({0, 0, -1}, 0.75f, 0.5f, -2);
    place({.roll = 90});
    expect({0.5f, 0, -1}, 0.5f, 0.75f, -1);
    place({.from = {0, 1, 0}, .to = {0, 0, 0}});  // straight down: x to the right, -z up
    expect({0.5f, 0, -0.25f}, 0.75f, 0.625f, -1);
    place({.from = {0, 1, 0}, .to = {0, 2, 0}});  // straight up
    expect({0.5f, 2, -0.25f}, 0.75f, 0.375f, -1);
    place({.to = {0, 0, 0}});  // from itself: its own z axis is the other way
    expect({0.5f, 0, 1}, 0.25f, 0.5f, -1);
}

TEST_F(Projection, CutsNarrowFramesByTheAngleAndWideOnesByTheImage) {
    place({.aspect = 0.5f});
    expect({0.4f, 0, -1}, 0.9f, 0.5f, -1);
    expect_outside({0.4663f, 0, -1});  // at 25 degrees, where u is 0.966
    place({.aspect = 2});
    expect({1.99f, 0, -1}, 0.9975f, 0.5f, -1);
    expect_outside({-2.01f, 0, -1});
    place({.both_sides = miFALSE});
    state.normal = {0.999f, 0, 0.045f};
    expect({0, 0, -1}, 0.5f, 0.5f, -1);
    for (const miVector away : {miVector{1, 0, 0}, {0, 0, -1}, {0, 0, 0}, {0, 0, NAN}}) {
        state.normal = away;
        expect_outside({0, 0, -1});
    }
}

TEST_F(Projection, ThrowsNothingBySettingsThatHaveNoImage) {
    for (const Params& p : {Params{.fov = 0},
                            {.fov = NAN},
                            {.fov = 1e-42f, .aspect = 1e30f},
                            {.aspect = 0},
                            {.aspect = NAN},
                            {.from = {NAN, 0, 0}},
                            {.to = {0, INFINITY, 0}},
                            {.from = {1e38f, 1e38f, 1e38f}},
                            {.roll = NAN}}) {
        place(p);
        for (const float x : {0.0f, 0.1f, 1e8f}) expect_outside({x, 0, -1});
    }
}

TEST_F(Projection, OfHalfTheWorldAndMoreIsSpreadThin) {
    place({.fov = 180});
    for (const float x : {0.0f, 0.5f, -70.0f}) expect({x, x, -1}, 0.5f, 0.5f, -1);
    expect_outside({1e8f, 0, -1});
    place({.fov = 270});  // whose tangent is that of 90, turned over
    expect({0.5f, 0, -1}, 0.25f, 0.5f, -1);
    expect_outside({2, 0, -1});
}

TEST_F(Projection, KnowsItsInstancesByTheirBlocks) {
    place({});
    Params other = {.fov = 20};
    cam_proj_tex_init(&state, &other, nullptr);
    EXPECT_FALSE(look({0.5f, 0, -1}, &other));
    cam_proj_tex_exit(&state, &other);  // an instance alone is not released
    expect({0.5f, 0, -1}, 0.75f, 0.5f, -1);

    // A copy, as for connected parameters, goes by the instance that runs.
    Params copy = {.texture = 7, .fov = 1};
    function.parameters = &params;
    EXPECT_TRUE(look({0.5f, 0, -1}, &copy));
    EXPECT_THAT(color, IsColor(0.75f, 0.5f, -1, 7));
    cam_proj_tex_exit(&state, nullptr);
    EXPECT_THROW(look({0.5f, 0, -1}, &params), scripted::Fatal);
    EXPECT_EQ(host.messages.back().text, "cam_proj_tex: invalid instance cache");
}

}  // namespace
