// The illumination-model materials in pictures: as surfaces, as shadow shaders and in mirrors.

#include <gtest/gtest.h>

#include <cmath>

#include "command.h"

namespace orvane {
namespace {

bool near(const miColor& a, const miColor& b) {
    return std::abs(a.r - b.r) + std::abs(a.g - b.g) + std::abs(a.b - b.b) + std::abs(a.a - b.a) <
           1e-5f;
}

std::string call(const std::string& shader, const std::string& parameters) {
    return '"' + shader + "\" (" + parameters + ") ";
}

// From left to right: a card of the material, the shadow of that card on a wall, and a wall of the
// material behind the camera, seen in a mirror.
Scene card(const std::string& mode, const std::string& material) {
    Scene s;
    s.options = "shadow " + mode;
    s.light("lamp", "\"soft_light\" ()", "origin -4 0 0").material("white", kWhite);
    s.material("mirror", R"("soft_material" ("diffuse" 0 0 0 1, "reflectivity" 1))");
    s.material("m", material).quad("card", "m", {-10, -10, -2}, {9.5, 0, 0}, {0, 20, 0});
    s.wall("w", "white", -4).quad("glass", "mirror", {1, -10, -3}, {9, 0, 0}, {0, 20, 0});
    return s.wall("behind", "m", 3);
}

// Each at settings at which it is soft_material.
TEST(Materials, AreLikeTheOutsideMaterial) {
    const std::string dull =
        R"("diffuse" .9 .6 .3 1, "ambient" .1 0 .2 1, "light" ["lamp"], "tint_transparency" on,
           "transparency" .5, "reflectivity" .5, )";
    const std::string shiny = dull + R"("specular" .5 .5 .5, "exponent" 3, )";
    const std::string strauss = R"("diffuse_light" ["lamp"], "reflectivity" .5, )";
    const struct {
        std::string shader, soft, own, shadow;
    } kCases[] = {
        {"zel_strauss", R"("diffuse" .9 .6 .3 1, )" + strauss,
         R"("color" .9 .6 .3 1, "smoothness" 0, )" + strauss,
         R"("color" .9 .6 .3 1, "transparency" .5, "tint_transparency" on)"},
        {"zel_trispec", dull, dull, dull},
        {"zel_frosty", dull,
         dull + R"("reflect_spread" 0, "refract_spread" 0, "reflect_samples" 2, "refract_tint" 1,
                   "refract_samples" 2, "edge_opacity" 0, "specular_opacity" 0)",
         dull},
        {"zel_peekaboo", shiny, shiny, dull},
        {"zel_xmasball", shiny, shiny + R"("tint" 0)", dull},
        {"zel_velvet", shiny, shiny + R"("strength" 0)", dull + R"("strength" 0)"},
        {"translucent_material", shiny, shiny + R"("translucency" 0)", dull},
    };
    std::vector<Scene> scenes;
    for (const auto& c : kCases)
        for (const std::string mode : {"on", "sort", "segments"}) {
            const std::string plain = call("soft_material", c.soft);
            scenes.push_back(card(mode, plain + "shadow " + call("soft_material", dull)));
            scenes.push_back(
                card(mode, call(c.shader, c.own) + "shadow " + call(c.shader, c.shadow)));
        }
    const std::vector<Image> pictures = render_all(scenes);
    for (std::size_t i = 0; i < pictures.size(); i += 2)
        for (int x = 0; x < 3; ++x) {
            const miColor &soft = pictures[i].at(x, 1), &ours = pictures[i + 1].at(x, 1);
            EXPECT_GT(soft.r, soft.b + 0.01f);
            EXPECT_TRUE(near(ours, soft))
                << kCases[i / 6].shader << ", " << scenes[i].options << " at " << x;
        }
}

// Their shaders lower the level of refraction: no number of panes is too many for trace depth.
TEST(Materials, ManyPanesStayClear) {
    const std::string shaders[] = {
        call("zel_strauss", R"("color" 1 1 1, "transparency" 1)"),
        call("zel_frosty", R"("diffuse" 1 1 1, "transparency" 1, "edge_opacity" 0,
                               "refract_spread" 0, "refract_samples" 3)")};
    std::vector<Scene> scenes;
    for (const std::string& shader : shaders)
        for (const int panes : {2, 40}) {
            Scene s;
            s.options = "trace depth 1 1 1";
            s.material("m", shader).material("grey", constant(0.75, 1, 1)).wall("w", "grey", -99);
            for (int k = 0; k < panes; ++k) s.wall("p" + std::to_string(k), "m", -2 - k);
            scenes.push_back(s);
        }
    for (const Image& picture : render_all(scenes)) EXPECT_EQ(picture.at(1, 1).r, 0.75f);
}

// Within a box of brushed metal, and of frosted glass, all paths see the same color: the sum has to
// come to an end, and without a step where rays are saved.
TEST(Materials, ClosedRoomsEndAndKeepTheirLight) {
    const std::string common = R"("model" 0, "diffuse" .5 .5 .5 1, "edge_opacity" 0,
        "reflect_spread" .2, "reflect_samples" 4, "refract_spread" .2, "refract_samples" 4, "refract_tint" 0, )";
    std::vector<Scene> scenes;
    for (const std::string own : {"\"reflectivity\" .5", "\"transparency\" .5",
                                  "\"reflectivity\" .25, \"transparency\" .5"})
        scenes.emplace_back().material("m", call("zel_frosty", common + own));
    for (Scene& s : scenes) {
        s.options = "trace depth 1000 1000 2000";
        s.box("inner", "m", {-1, -1, -1}, {1, 1, 1}).box("b", "m", {-9, -9, -9}, {9, 9, 9});
        s.material("grey", constant(0.5, 0.5, 0.5)).box("c", "grey", {-99, -99, -99}, {99, 99, 99});
    }
    for (const Image& picture : render_all(scenes))
        for (const miColor& c : picture.pixels()) EXPECT_NEAR(c.r, 0.5f, 2e-3f);
}

}  // namespace
}  // namespace orvane
