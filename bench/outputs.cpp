// What the output shaders cost at 3840 x 2160 beside plain loops that composite the same pixels.
//
// A third of the pixels is empty, a third half covered, a third covered, in runs of 40. The loops
// go over the same records with the same formula; the picture behind is looked up by the same
// function; once straight in memory, and once by mi_img_get_color and mi_img_put_color, which a
// shader cannot do without. They alternate, each on a fresh copy; the least time counts.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "harness.h"
#include "image/image.h"

using namespace orvane;

namespace {

constexpr int kWidth = 3840, kHeight = 2160;
constexpr int kPasses = 9;

std::string scene_text(const std::string& shader) {
    return R"(link "orvane.so"
$include "orvane.mi"
color texture "t" [2 2] 'ff000000ff000000ffffffff'
options "o" end options
camera "c" resolution 3840 2160 output )" +
           shader + R"( end camera
instance "ci" "c" end instance
instgroup "root" "ci" end instgroup
render "root" "ci" "o"
)";
}

image::Image rendered() {
    image::Image picture(kWidth, kHeight);
    const miColor kinds[] = {{0, 0, 0, 0}, {.1f, .2f, .1f, .5f}, {.4f, .3f, .2f, 1}};
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) picture.at(x, y) = kinds[(x / 40 + y / 40) % 3];
    return picture;
}

template <typename Behind>
void composite(image::Image& picture, Behind behind) {
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            miColor& c = picture.at(x, y);
            if (c.a == 1) continue;
            const miColor b = behind(x, y);
            const float open = 1 - c.a;
            c = {c.r + open * b.r, c.g + open * b.g, c.b + open * b.b, c.a + open * b.a};
        }
}

// The same by the renderer's operations, a read and a write for each pixel, as a shader must.
template <typename Behind>
void composite_by_operations(image::Image& picture, Behind behind) {
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            miColor c;
            mi_img_get_color(&picture, &c, x, y);
            if (c.a == 1) continue;
            const miColor b = behind(x, y);
            const float open = 1 - c.a;
            c = {c.r + open * b.r, c.g + open * b.g, c.b + open * b.b, c.a + open * b.a};
            mi_img_put_color(&picture, &c, x, y);
        }
}

template <typename Behind>
void measure(const char* name, trace::Frame& frame, Behind behind) {
    const image::Image before = rendered();
    image::Image picture;
    frame.world.options().frame_buffers[miFB_COLOR] = &picture;
    double shader = 1e9, plain = 1e9, operations = 1e9;
    for (int pass = 0; pass < kPasses; ++pass) {
        picture = before;
        shader = std::min(shader, bench::processor_seconds_of(
                                      [&] { frame.run_output(frame.world.output_shaders()[0]); }));
        picture = before;
        plain = std::min(plain, bench::processor_seconds_of([&] { composite(picture, behind); }));
    }
    for (int pass = 0; pass < kPasses; ++pass) {
        picture = before;
        operations = std::min(operations, bench::processor_seconds_of(
                                              [&] { composite_by_operations(picture, behind); }));
    }
    const double pixels = double{kWidth} * kHeight;
    std::printf(
        "%-13s %5.1f ns a pixel; plain loop %4.1f ns, %.2f times; by operations %4.1f ns, "
        "%.2f times\n",
        name, 1e9 * shader / pixels, 1e9 * plain / pixels, shader / plain,
        1e9 * operations / pixels, shader / operations);
}

}  // namespace

int main() {
    bench::with_frame(
        scene_text(R"("zel_bg_color" ( "color" .1 .2 .3 1 ))"), [](trace::Frame& frame) {
            measure("zel_bg_color", frame, [](int, int) { return miColor{.1f, .2f, .3f, 1}; });
        });
    image::Image texture(2, 2);
    bench::with_frame(scene_text(R"("zel_bg_pic" ( "texture" "t" ))"), [&](trace::Frame& frame) {
        measure("zel_bg_pic", frame, [&texture](int x, int y) {
            return texture.lookup_held(static_cast<float>(x) / (kWidth - 1),
                                       static_cast<float>(y) / (kHeight - 1));
        });
    });
}
