// Which files a render writes, in which format, from which buffer and part of the picture.

#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>

#include <cmath>

#include "command.h"

namespace orvane {
namespace {

using testing::FloatNear;
using testing::Matcher;

Matcher<const miColor&> Is(double r, double g, double b, double error = 2e-4) {
    const auto near = [error](double x) { return FloatNear(float(x), float(error * (1 + x * x))); };
    return testing::AllOf(testing::Field("r", &miColor::r, near(r)),
                          testing::Field("g", &miColor::g, near(g)),
                          testing::Field("b", &miColor::b, near(b)));
}

TEST(Files, TheCommandLineWinsOverTheScene) {
    Scene s;
    s.camera = "window 1 1 1 1";
    s.material("m", constant(1, 1, 1)).quad("w", "m", {0, -9, -2}, {9, 0, 0}, {0, 18, 0});
    const Image picture = render(s, {"--resolution", "5", "5", "--window", "0", "0", "3", "9",
                                     "--samples", "2", "2", "-j", "1"});
    EXPECT_THAT(picture.at(1, 4), Is(0, 0, 0));
    EXPECT_THAT(picture.at(2, 4), Is(0.5, 0.5, 0.5, 0.1));
    EXPECT_THAT(picture.at(3, 4), Is(1, 1, 1));
    EXPECT_THAT(picture.at(4, 4), Is(0, 0, 0));
}

TEST(Files, EachRenderCommandWritesItsPicture) {
    Scene s;
    s.material("m", constant(1, 0, 0)).wall("w", "m", -2);
    const std::string change = R"(
        incremental material "m" "soft_constant" ("color" 0 1 0) end material
        incremental camera "of camera" output "rgb" "png" "second.png" end camera
        render "root" "camera" "options")";
    const Folder folder(std::string(s) + change);
    EXPECT_EQ(folder.render().status, 0);
    EXPECT_THAT(folder.picture().at(1, 1), Is(1, 0, 0));
    EXPECT_THAT(folder.picture("second.png").at(1, 1), Is(0, 1, 0));
    EXPECT_EQ(folder.render({"-o", "new/x.exr"}).status, 0);
    EXPECT_THAT(folder.picture("new/x.exr").at(0, 0), Is(1, 0, 0));
    EXPECT_THAT(folder.picture("new/x.2.exr").at(0, 0), Is(0, 1, 0));
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
        EXPECT_THAT(folder.picture(name).at(8, 8), Is(0.25, 0.5, 1, error)) << name;
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
    EXPECT_THAT(pair("z.exr"), testing::ElementsAre(Is(0, 0, 0), Is(2, 2, 2)));
    EXPECT_THAT(pair("tag.exr"), testing::ElementsAre(Is(0, 0, 0), Is(70000, 70000, 70000)));
    EXPECT_THAT(pair("n.exr"), testing::ElementsAre(Is(0, 0, 0), Is(0, 0, 1)));
    // The surface moves up by 1 at a distance where 4 units are 3 pixels.
    EXPECT_THAT(pair("m.exr"), testing::ElementsAre(Is(0, 0, 0), Is(0, 0.75, 0)));
    EXPECT_THAT(pair("a.exr"), testing::ElementsAre(Is(0, 0, 0), Is(1, 1, 1)));
}

}  // namespace
}  // namespace orvane
