// cptn_nemo and static_cling: where veins lie, what they do to the block or the colour.

#include "extras/vein.h"

#include <limits>

#include "scripted/host.h"

extern "C" {
void cptn_nemo_init(miState*, void*, miBoolean*);
miBoolean cptn_nemo(miColor*, miState*, void*);
miBoolean static_cling(miColor*, miState*, void*);
}

namespace {

using scripted::IsColor;

constexpr miScalar kNan = std::numeric_limits<miScalar>::quiet_NaN();

// Noise of one octave, a vein of 0.25 to either side of its middle and an edge of 0.125.
class VeinTest : public scripted::Renderer {
  protected:
    struct Block {
        soft_material_params material = {};
        vein_params vein = {1, 0, 2.5f, 0, 0.25f, 1};
        miScalar intensity = 1;
    };
    VeinTest() {
        host.noise = [this](const miVector& p) { return asked = p, 0.5f + distance; };
        block.material.diffuse = {0, 1, 0, 1}, block.material.specular = {1, 0, 0, 1};
        host.materials.material = {0.5f, 0.5f, 0.5f, 0.25f};
        function.parameter_size = sizeof block;
    }

    // The transparency that cptn_nemo gives to the material.
    miScalar transparency() {
        miColor result;
        EXPECT_EQ(cptn_nemo(&result, &state, &block), miTRUE);
        EXPECT_THAT(result, IsColor(0.5f, 0.5f, 0.5f, 0.25f));
        return host.materials.calls.back().block.transparency;
    }
    miColor cling() {
        miColor result;
        EXPECT_EQ(static_cling(&result, &state, &block), miTRUE);
        return result;
    }

    Block block;
    miScalar distance = 0;
    miVector asked = {};
};

TEST_F(VeinTest, HasThreeZonesWithASineBetween) {
    const miScalar s = std::sqrt(0.5f), below = 0.25f - 0x1p-24f;
    const struct {
        miScalar distance, glow, opacity;
    } cases[] = {{0, 0.25f, 0},        {below, 0.25f, 0},   {0.25f, 0.25f, 0},
                 {-0.3125f, 0.25f, s}, {0.3125f, 0.25f, s}, {0.375f, 0.25f, 1},
                 {below, 0, 0},        {0.25f, 0, 1},       {-0.5f, 0.25f, 1}};
    for (const auto& c : cases) {
        distance = c.distance, block.vein.glow = c.glow;
        EXPECT_NEAR(transparency(), 1 - c.opacity, 1e-6) << distance;
        const miScalar v = 1 - c.opacity, rest = 0.5f * c.opacity;
        EXPECT_THAT(cling(), distance < 0.25f && distance >= 0
                                 ? IsColor(v + rest, rest, rest, 0.25f)
                                 : IsColor(rest, v + rest, rest, 0.25f));
    }
    distance = 0.3125f, block.vein.sharpness = 0.5f, block.intensity = 0.5f;
    EXPECT_NEAR(transparency(), 1 - s / 2, 1e-6);
    EXPECT_THAT(cling(),
                IsColor(0.5f - (1 - s) / 8, 0.5f + (1 - s) / 8, 0.5f - (1 - s) / 8, 0.25f));
}

TEST_F(VeinTest, PatternIsOfTheObjectAndDriftsForwards) {
    host.object = scripted::translation(1, 0, 0);
    state.point = {1, 2, 3}, camera.frame_time = 4, block.vein.scaling = 2;
    for (const miScalar speed : {0.0f, 0.5f, -0.5f}) {
        block.vein.speed = speed;
        transparency();
        EXPECT_TRUE(asked.x == 4 && asked.y == 4 && asked.z == (speed > 0 ? 8 : 6)) << asked.z;
    }
}

TEST_F(VeinTest, OddSettingsAreAVeinOrNone) {
    distance = 0.25f, block.vein.complexity = std::numeric_limits<int>::max();
    EXPECT_EQ(transparency(), 0);
    block.vein.complexity = 0;
    EXPECT_EQ(transparency(), 1);  // all is vein
    for (const miScalar thickness : {0.0f, -1.0f, kNan}) {
        block.vein.thickness = thickness;
        EXPECT_EQ(transparency(), 0) << thickness;
        EXPECT_THAT(cling(), IsColor(0.5f, 0.5f, 0.5f, 0.25f)) << thickness;
    }
    block.vein = {kNan, kNan, 2.5f, kNan, 0.25f, 1};
    distance = 0.3125f;
    EXPECT_EQ(transparency(), 0);
    EXPECT_THAT(cling(), IsColor(0.5f, 0.5f, 0.5f, 0.25f));
    block.vein.sharpness = 0, block.intensity = 1e38f, block.material.diffuse = {1e10f, kNan, 0, 1};
    EXPECT_THAT(cling(), IsColor(0.5f, 0.5f, -0.5e38f * (1 - std::sqrt(0.5f)), 0.25f, 1e33f));
}

TEST_F(VeinTest, LargestCopyIsMadeAndNeverOverrun) {
    miColor result;
    std::vector<Block> large(8192 / sizeof block + 1, block);
    for (const int size : {8192, 8193, -1}) {
        function.parameter_size = size;
        if (size == 8192)
            EXPECT_EQ(cptn_nemo(&result, &state, large.data()), miTRUE);
        else
            EXPECT_THROW(cptn_nemo(&result, &state, large.data()), scripted::Fatal);
    }
    EXPECT_THAT(host.messages.front().text, testing::HasSubstr("cptn_nemo: 8193 bytes"));
    EXPECT_EQ(large.front().material.transparency, 0);  // the scene's block stays
}

TEST_F(VeinTest, ClingLeavesLightAndShadowRays) {
    for (const int type : {miRAY_LIGHT, miRAY_SHADOW}) {
        state.type = type;
        miColor result = {1, 2, 3, 4};
        EXPECT_EQ(static_cling(&result, &state, &block), miTRUE);
        EXPECT_THAT(result, IsColor(1, 2, 3, 4));
    }
    EXPECT_TRUE(host.materials.calls.empty());
}

TEST_F(VeinTest, InitPrintsTheParametersOfEachInstance) {
    miBoolean requested = miFALSE;
    cptn_nemo_init(&state, nullptr, &requested);
    EXPECT_EQ(requested, miTRUE);
    EXPECT_TRUE(host.messages.empty());
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
