// What pictures do not show well of the flame, the veins, the projector, the panorama and
// backgrounds: single numbers, edges, and the life of instances.

#include <cmath>
#include <numbers>

#include "extras/vein.h"
#include "scripted/host.h"

using Init = void(miState*, void*, miBoolean*);
using Shader = miBoolean(miColor*, miState*, void*);
extern "C" {
Init cam_proj_tex_init, cptn_nemo_init;
void cam_proj_tex_exit(miState*, void*);
Shader cam_proj_tex, cptn_nemo, Cylindric, Hot_Stuff, static_cling;
miBoolean zel_bg_color(void*, miState*, void*);
miBoolean zel_bg_pic(void*, miState*, void*);
}

namespace {

using scripted::IsColor;

struct ExtrasTest : scripted::Renderer {
    template <typename Params>
    miColor shade(Shader* shader, Params* params, miColor result = {9, 9, 9, 9}) {
        answer = shader(&result, &state, params);
        return result;
    }
    miBoolean answer = miFALSE;
};

// ---- Backgrounds

TEST_F(ExtrasTest, BackgroundReachesFromCornerToCornerUntilTheRenderIsAborted) {
    scripted::Image frame;
    options.frame_buffers[miFB_COLOR] = &frame;
    host.texture = [](miColor* color, miState*, miTag, const miVector& at) {
        *color = {at.x, at.y, 0, 1};
        return miTRUE;
    };
    const auto fill = [&](int width, int height, auto* shader, auto params) {
        camera.x_resolution = frame.width = width, camera.y_resolution = frame.height = height;
        frame.pixels.assign(static_cast<std::size_t>(width * height), miColor{0, 0, 0, 0});
        EXPECT_TRUE(shader(nullptr, &state, &params));
    };
    for (const auto& [width, height] : {std::pair{5, 3}, {1, 2}}) {
        fill(width, height, zel_bg_pic, miTag{0});
        EXPECT_EQ(frame.pixels.front().r, width > 1 ? 0 : 0.5f);
        EXPECT_EQ(frame.pixels.back().r, width > 1 ? 1 : 0.5f);
        EXPECT_EQ(frame.pixels.back().g, 1);
    }
    host.aborted = [asked = 0]() mutable { return ++asked == 3; };
    fill(2, 3, zel_bg_color, miColor{1, 1, 1, 1});
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(frame.pixels[i].g, i < 4) << i;
    options.frame_buffers[miFB_COLOR] = nullptr;
    fill(1, 1, zel_bg_pic, miTag{0});
}

// ---- The projector

struct Projection : ExtrasTest {
    struct Params {
        miTag texture = 5;
        miInteger unused[28] = {};
        miVector from = {0, 0, 0}, to = {0, 0, -1};
        miScalar roll = 0, fov = 90, aspect = 1;
        miBoolean both_sides = miTRUE;
    };
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
    Params params;
};

TEST_F(Projection, PutsTheFrameWhereItLooks) {
    const struct {
        Params params;
        miVector point;
        miScalar u, v, z;  // outside where z is 0
    } kCases[] = {
        {{}, {-1, 0.5f, -2}, 0.25f, 0.625f, -2},
        {{}, {0.5f, 0, 1}, 0.75f, 0.5f, 1},  // the mirror image behind it
        {{}, {1, 0, -1}, 0, 0, 0},
        {{}, {0, -1, -1}, 0, 0, 0},
        {{}, {0, 0, 0}, 0, 0, 0},
        {{.from = {2, 0, 0}, .to = {1, 0, 0}}, {0, 0, -1}, 0.75f, 0.5f, -2},
        {{.roll = 90}, {0.5f, 0, -1}, 0.5f, 0.75f, -1},
        // Straight down: x to the right, -z up. Straight up. From itself: its z is the other way.
        {{.from = {0, 1, 0}, .to = {0, 0, 0}}, {0.5f, 0, -0.25f}, 0.75f, 0.625f, -1},
        {{.from = {0, 1, 0}, .to = {0, 2, 0}}, {0.5f, 2, -0.25f}, 0.75f, 0.375f, -1},
        {{.to = {0, 0, 0}}, {0.5f, 0, 1}, 0.25f, 0.5f, -1},
        // Narrow frames are cut by the angle: at 25 degrees u is 0.966. Wide ones by the image.
        {{.aspect = 0.5f}, {0.4f, 0, -1}, 0.9f, 0.5f, -1},
        {{.aspect = 0.5f}, {0.4663f, 0, -1}, 0, 0, 0},
        {{.aspect = 2}, {1.99f, 0, -1}, 0.9975f, 0.5f, -1},
        {{.aspect = 2}, {-2.01f, 0, -1}, 0, 0, 0},
        // Half the world is spread thin; the tangent of 135 degrees is that of 45, turned over.
        {{.fov = 180}, {-70, -70, -1}, 0.5f, 0.5f, -1},
        {{.fov = 180}, {1e8f, 0, -1}, 0, 0, 0},
        {{.fov = 270}, {0.5f, 0, -1}, 0.25f, 0.5f, -1},
        {{.fov = 0}, {0, 0, -1}, 0, 0, 0},
        {{.fov = 1e-42f, .aspect = 1e30f}, {0, 0, -1}, 0, 0, 0},
        {{.from = {1e38f, 1e38f, 1e38f}}, {0, 0, -1}, 0, 0, 0},
    };
    for (const auto& c : kCases) {
        place(c.params), state.point = c.point;
        const miScalar found = c.z != 0 ? 1 : 0;
        EXPECT_THAT(shade(cam_proj_tex, &params), IsColor(c.u, c.v, c.z, 5 * found, 1e-5f))
            << "case " << &c - kCases;
        EXPECT_EQ(answer, found);
    }
    place({.both_sides = miFALSE}), state.point = {0, 0, -1};
    for (const miVector n : {miVector{0.999f, 0, 0.045f}, {1, 0, 0}, {0, 0, -1}, {0, 0, NAN}}) {
        state.normal = n;
        EXPECT_EQ(shade(cam_proj_tex, &params).a, n.z > 0 ? 5 : 0);
    }
}

TEST_F(Projection, KnowsItsInstancesByTheirBlocks) {
    place({}), state.point = {0.5f, 0, -1};
    Params other = {.fov = 20};
    cam_proj_tex_init(&state, &other, nullptr);
    EXPECT_EQ(shade(cam_proj_tex, &other).a, 0);
    cam_proj_tex_exit(&state, &other);  // an instance alone is not released
    EXPECT_EQ(shade(cam_proj_tex, &params).a, 5);

    // A copy, as for connected parameters, goes by the instance that runs.
    Params copy = {.texture = 7, .fov = 1};
    function.parameters = &params;
    EXPECT_THAT(shade(cam_proj_tex, &copy), IsColor(0.75f, 0.5f, -1, 7));
    cam_proj_tex_exit(&state, nullptr);
    EXPECT_THROW(shade(cam_proj_tex, &params), scripted::Fatal);
    EXPECT_EQ(host.messages.back().text, "cam_proj_tex: invalid instance cache");
}

// ---- The panorama

TEST_F(ExtrasTest, PanoramaTurnsAcrossAndRisesUpwards) {
    const float root = std::numbers::sqrt2_v<float>;
    const struct {
        int width, height;
        miScalar x, y, fov;
        miVector along;  // up to its length
    } kCases[] = {
        {641, 101, 320, 50, 360, {0, 0, -1}},
        {641, 101, 0, 50, 360, {0, 0, 1}},
        {641, 101, 640, 50, 180, {1, 0, 0}},
        {641, 101, 0, 50, 90, {-1, 0, -1}},
        // Half of the view plane's height, 4, stands on the wall at 2, at any angle.
        {641, 101, 320, 100, 90, {0, 2, -2}},
        {641, 101, 480, 0, 180, {root, -2, -root}},
        {1, 101, 0.5f, 100, 90, {0, 1, -1}},  // a single pixel looks straight ahead
        {1, 1, 0.5f, 0.5f, 90, {0, 0, -1}},
    };
    camera.focal = 2, camera.aperture = 6, camera.aspect = 1.5;
    host.camera = scripted::translation(-1, -2, -3);
    for (const auto& c : kCases) {
        camera.x_resolution = c.width, camera.y_resolution = c.height;
        state.raster_x = c.x, state.raster_y = c.y, state.pri = this, state.pri_index = 5;
        host.trace_reflection = [&](miColor*, miState* s, const miVector& dir) {
            EXPECT_TRUE(!s->pri && s->pri_index == 0);
            EXPECT_TRUE(is_zero(s->point - miVector{1, 2, 3}));
            EXPECT_LT(length(dir - normalized(c.along)), 1e-6) << "case " << &c - kCases;
            return miTRUE;
        };
        miScalar fov = c.fov;
        shade(Cylindric, &fov);
    }
}

// ---- The flame and the veins

// The scripted spline is of straight lines: 0, color1 ... color4, color4 at 0, 0.2 ... 0.8, 1; a
// single octave of the noise 1 makes 0, the full flame.
TEST_F(ExtrasTest, FlameRunsThroughItsColorsAndDiesAwayWithHeight) {
    struct {
        miScalar scale = 2, stretch = 0.25f, height = 8, drift = 3, rise = 5;
        miInteger octaves = 1;
        miScalar intensity = 1;
        miColor color1 = {0.1f, 0, 0, 0}, color2 = {0.2f, 0, 0, 0}, color3 = {0.3f, 0.5f, 0, 0},
                color4 = {0.4f, 0.5f, -1, 0};
    } params;
    miColor behind = {0.25f, 0.25f, 0.25f, 0};
    miVector at = {};
    host.trace_transparent = [&](miColor* color, miState*, auto&) {
        *color = behind;
        return miTRUE;
    };
    host.noise = [&](const miVector& p) { return at = p, 1.0f; };
    host.object = scripted::translation(0, 10, 0), camera.frame_time = 2;
    const auto burn = [&](double y) {
        state.point = {1, static_cast<miScalar>(y) - 10, 2};
        return shade(Hot_Stuff, &params);
    };
    EXPECT_THAT(burn(0), IsColor(0.65f, 0.75f, 0, 1));
    EXPECT_THAT(burn(0.5 - std::log(0.6)), IsColor(0.55f, 0.75f, 0.25f, 0.6f));
    EXPECT_THAT(burn(0.5 - std::log(0.1)), IsColor(0.3f, 0.25f, 0.25f, 0.1f));
    burn(3);
    EXPECT_TRUE(at.x == 2 && at.y == 4.5f - 10 && at.z == 4 + 6);
    params.height = 0;
    EXPECT_THAT(burn(0), IsColor(0.65f, 0.75f, 0, 1)) << "on its base alone";
    EXPECT_THAT(burn(1), IsColor(0.25f, 0.25f, 0.25f, 0));
    behind = {-5, 3, 0.5f, 4};
    for (const double y : {-1e-5, std::nan("")}) EXPECT_THAT(burn(y), IsColor(-5, 3, 0.5f, 4, 0));
    EXPECT_THAT(burn(100), IsColor(0, 1, 0.5f, 1));
    for (const miInteger type : {miRAY_LIGHT, miRAY_SHADOW}) {
        state.type = type;
        EXPECT_THAT(burn(0), IsColor(9, 9, 9, 9, 0));
    }
}

// Noise of one octave, a vein of 0.25 to either side of its middle and an edge of 0.125.
struct VeinTest : ExtrasTest {
    struct Block {
        soft_material_params material = {};
        vein_params vein = {1, 0, 2.5f, 0, 0.25f, 1};
        miScalar intensity = 1;
    };
    Block block;
};

TEST_F(VeinTest, HasThreeZonesWithASineBetween) {
    const miScalar s = std::sqrt(0.5f), below = 0.25f - 0x1p-24f;
    const struct {
        miScalar distance, glow, opacity;
    } kCases[] = {{0, 0.25f, 0},        {below, 0.25f, 0},   {0.25f, 0.25f, 0},
                  {-0.3125f, 0.25f, s}, {0.3125f, 0.25f, s}, {0.375f, 0.25f, 1},
                  {below, 0, 0},        {0.25f, 0, 1},       {-0.5f, 0.25f, 1}};
    block.material.diffuse = {0, 1, 0, 1}, block.material.specular = {1, 0, 0, 1};
    host.materials.material = {0.5f, 0.5f, 0.5f, 0.25f}, function.parameter_size = sizeof block;
    for (const auto& c : kCases) {
        host.noise = [&c](auto&) { return 0.5f + c.distance; };
        block.vein.glow = c.glow;
        shade(cptn_nemo, &block);
        EXPECT_NEAR(host.materials.calls.back().block.transparency, 1 - c.opacity, 1e-6);
        const bool inside = c.distance < 0.25f && c.distance >= 0;
        const miScalar rest = 0.5f * c.opacity, vein = 1 - 0.5f * c.opacity;
        EXPECT_THAT(shade(static_cling, &block),
                    IsColor(inside ? vein : rest, inside ? rest : vein, rest, 0.25f));
    }
}

TEST_F(VeinTest, LargestCopyIsMadeAndNeverOverrun) {
    std::vector<Block> large(8192 / sizeof block + 1, block);
    for (const int size : {8192, 8193, -1}) {
        function.parameter_size = size;
        if (size == 8192)
            EXPECT_NO_THROW(shade(cptn_nemo, large.data()));
        else
            EXPECT_THROW(shade(cptn_nemo, large.data()), scripted::Fatal);
    }
    EXPECT_THAT(host.messages.front().text, testing::HasSubstr("cptn_nemo: 8193 bytes"));
    EXPECT_EQ(large.front().material.transparency, 0);  // the scene's block stays
}

TEST_F(VeinTest, InitPrintsTheParametersOfEachInstance) {
    miBoolean requested = miFALSE;
    cptn_nemo_init(&state, nullptr, &requested);
    EXPECT_TRUE(requested && host.messages.empty());
    cptn_nemo_init(&state, &block, nullptr);
    std::string text;
    for (const auto& message : host.messages) text += message.level + message.text;
    EXPECT_EQ(text,
              "info ---- cptn_nemo ----\ninfo  Scaling    : 1.000000\n"
              "info  Sharpness  : 0.000000\ninfo  Thickness  : 2.500000\n"
              "info  Speed      : 0.000000\ninfo  Glow       : 0.250000\n"
              "info  Complexity : 1\ninfo -------------------\n\n");
}

}  // namespace
