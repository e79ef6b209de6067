// Pictures of a few pixels whose values follow from geometry.

#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

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

// Where the centre of a pixel lies on the view plane, -1..1.
double on_plane(int pixel, int resolution) { return (2 * pixel + 1.0) / resolution - 1; }

std::string see(int what) { return "\"probe_see\" (\"what\" " + std::to_string(what) + ")"; }

// ---- Lights ----

TEST(Lights, PointLightFallsOffWithDistanceAndCosine) {
    Scene plain;
    plain.light("lamp", R"("soft_light" ("intensity" 4, "falloff" 2))");
    Scene linear;
    linear.light("lamp", R"("Orvane_Light" ("attenuation" on, "atten_start" 1, "atten_end" 5))");
    const Image squares = render(plain.material("m", kWhite).wall("w", "m", -2));
    const Image fading = render(linear.material("m", kWhite).wall("w", "m", -2));
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x) {
            const double distance = 2 * std::hypot(on_plane(x, 3), on_plane(y, 3), 1);
            EXPECT_THAT(squares.at(x, y), Is(4 * 2 / distance / distance / distance));
            EXPECT_THAT(fading.at(x, y), Is((5 - distance) / 4 * 2 / distance));
        }
}

TEST(Lights, DirectionalLightIsTheSameEverywhere) {
    Scene s;
    s.light("lamp", "\"soft_light\" (\"falloff\" 2)", "direction 3 0 -3").material("m", kWhite);
    s.wall("w", "m", -2).quad("block", "m", {-9, 0, -1}, {18, 0, 0}, {0, 9, 0}, "shadow");
    const Image picture = render(s);
    EXPECT_THAT(picture.at(0, 0), Is(std::sqrt(0.5)));
    EXPECT_THAT(picture.at(2, 0), Is(std::sqrt(0.5)));
    EXPECT_THAT(picture.at(1, 2), Is(0));
}

// A cone whose radius is 0.8 at the wall, which is 2 wide in the view.
TEST(Lights, SpotLightsACircle) {
    const std::string cone =
        "origin 0 0 0 direction 0 0 -1 spread " + std::to_string(std::cos(std::atan(0.8)));
    for (const std::string shader :
         {"\"soft_light\" ()", "\"Orvane_Light\" (\"falloff\" 0, \"slide_scale\" 0)"}) {
        Scene s;
        s.light("lamp", shader, cone).material("m", kWhite).wall("w", "m", -1);
        const Image picture = render(s, {"--resolution", "100", "100"});
        int lit = 0;
        for (const miColor& c : picture.pixels()) lit += c.r > 0;
        EXPECT_NEAR(lit / 1e4, std::numbers::pi * 0.64 / 4, 0.005) << shader;
        EXPECT_GT(picture.at(50, 11).r, 0);
        EXPECT_EQ(picture.at(50, 8).r, 0);
    }
}

TEST(Lights, SlideFillsTheConesSquare) {
    Scene s;
    s.add("color texture \"slide\" [2 2] 'ff0000' '00ff00' '0000ff' 'ffffff'");
    s.light("lamp", R"("Orvane_Light" ("slide" "slide", "falloff" 0))",
            "origin 0 0 0 direction 0 0 -1 spread " + std::to_string(std::cos(std::atan(0.8))));
    const Image picture =
        render(s.material("m", kWhite).wall("w", "m", -1), {"--resolution", "5", "5"});
    // The middles of the slide's four texels lie 0.4 from the axis.
    const double cosine = 1 / std::hypot(0.4, 0.4, 1);
    EXPECT_THAT(picture.at(2, 2), Is(Rgb{0.5, 0.5, 0.5}));
    EXPECT_THAT(picture.at(1, 1), Is(Rgb{cosine, 0, 0}, 1e-3));
    EXPECT_THAT(picture.at(3, 1), Is(Rgb{0, cosine, 0}, 1e-3));
    EXPECT_THAT(picture.at(1, 3), Is(Rgb{0, 0, cosine}, 1e-3));
    EXPECT_THAT(picture.at(3, 3), Is(cosine, 1e-3));
}

