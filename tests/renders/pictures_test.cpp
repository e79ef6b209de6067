// Pictures of a few pixels whose values follow from geometry.

#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>

#include <cmath>

#include "command.h"

namespace orvane {
namespace {

using testing::FloatNear;
using testing::Matcher;

constexpr double kNear = 2e-4;

struct Rgb {
    double r, g, b;
};

Matcher<const miColor&> Is(Rgb c, double error = kNear) {
    const auto near = [error](double x) { return FloatNear(float(x), float(error * (1 + x * x))); };
    return testing::AllOf(testing::Field("r", &miColor::r, near(c.r)),
                          testing::Field("g", &miColor::g, near(c.g)),
                          testing::Field("b", &miColor::b, near(c.b)));
}
Matcher<const miColor&> Is(double grey, double error = kNear) {
    return Is(Rgb{grey, grey, grey}, error);
}

// ---- Shadows ----

struct ShadowCase {
    const char *mode, *light, *occluder, *flags;
    Rgb expected;
};

TEST(Shadows, PassWhatTheOccluderSays) {
    const char* const kShadow = R"("soft_light" ())";
    const char* const kClear = R"("soft_material" ("transparency" .5, "diffuse" 1 .5 0 1,
        "tint_transparency" on) shadow "soft_material" ())";
    const char* const kOpaque = R"("soft_material" ())";
    const char* const kTwice = R"("soft_material" () shadow
        "soft_material" ("transparency" .5) "soft_material" ("transparency" .5))";
    const char* const kNegative = R"("soft_light" ("color" -1 -1 -1))";
    const ShadowCase kCases[] = {
        {"on", kShadow, kClear, "shadow", {0.25, 0.0625, 0}},  // twice: in and out
        {"sort", kShadow, kClear, "shadow", {0.25, 0.0625, 0}},
        {"segments", kShadow, kClear, "shadow", {0.25, 0.0625, 0}},
        {"sort", kShadow, kTwice, "shadow", {0.0625, 0.0625, 0.0625}},
        {"segments", kShadow, kTwice, "shadow", {0.0625, 0.0625, 0.0625}},
        {"on", kNegative, kClear, "shadow", {-0.25, -0.0625, 0}},
        {"segments", kNegative, kClear, "shadow", {-0.25, -0.0625, 0}},
        {"segments", kNegative, kOpaque, "shadow", {0, 0, 0}},
        {"off", kShadow, kClear, "shadow", {1, 1, 1}},
        {"on", kShadow, kClear, "visible trace", {1, 1, 1}},
        {"on", kShadow, kOpaque, "shadow", {0, 0, 0}},
        {"segments", kShadow, kOpaque, "shadow", {0, 0, 0}},
        {"on",
         kShadow,
         R"(opaque "soft_material" ("transparency" 1) shadow "soft_material" ())",
         "shadow",
         {0, 0, 0}},
        {"on", R"("soft_light" ("shadow" off))", kOpaque, "shadow", {1, 1, 1}},
        {"on",
         R"("Orvane_Light" ("shadow" on, "shadow_factor" .25))",
         kOpaque,
         "shadow",
         {0.25, 0.25, 0.25}},
        {"on",
         R"("Orvane_Light" ("shadow" on, "shadow_factor" .25))",
         kClear,
         "shadow",
         {0.25 + 0.75 * 0.25, 0.25 + 0.75 * 0.0625, 0.25}},
    };
    std::vector<Scene> scenes;
    for (const ShadowCase& test : kCases) {
        Scene& s = scenes.emplace_back();
        s.options = std::string("shadow ") + test.mode;
        s.light("lamp", test.light, "direction 0 0 -1").material("m", kWhite).wall("w", "m", -4);
        s.material("o", test.occluder).box("b", "o", {-4, -4, 1}, {4, 4, 2}, test.flags);
    }
    const std::vector<Image> pictures = render_all(scenes);
    for (std::size_t i = 0; i < pictures.size(); ++i)
        EXPECT_THAT(pictures[i].at(1, 1), Is(kCases[i].expected))
            << kCases[i].mode << ' ' << kCases[i].light << kCases[i].occluder;
}

// A large square, however it lies, does not shadow itself: not under light at a grazing angle, nor
// where its triangles meet, nor when shadow shaders are asked.
TEST(Shadows, OfASquareAreNotOnItself) {
    const Xyz u = {36, 48, -80}, v = {-80, 60, 0}, n = {0.48, 0.64, 0.6};
    std::vector<Scene> scenes;
    for (const std::string mode : {"on", "sort", "segments"})
        for (const double tangent : {0.0017, 0.1, 1.7}) {
            Scene& s = scenes.emplace_back();
            s.options = "shadow " + mode;
            s.camera = "aperture 1 resolution 48 48";
            std::ostringstream sun;
            sun << "direction " << -u.x / 100 - tangent * n.x << ' ' << -u.y / 100 - tangent * n.y
                << ' ' << -u.z / 100 - tangent * n.z;
            s.light("lamp", R"("soft_light" ("shadow" on))", sun.str()).material("m", kWhite);
            s.quad("q", "m", {22, -54, -20}, u, v);
            // One that asks shaders, far aside.
            if (mode != "on") {
                s.material("g", R"("soft_material" () shadow "soft_material" ("transparency" 1))");
                s.quad("far", "g", {900, 900, 900}, {1, 0, 0}, {0, 1, 0}, "shadow");
            }
        }
    for (const Image& picture : render_all(scenes))
        for (const miColor& c : picture.pixels()) EXPECT_TRUE(c.a == 0 || c.r > 0);
}

// ---- Camera ----

