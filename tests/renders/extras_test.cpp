// The flame, the projector, the panorama, backgrounds and the dense medium in whole pictures.

#include <gmock/gmock.h>

#include "command.h"

namespace orvane {
namespace {

void expect_pixel(const Image& picture, int x, int y, float r, float g, float b, float a) {
    const miColor c = picture.at(x, y);
    const float differences[] = {c.r - r, c.g - g, c.b - b, c.a - a};
    EXPECT_THAT(differences, testing::Each(testing::FloatNear(0, 1e-5f))) << x << ' ' << y;
}

// A connected parameter makes the projector work on a copy of its block.
TEST(Extras, ProjectorsLeaveWhatTheyDoNotReachToTheirCaller) {
    Scene map;
    map.add("color texture \"red\" [1 1] 'ff0000' shader \"none\" " + constant(0, 0, 0))
        .add(R"(shader "p" "cam_proj_tex" ("texture" "red", "fov" 40, "roll" = "none",
            "from" 0 0 0, "to" 0 0 -5))");
    Scene slide = map;
    map.material("m", R"("soft_material" ("ambient" 1 1 1, "diffuse_map" "p"))").wall("w", "m", -2);
    slide.light("lamp", R"("Orvane_Light" ("slide" "p"))").material("m", kWhite).wall("w", "m", -2);
    const auto pictures = render_all({map, slide});
    expect_pixel(pictures[0], 1, 1, 1, 0, 0, 1);
    expect_pixel(pictures[0], 2, 1, 1, 1, 1, 1);
    expect_pixel(pictures[1], 1, 1, 1, 0, 0, 1);
    expect_pixel(pictures[1], 2, 1, 0, 0, 0, 1);
}

TEST(Extras, PanoramasLookBackThroughTheMediumBeforeABackground) {
    Scene s;
    s.material("m", constant(1, 1, 1)).wall("behind", "m", 2);
    s.camera = R"(resolution 4 1 lens "Cylindric" ("fov" 360)
        volume "zel_dense_vol" ("density" .0625, "color" 0 1 .5, "exponent" 2)
        output "zel_bg_color" ("color" 0 0 .5 1) output "rgba_fp" "exr" "over.exr")";
    // The columns look 135 degrees to the left, 45, 45 to the right, 135.
    const Folder folder(s);
    EXPECT_EQ(folder.render().status, 0);
    for (const int x : {0, 3}) expect_pixel(folder.picture("over.exr"), x, 0, 0.5f, 1, 0.75f, 1);
    for (const int x : {1, 2}) expect_pixel(folder.picture("over.exr"), x, 0, 0, 0, 0.5f, 1);
    for (const int x : {1, 2}) expect_pixel(folder.picture(), x, 0, 0, 0, 0, 0);
}

TEST(Extras, BackgroundPicturesEndAtTheFramesEdges) {
    Scene s;
    s.add("color texture \"halves\" [2 1] 'ff00000000ff'");
    s.camera = R"(output "zel_bg_pic" ("texture" "halves") output "rgba_fp" "exr" "over.exr")";
    const Folder folder(s);
    EXPECT_EQ(folder.render().status, 0);
    for (const int y : {0, 1, 2}) {
        expect_pixel(folder.picture("over.exr"), 0, y, 1, 0, 0, 0);
        expect_pixel(folder.picture("over.exr"), 1, y, .5f, 0, .5f, 0);
        expect_pixel(folder.picture("over.exr"), 2, y, 0, 0, 1, 0);
    }
}

// With an intensity of 0 the flame is as if it were not there, to light as well.
TEST(Extras, FlamesLetLightAndSightPass) {
    Scene s;
    s.light("lamp").material("m", kWhite).wall("w", "m", -2);
    s.material("flame", R"("Hot_Stuff" ("intensity" 0) shadow "Hot_Stuff" ())");
    Scene with = s;
    const auto pictures = render_all({s, with.wall("sheet", "flame", -1)});
    for (int y = 0; y < 3; ++y) {
        const miColor c = pictures[0].at(1, y);
        expect_pixel(pictures[1], 1, y, c.r, c.g, c.b, 1);
        EXPECT_GT(c.r, 0.5f);
    }
}

}  // namespace
}  // namespace orvane