TEST(Lights, ConnectedColorIsEvaluated) {
    Scene s;
    s.add("shader \"tint\" " + constant(0.25, 0.5, 1)).light("lamp", R"("Orvane_Light" (
        "color" = "tint"))");
    s.material("m", R"("soft_material" ("model" 0, "light" ["lamp"], "diffuse" = "tint"))");
    EXPECT_THAT(render(s.wall("w", "m", -2)).at(1, 1), Is(Rgb{0.0625, 0.25, 1}));
}

// An edge of a square light's shadow half-way to the wall is as wide as the light.
TEST(Lights, PenumbraOfAnAreaLightIsSymmetric) {
    const auto row = [](const std::string& occluder) {
        Scene s;
        s.camera = "aperture .5 aspect 16 resolution 16 1";
        s.light("lamp", "\"soft_light\" ()", "origin 0 0 0 rectangle 1 0 0 0 1 0 16 16");
        s.material("m", kWhite).wall("w", "m", -4);
        return render(s.quad("q", "m", {-9, -9, -2}, {9, 0, 0}, {0, 18, 0}, occluder));
    };
    const Image shaded = row("shadow"), open = row("");
    double sum = 0;
    for (int x = 0; x < 16; ++x) {
        const double share = shaded.at(x, 0).r / open.at(x, 0).r;
        EXPECT_NEAR(share, std::clamp(on_plane(x, 16) + 0.5, 0.0, 1.0), 0.04) << x;
        sum += share;
    }
    EXPECT_NEAR(sum / 16, 0.5, 0.005);
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

// ---- Surfaces ----

// A mirror across the view at 45 degrees shows what stands at the right.
TEST(Surfaces, MirrorShowsWhatIsReflected) {
    Scene s;
    s.camera = "aperture .2 resolution 2 2";
    s.material("mirror", "\"soft_material\" (\"diffuse\" 0 0 0 1, \"reflectivity\" 1)");
    s.material("red", constant(1, 0, 0)).material("green", constant(0, 1, 0));
    s.quad("m", "mirror", {-1, -1, -1}, {2, 0, -2}, {0, 2, 0});
    s.quad("up", "red", {5, 0, -8}, {0, 0, 12}, {0, 9, 0});
    s.quad("down", "green", {5, -9, -8}, {0, 0, 12}, {0, 9, 0});
    const Image picture = render(s);
    EXPECT_THAT(picture.at(0, 1), Is(Rgb{1, 0, 0}));
    EXPECT_THAT(picture.at(1, 0), Is(Rgb{0, 1, 0}));
}

// A slab of thickness d shifts a ray at the angle a sideways by d sin(a - b) / cos(b).
TEST(Surfaces, SlabShiftsSideways) {
    Scene s;
    s.material("glass", R"("soft_material" ("transparency" 1, "ior" 1.5))");
    s.material("ruler", see(1)).wall("w", "ruler", -4);
    s.box("slab", "glass", {-10, -10, -3}, {10, 10, -2});
    const Image picture = render(s);
    const double a = std::atan(2.0 / 3), b = std::asin(std::sin(a) / 1.5);
    const double x = 4 * std::tan(a) - std::sin(a - b) / std::cos(b) / std::cos(a);
    EXPECT_THAT(picture.at(0, 1), Is(Rgb{-x, 0, -4}));
    EXPECT_THAT(picture.at(1, 1), Is(Rgb{0, 0, -4}));
    EXPECT_THAT(picture.at(1, 2), Is(Rgb{0, x, -4}));
}

TEST(Surfaces, TaggedObjectsTakeMaterialsFromTheInstance) {
    Scene s;
    s.material("red", constant(1, 0, 0)).material("green", constant(0, 1, 0));
    s.add(R"(object "o" visible tagged on group -3 -3 -2 3 -3 -2 3 3 -2 -3 3 -2 0 -3 -2 0 3 -2
        v 0 v 1 v 2 v 3 v 4 v 5 p 0 0 4 5 3 p 1 4 1 2 5 end group end object)");
    const Image picture =
        render(s.instance("i", "o", "material [\"red\" \"green\"]"), {"--resolution", "2", "1"});
    EXPECT_THAT(picture.at(0, 0), Is(Rgb{1, 0, 0}));
    EXPECT_THAT(picture.at(1, 0), Is(Rgb{0, 1, 0}));
}

// A card before a mirror: who sees it (blue), who sees behind it (the mirror and, in it, red).
TEST(Surfaces, FlagsSayWhichRaysSeeAnObject) {
    const struct {
        const char *flags, *instance;
        Rgb expected;
    } kCases[] = {
        {"visible trace shadow", "", {0, 0, 1}}, {"trace shadow", "", {0, 0, 1}},
        {"visible", "visible off", {1, 0, 0}},   {"visible trace", "trace off", {0, 0, 1}},
        {"", "visible on", {0, 0, 1}},           {"", "", {1, 0, 0}},
        {"visible trace", "hide on", {1, 0, 0}}};
    std::vector<Scene> scenes;
    for (const auto& test : kCases) {
        Scene& s = scenes.emplace_back();
        s.material("mirror", "\"soft_material\" (\"diffuse\" 0 0 0 1, \"reflectivity\" 1)");
        s.material("red", constant(1, 0, 0)).material("blue", constant(0, 0, 1));
        s.wall("m", "mirror", -4).wall("r", "red", 3);
        s.quad("card", "blue", {-2, -2, -2}, {4, 0, 0}, {0, 4, 0}, test.flags);
        s.instance("again", "of card", test.instance).root = R"("m" "r" "again")";
    }
    const std::vector<Image> pictures = render_all(scenes);
    for (std::size_t i = 0; i < pictures.size(); ++i)
        EXPECT_THAT(pictures[i].at(1, 1), Is(kCases[i].expected))
            << kCases[i].flags << kCases[i].instance;
}

TEST(Surfaces, FacesThatAreNotAskedForAreNotThere) {
    std::vector<Scene> scenes;
    for (const std::string face : {"front", "back", "both"}) {
        Scene& s = scenes.emplace_back();
        s.material("m", constant(1, 1, 1)).wall("w", "m", -2, "visible face " + face);
        // Mirrored by its instance, which shows its back, and by way of the options.
        Scene& turned = scenes.emplace_back();
        turned.options = "face " + face;
        turned.material("m", constant(1, 1, 1)).wall("w", "m", 2, "visible");
        turned.instance("i", "of w", "transform 1 0 0 0 0 1 0 0 0 0 -1 0 0 0 0 1").root = "\"i\"";
    }
    // Two instances of one object: the right one is turned by half a turn.
    Scene& twice = scenes.emplace_back();
    twice.material("m", constant(1, 1, 1)).wall("w", "m", -2, "visible face front");
    twice.add("instance \"l\" \"of w\" transform 1 0 0 0 0 1 0 0 0 0 1 0 10.2 0 0 1 end instance");
    twice.instance("r", "of w", "transform -1 0 0 0 0 1 0 0 0 0 -1 0 10.2 0 -4 1").root =
        "\"l\" \"r\"";
    const std::vector<Image> pictures = render_all(scenes);
    for (std::size_t i = 0; i < pictures.size() - 1; ++i)
        EXPECT_THAT(pictures[i].at(1, 1), Is(i != 2 && i != 1)) << i;
    EXPECT_THAT(pictures.back().at(0, 1), Is(1));
    EXPECT_THAT(pictures.back().at(2, 1), Is(0));
}

// ---- Camera ----

TEST(Camera, RaysGoThroughThePixels) {
    const struct {
        const char* camera;
        int x, y;
        Rgb expected;  // on the wall
    } kCases[] = {
        {"", 2, 0, {2.0 * 2 / 3, -2.0 * 2 / 3, -2}},
        {"focal 2", 2, 0, {2.0 / 3, -2.0 / 3, -2}},
        {"focal infinity aperture 6", 2, 0, {2, -2, -2}},
        {"aspect 2 resolution 4 1", 0, 0, {-1.5, 0, -2}},
        {"aspect 2 resolution 4 2", 3, 1, {1.5, 0.5, -2}},
        {"offset 1 -1.5", 1, 1, {2.0 * 2 / 3, -2, -2}},
        {"window 1 1 2 2", 1, 1, {0, 0, -2}},
        {"window 1 1 2 2", 0, 1, {0, 0, 0}},
    };
    std::vector<Scene> scenes;
    for (const auto& test : kCases) {
        scenes.emplace_back().camera = test.camera;
        scenes.back().material("m", see(1)).wall("w", "m", -2);
    }
    const std::vector<Image> pictures = render_all(scenes);
    for (std::size_t i = 0; i < pictures.size(); ++i)
        EXPECT_THAT(pictures[i].at(kCases[i].x, kCases[i].y), Is(kCases[i].expected))
            << kCases[i].camera;
}

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

// The planes stand across the view: a corner is not clipped before the centre.
TEST(Camera, ClippingPlanesAreFlat) {
    Scene s;
    s.camera = "clip 2.1 4.1";
    s.material("ruler", see(1));
    const Image picture = render(s.wall("a", "ruler", -2).wall("b", "ruler", -4));
    EXPECT_EQ(picture.at(1, 1).b, -4);
    EXPECT_EQ(picture.at(0, 0).b, -4);
    EXPECT_EQ(picture.at(2, 2).b, -4);
}

// From the world to a group that is twice as large and higher by 1, to an instance turned by
// 90 degrees about z, and moved.
TEST(Camera, MatricesOfGroupsMultiply) {
    Scene s;
    s.material("own", see(0)).material("world", see(1));
    s.wall("w", "own", 0).add(R"(
        instance "turned" "of w" transform 0 -1 0 0  1 0 0 0  0 0 1 0  0.5 0 2 1 end instance
        instgroup "inner" "turned" end instgroup
        instance "large" "inner" transform .5 0 0 0  0 .5 0 0  0 0 .5 0  0 -.5 0 1 end instance
        instgroup "outer" "large" end instgroup)");
    s.instance("all", "outer").root = "\"all\"";
    // The wall's z of 0 is at -2 in the inner group, at -4 in the world, where pixel (2, 1) sees
    // (8/3, 0, -4): that is (4/3, -1/2, -2) in the inner group, then turned and moved.
    EXPECT_THAT(render(s).at(2, 1), Is(Rgb{-0.5 + 0.5, -4.0 / 3, 0}));
}

// A picture around the scene: its middle lies ahead, its top row above.
TEST(Camera, EnvironmentLiesAround) {
    const std::string below(48, '8'), above(48, 'f');
    const std::string side =
        "ff0000ff0000"
        "0000ff0000ff0000ff0000ff"
        "ffff00ffff00";
    Scene s;
    s.camera = R"(aperture 3000 environment "soft_environment" ("texture" "sky"))";
    s.add("color texture \"sky\" [8 4] '" + below + side + side + above + "'");
    const Image picture = render(s);
    EXPECT_THAT(picture.at(1, 1), Is(Rgb{0, 0, 1}, 1e-2));
    EXPECT_THAT(picture.at(0, 1), Is(Rgb{0.5, 0, 0.5}, 1e-2));
    EXPECT_THAT(picture.at(2, 1), Is(Rgb{0.5, 0.5, 0.5}, 1e-2));
    EXPECT_THAT(picture.at(1, 2), Is(1, 1e-2));
    EXPECT_THAT(picture.at(1, 0), Is(0x88 / 255.0, 1e-2));
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
