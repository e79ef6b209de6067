// Each statement of the elements without geometry, and incremental changes.
#include <gmock/gmock.h>

#include "scene_text.h"

namespace orvane::scene {
namespace {

using testing::ElementsAre;
using testing::Pair;

// What changes the pictures of a frame alone stands in scenes.
TEST(OptionsElement, ReadsWhatIsHonoured) {
    const Options o = options_of(R"(
        samples -1 3 0 1  contrast .1 .2 .3  filter clip lanczos 4 5  samplelock off  task size 16
        gamma 0.4545  colorclip alpha  desaturate on  premultiply off  dither off
        shutter 0.5  shutter delay 0.25  frame buffer 0 "+z"  frame buffer 3  object space
        scanline rapid  motion off  shadowmap off)");
    EXPECT_FALSE(o.samplelock || o.premultiply || o.dither || o.motion || o.shadow_maps);
    EXPECT_TRUE(o.scanline && o.desaturate && o.filter_clip &&
                o.colorclip == Options::ColorClip::Alpha);
    EXPECT_THAT((std::array{o.samples_min, o.samples_max, o.task_size}), ElementsAre(-1, 3, 16));
    EXPECT_THAT((std::array{o.contrast.a, *o.filter_height, o.gamma, o.shutter_delay}),
                ElementsAre(0.1f, 5, 0.4545f, 0.25f));
    EXPECT_THAT(o.frame_buffers, ElementsAre(Pair(0, "+z"), Pair(3, "")));
    EXPECT_EQ(options_of("samples -2").samples_min, -2) << "a single number is the maximum";
    EXPECT_EQ(options_of("samples 3").samples_min, 0);
}

TEST(OptionsElement, IgnoredStatementsDoNotReachTheirNeighbours) {
    const Options o = options_of(R"(
        finalgather trace depth 1 1 0  caustic filter box 1.1  shadowmap motion on  bsp shadow on
        photon trace depth 9 9 9  acceleration large bsp  bsp depth 40  max displace 1
        approximate fine view length 1 all  displace presample off  samples motion 4
        "any option" on  "other" 1 2 3  "text" "trace"  finalgather file [ "a", "b" ]
        time contrast 1 1 1 1  contour store = "s"  diagnostic samples off  brandnew 7 "x" [ 1, 2 ] ( filter )
        shadow sort  jitter 2)");
    EXPECT_THAT(o.trace_depth, ElementsAre(1, 1, 1));
    EXPECT_TRUE(o.filter == Filter::Box && o.shadow == Shadow::Sort && o.motion && o.trace);
    EXPECT_TRUE(o.jitter == 1 && o.samples_max == 2);
}

TEST(CameraElement, ReadsOutputInEachForm) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        // What stands in the text; type, format, file, shader.
        {R"(output "rgba" "tif" "o.tif")", {"rgba", "tif", "o.tif", ""}},
        {R"(output "rgba" "jpg" quality 90 even compress "c" "o")", {"rgba", "jpg", "o", ""}},
        {R"(output "jpg" "o.jpg")", {"", "jpg", "o.jpg", ""}},
        {R"(output "rgb" "o.sgi")", {"", "rgb", "o.sgi", ""}},  // a format as well as a type
        {R"(output "rgb" "o.png")", {"rgb", "", "o.png", ""}},
        {R"(output "+rgba,+z" = "named")", {"+rgba,+z", "", "", "named"}},
        {R"(output "direct" ( ))", {"", "", "", "direct"}},
        {R"(framebuffer "f" datatype "rgb_h" filetype "exr" filename "o" primary on user off)",
         {"rgb_h", "exr", "o", ""}},
    };
    for (const auto& [text, expected] : cases) {
        const Camera camera = camera_of(text + " focal 3");
        EXPECT_EQ(camera.focal, 3) << text;
        ASSERT_EQ(camera.outputs.size(), 1u) << text;
        const Output& o = camera.outputs[0];
        const std::string shader = o.shader.empty() ? "" : o.shader[0].shader;
        EXPECT_EQ((std::vector{o.type, o.format, o.file, shader}), expected);
        EXPECT_EQ(o.quality == 90, text.find("90") != text.npos);
    }
    EXPECT_TRUE(camera_of("framebuffer \"f\" filename \"x\" focal 2").outputs.empty());
}

TEST(CameraElement, ListsGrowInABlockAndBeginAnewInTheNext) {
    const Camera c = *parse(R"(camera "c" lens "a" ( ) lens "b" ( ) volume = "v" output "a.png"
        environment "e" ( ) focal infinity end camera
        incremental camera "c" lens "x" ( ) "y" ( ) lens "z" ( ) volume output
        frame 2 0.25 dof 1 2 pass null field 0 clip 1 9 end camera)")
                          .cameras.at("c");
    EXPECT_TRUE(c.lens.size() == 3 && c.volume.empty() && c.outputs.empty() && c.orthographic);
    EXPECT_TRUE(c.environment.size() == 1 && c.frame_time == 0.25f && c.clip_far == 9);
}

