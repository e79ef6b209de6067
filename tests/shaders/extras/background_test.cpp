// The background output shaders: which pixels they change, and what becomes of alpha.

#include <bit>
#include <cmath>

#include "scripted/host.h"

extern "C" {
miBoolean zel_bg_color(void*, miState*, void*);
miBoolean zel_bg_pic(void*, miState*, void*);
}

namespace {

using Shader = miBoolean (*)(void*, miState*, void*);

class Background : public scripted::Renderer {
  protected:
    Background() {
        options.frame_buffers[miFB_COLOR] = &frame;
        host.texture = [](miColor* color, miState*, miTag texture, const miVector& at) {
            *color = texture ? miColor{0, 1, -0.0f, 0.875f} : miColor{at.x, at.y, 0, 1};
            return miTRUE;
        };
    }
    void resize(int width, int height) {
        camera.x_resolution = frame.width = width;
        camera.y_resolution = frame.height = height;
        frame.pixels.assign(static_cast<std::size_t>(width * height), miColor{0, 0, 0, 0});
    }
    template <typename Params>
    void run(Shader shader, Params params) {
        EXPECT_TRUE(shader(nullptr, &state, &params));
    }
    // The pixels, bit for bit, after the shader has run over some of all kinds.
    template <typename Params>
    void expect(Shader shader, Params params, std::vector<miColor> expected) {
        resize(5, 1);
        frame.pixels = {{0.25f, 0, 0, 0},
                        {0.25f, 0, 0, 0.25f},
                        {std::nanf("7"), -0.0f, 9, 1},
                        {3, 2, 1, 1.5f},
                        {0, 0, 0, -0.0f}};
        run(shader, params);
        using Bits = std::array<std::uint32_t, 4>;
        for (std::size_t i = 0; i < 5; ++i)
            EXPECT_EQ(std::bit_cast<Bits>(frame.pixels[i]), std::bit_cast<Bits>(expected[i])) << i;
    }
    scripted::Image frame;
};

TEST_F(Background, GoesByTheAlphaOfThePixel) {
    const miColor opaque = {std::nanf("7"), -0.0f, 9, 1};
    expect(zel_bg_color, miColor{0, 1, -0.0f, 1},
           {{0, 1, -0.0f, 1}, {0.25f, 0.75f, 0, 1}, opaque, {3, 1.5f, 1, 1}, {0, 1, -0.0f, 1}});
    expect(
        zel_bg_color, miColor{NAN, 1, -0.0f, NAN},
        {{0, 1, -0.0f, 0}, {0.25f, 0.75f, 0, 0.25f}, opaque, {3, 1.5f, 1, 1.5f}, {0, 1, -0.0f, 0}});
    expect(zel_bg_pic, miTag{1},
           {{0, 1, -0.0f, 0},
            {0.25f, 0.75f, 0, 0.25f},
            opaque,
            {3, 1.5f, 1, 1.5f},
            {0, 1, -0.0f, -0.0f}});
    EXPECT_EQ(host.count("mi_lookup_color_texture"), 4);
}

TEST_F(Background, OfTextureReachesFromCornerToCorner) {
    resize(5, 3);
    run(zel_bg_pic, miTag{0});
    for (std::size_t i = 0; i < 15; ++i) {
        EXPECT_EQ(frame.pixels[i].r, static_cast<float>(i % 5) / 4);
        EXPECT_EQ(frame.pixels[i].g, static_cast<float>(i / 5) / 2);
    }
    resize(1, 2);
    run(zel_bg_pic, miTag{0});
    EXPECT_EQ(frame.pixels[0].r, 0.5f);
    EXPECT_EQ(frame.pixels[1].g, 1);
    host.texture = [](auto...) { return miFALSE; };  // and leaves the color alone
    resize(2, 1);
    run(zel_bg_pic, miTag{0});
    EXPECT_EQ(frame.pixels[1].r, 0);
}

TEST_F(Background, StopsBetweenRowsAndDoesWithoutABuffer) {
    resize(2, 3);
    host.aborted = [asked = 0]() mutable { return ++asked == 3; };
    run(zel_bg_color, miColor{1, 1, 1, 1});
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(frame.pixels[i].g, i < 4) << i;
    options.frame_buffers[miFB_COLOR] = nullptr;
    run(zel_bg_pic, miTag{0});
}

}  // namespace