TEST(Camera, TheCommandLineWinsOverTheScene) {
    Scene s;
    s.camera = "window 1 1 1 1";
    s.material("m", constant(1, 1, 1)).quad("w", "m", {0, -9, -2}, {9, 0, 0}, {0, 18, 0});
    const Image picture = render(s, {"--resolution", "5", "5", "--window", "0", "0", "3", "9",
                                     "--samples", "2", "2", "-j", "1"});
    EXPECT_THAT(picture.at(1, 4), Is(0));
    EXPECT_THAT(picture.at(2, 4), Is(0.5, 0.1));
    EXPECT_THAT(picture.at(3, 4), Is(1));
    EXPECT_THAT(picture.at(4, 4), Is(0));
}

// ---- Files ----

TEST(Files, EachRenderCommandWritesItsPicture) {
    Scene s;
    s.material("m", constant(1, 0, 0)).wall("w", "m", -2);
    const std::string change = R"(
        incremental material "m" "soft_constant" ("color" 0 1 0) end material
        incremental camera "of camera" output "rgb" "png" "second.png" end camera
        render "root" "camera" "options")";
    const Folder folder(std::string(s) + change);
    EXPECT_EQ(folder.render().status, 0);
    EXPECT_THAT(folder.picture().at(1, 1), Is(Rgb{1, 0, 0}));
    EXPECT_THAT(folder.picture("second.png").at(1, 1), Is(Rgb{0, 1, 0}));
    EXPECT_EQ(folder.render({"-o", "new/x.exr"}).status, 0);
    EXPECT_THAT(folder.picture("new/x.exr").at(0, 0), Is(Rgb{1, 0, 0}));
    EXPECT_THAT(folder.picture("new/x.2.exr").at(0, 0), Is(Rgb{0, 1, 0}));
    EXPECT_EQ(folder.render({"-o", "f.###.exr"}).status, 0);
    EXPECT_THAT(folder.files(), testing::ElementsAre("f.000.exr", "new", "out.exr", "second.png"));
}

TEST(Files, ExtensionsTellTheFormat) {
    Scene s;
    s.options = "dither off";
    s.camera = "resolution 16 16";
    const Folder folder(s.material("m", constant(0.25, 0.5, 1)).wall("w", "m", -2));
    const std::pair<const char*, double> kFormats[] = {
        {"a.png", 0.002}, {"a.tif", 0.002}, {"a.jpg", 0.02}, {"a.exr", 0}, {"a.hdr", 0.01}};
    for (const auto& [name, error] : kFormats) {
        EXPECT_EQ(folder.render({"-o", name}).status, 0);
        EXPECT_THAT(folder.picture(name).at(8, 8), Is(Rgb{0.25, 0.5, 1}, error)) << name;
    }
}

TEST(Files, TellWhereTheyComeFrom) {
    const Folder folder{Scene()};
    EXPECT_EQ(folder.render({"--resolution", "1", "1"}).status, 0);
    const auto file = OIIO::ImageInput::open(folder.path("out.exr").string());
    ASSERT_TRUE(file);
    EXPECT_EQ(file->spec().get_string_attribute("orvane:scene"), "scene.mi");
    EXPECT_EQ(file->spec().get_string_attribute("orvane:camera"), "camera");
    EXPECT_EQ(file->spec().format, OIIO::TypeDesc::FLOAT);
}

TEST(Files, BuffersAreWrittenByType) {
    Scene s;
    s.camera = R"(output "z" "exr" "z.exr" output "n" "exr" "n.exr" output "tag" "exr" "tag.exr"
        output "m" "exr" "m.exr" output "a" "exr" "a.exr")";
    s.options = "shutter 1";
    s.material("m", constant(1, 1, 1));
    s.quad("w", "m", {0, -9, -2}, {9, 0, 0}, {0, 18, 0}, "visible");
    s.instance("i", "of w", "tag 70000 motion transform 1 0 0 0 0 1 0 0 0 0 1 0 0 -1 0 1");
    s.root = "\"i\"";
    const Folder folder(s);
    EXPECT_EQ(folder.render({"-j", "2"}).status, 0);
    const auto pair = [&](const char* name) {
        const Image picture = folder.picture(name);
        return std::array{picture.at(0, 1), picture.at(2, 2)};
    };
    EXPECT_THAT(pair("z.exr"), testing::ElementsAre(Is(0), Is(2)));
    EXPECT_THAT(pair("tag.exr"), testing::ElementsAre(Is(0), Is(70000)));
    EXPECT_THAT(pair("n.exr"), testing::ElementsAre(Is(0), Is(Rgb{0, 0, 1})));
    // The surface moves up by 1 at a distance where 4 units are 3 pixels.
    EXPECT_THAT(pair("m.exr"), testing::ElementsAre(Is(0), Is(Rgb{0, 0.75, 0})));
    EXPECT_THAT(pair("a.exr"), testing::ElementsAre(Is(0), Is(1)));
}

TEST(Files, SamplesAndFiltersKeepAConstant) {
    std::vector<Scene> scenes;
    for (const std::string samples : {"-2 0", "0 0", "1 2"})
        for (const std::string filter :
             {"box", "box 3", "triangle", "gauss 3", "mitchell", "clip lanczos"}) {
            Scene& s = scenes.emplace_back();
            s.options = "samples " + samples + " filter " + filter + " jitter 1";
            s.camera = "resolution 9 7 environment " + constant(0.25, 1, 4);
        }
    const std::vector<Image> pictures = render_all(scenes);
    for (std::size_t i = 0; i < pictures.size(); ++i)
        for (const miColor& c : pictures[i].pixels())
            ASSERT_THAT(c, Is(Rgb{0.25, 1, 4}, 1e-5)) << scenes[i].options;
}

}  // namespace
}  // namespace orvane
