// cptn_nemo, static_cling and dusty as the renderer calls them: with light arrays behind their
// blocks, connected parameters and shadow rays.

#include <gmock/gmock.h>

#include "command.h"

namespace orvane {
namespace {

using testing::FloatNear;

const std::string kBlock =
    R"( ("model" 0, "diffuse" = "tint", "light" ["lamp", "lamp", "lamp", "other"], )";

// The lamp is in the camera; a wall that it lights stands behind one of the given material.
Scene stage(const std::string& shader = "", const std::string& parameters = "") {
    Scene s;
    s.options = "shadow on";
    s.light("lamp", R"("soft_light" ("shadow" on))").light("other");
    s.add("shader \"tint\" " + constant(0.25, 0.5, 1));
    if (!shader.empty())
        s.material("front", shader + kBlock + parameters + ") shadow " + shader + " ()")
            .wall("near", "front", -2);
    return s.material("m", kWhite).wall("far", "m", -4);
}

void expect_same(const Image& a, const Image& b, miScalar share_of_b = 1) {
    for (std::size_t i = 0; i < a.pixels().size(); ++i) {
        EXPECT_THAT(a.pixels()[i].r, FloatNear(share_of_b * b.pixels()[i].r, 1e-6f)) << i;
        EXPECT_THAT(a.pixels()[i].g, FloatNear(share_of_b * b.pixels()[i].g, 1e-6f)) << i;
        EXPECT_GT(a.pixels()[i].r, 0) << i;
    }
}

TEST(NoiseSurfaces, WhollyVeinIsAHoleAndWithoutVeinsItIsSoftMaterial) {
    const std::string none = R"("complexity" 0, "thickness" 0)";
    const auto pictures = render_all(
        {stage(), stage("\"cptn_nemo\"", "\"complexity\" 0"),
         stage("\"soft_material\"", "\"reflectivity\" 0"), stage("\"cptn_nemo\"", none),
         stage("\"static_cling\"", none),
         stage("\"static_cling\"", R"("complexity" 0, "specular" 0 0 0 0, "intensity" .25)")});
    expect_same(pictures[1], pictures[0]);
    expect_same(pictures[3], pictures[2]);
    expect_same(pictures[4], pictures[2]);
    expect_same(pictures[5], pictures[2], 0.75f);
}

// On a slope of cosine 0.6 to the world's +y, seen through a turned instance.
TEST(NoiseSurfaces, DustFollowsTheWorldsUp) {
    Scene s;
    s.material("m", R"("dusty" ("diffuse" 0 0 0 1, "dust_color" .5 1 .25 1))");
    s.add(R"(object "slope" visible group -9 -9 -2 9 -9 -2 9 9 -2 -9 9 -2 v 0 v 1 v 2 v 3
        p "m" 0 1 2 3 end group end object)");
    s.instance("turned", "slope", "transform 1 0 0 0  0 .8 .6 0  0 -.6 .8 0  0 0 0 1");
    const miColor c = render(s).at(1, 1);
    EXPECT_NEAR(c.g, 0.6, 1e-5);
    EXPECT_NEAR(c.r, 0.3, 1e-5);
}

}  // namespace
}  // namespace orvane