TEST(LightElement, ReadsPlaceAndArea) {
    const Light spot = light_of(R"("a" ( "x" 1 ) energy 1 1 1 origin 1 2 3 direction 0 0 -1
        emitter "e" ( ) spread 2 tag 7 visible shadowmap detail samples 4 "b" ( ))");
    EXPECT_TRUE(spot.shader.size() == 2 && spot.spread == 1 && spot.tag == 7 && spot.visible);
    EXPECT_FALSE(light_of("= \"named\"").origin.has_value());
    const Light rectangle = light_of("area rectangle 1 0 0 0 2 0 4 5 2 1 3");
    EXPECT_THAT((std::array{rectangle.samples, rectangle.low_samples}),
                ElementsAre(ElementsAre(4, 5), ElementsAre(1, 3)));
    EXPECT_THAT(light_of("disc 0 0 1 2.5 6").samples, ElementsAre(6, 6));
    for (const char* none : {"sphere 2 sphere", "object \"i\" 3 3 visible on"})
        EXPECT_EQ(light_of(none).area, Light::Area::None) << none;
}

TEST(TextureElement, IsAFileOrBytesOrAShader) {
    const auto textures = parse(R"(
        local filter 2 color texture "f" "dir/{X}.png"
        scalar texture "b" [ 2 1 2 ] '0aFF' '0001'
        writable vector texture "w" "map.tif" "rgb" "tif" [ 8 8 ]
        color texture "s" "noise" ( "x" 1 ) color texture "n" = "named")")
                              .textures;
    EXPECT_EQ(textures.at("f")->file + textures.at("w")->file, "dir/{X}.pngmap.tif");
    EXPECT_THAT(textures.at("b")->bytes, ElementsAre(10, 255, 0, 1));
    EXPECT_TRUE(!textures.at("s")->shader[0].by_name && textures.at("n")->shader[0].by_name);
}

TEST(MaterialElement, HasASurfaceAndParts) {
    const Material m = *parse(R"(material "m" opaque "surface" ( "x" 1 ) "more" ( )
        shadow "surface" ( ) volume "v" ( ) environment "e" ( ) displace "d" ( ) contour "c" ( )
        photon "p" ( "shadow" 1 ) end material  incremental material "m" volume end material)")
                            .materials.at("m");
    EXPECT_TRUE(m.opaque && m.shader.size() == 2 && m.volume.empty() && m.shadow.size() == 1);
    EXPECT_EQ(m.contour.size() + m.displace.size() + m.environment.size(), 3u);
}

TEST(InstanceElement, ChangesWhatItNames) {
    const Instance i = *parse(R"(instance "i" "o" hide off visible on shadow 2 trace off
        transform 1 0 0 0 0 1 0 0 0 0 1 0 -2 -3 -4 1 motion transform 1 0 0 0 0 1 0 0 0 0 1 0 5 0 0 1
        material [ "a", "b" ] light shadow exclusive [ "l" ] data null tag 4000000000 override
        ( "p" 1 ) select on end instance
        incremental instance "i" transform motion off material "c" end instance)")
                            .instances.at("i");
    EXPECT_THAT((std::array{i.visible, i.shadow, i.trace}), ElementsAre(true, false, false));
    EXPECT_TRUE(i.element == "o" && i.tag == 4000000000u && i.override_flags);
    EXPECT_TRUE(i.transform == kIdentity && !i.motion_transform);
    EXPECT_THAT(i.materials, ElementsAre("c"));
}

TEST(Elements, StandInOneTableAndMayChangeAsAWhole) {
    const Scene scene = parse(R"(instgroup "g" "a" "b" end instgroup object "o" visible end object
        shader "s" "x" ( "p" 1 ) instgroup "x" end instgroup light "x" end light
        incremental instgroup "g" "c" end instgroup incremental object "o" trace end object
        incremental shader "s" "y" ( ) instgroup "gone" end instgroup delete "gone")");
    EXPECT_THAT(scene.groups.at("g")->members, ElementsAre("c"));
    EXPECT_FALSE(scene.objects.at("o")->visible);
    EXPECT_EQ(scene.shaders.at("s")->front().shader, "y");
    EXPECT_TRUE(scene.lights.contains("x"));
    EXPECT_FALSE(scene.groups.contains("x") || scene.groups.contains("gone"));
}

}  // namespace
}  // namespace orvane::scene
