// Look-ups at places computable by hand, bytes of a scene text, and the frame buffer operations.

#include "image/image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "frame/host.h"

namespace orvane::image {
namespace {

// Red is x, green is y, blue is constant.
Image ramp(int width, int height) {
    Image image(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            image.at(x, y) = {static_cast<float>(x), static_cast<float>(y), 7, 0.5f};
        }
    }
    return image;
}

void expect_color(const miColor& c, float r, float g, float b, float a) {
    EXPECT_NEAR(c.r, r, 1e-4f);
    EXPECT_NEAR(c.g, g, 1e-4f);
    EXPECT_NEAR(c.b, b, 1e-4f);
    EXPECT_NEAR(c.a, a, 1e-4f);
}

TEST(Lookup, IsExactAtPixelCentresAndLinearBetween) {
    const Image image = ramp(4, 2);
    expect_color(image.lookup(0.125f, 0.25f), 0, 0, 7, 0.5f);
    expect_color(image.lookup(0.875f, 0.75f), 3, 1, 7, 0.5f);
    expect_color(image.lookup(0.5f, 0.5f), 1.5f, 0.5f, 7, 0.5f);
    expect_color(image.lookup(0.4375f, 0.25f), 1.25f, 0, 7, 0.5f);
}

TEST(Lookup, RepeatsInBothDirections) {
    const Image image = ramp(4, 2);
    expect_color(image.lookup(0, 0), 1.5f, 0.5f, 7, 0.5f);
    for (const float shift : {-1000.0f, -3.0f, -1.0f, 1.0f, 512.0f}) {
        for (const float u : {0.03125f, 0.40625f, 0.96875f}) {
            const miColor here = image.lookup(u, 0.375f);
            expect_color(image.lookup(u + shift, 0.375f - shift), here.r, here.g, 7, 0.5f);
        }
    }
    // A coordinate that rounds up to 1 when it is brought into the image.
    expect_color(image.lookup(-1e-20f, 0.25f), 1.5f, 0, 7, 0.5f);
    expect_color(Image(ramp(1, 1)).lookup(0.9f, -0.2f), 0, 0, 7, 0.5f);
}

TEST(Lookup, SurvivesAnyCoordinate) {
    const Image image = ramp(3, 5);
    constexpr float kMax = std::numeric_limits<float>::max();
    for (const float u : {0x1p22f + 0.5f, 8388607.5f, 0x1p23f, -0x1p31f, 1e20f, kMax, -kMax}) {
        EXPECT_NEAR(image.lookup(u, u).b, 7, 1e-4f) << u;
    }
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const float u : {NAN, kInfinity, -kInfinity}) {
        expect_color(image.lookup(u, 0), 0, 0, 0, 0);
        expect_color(image.lookup(0, u), 0, 0, 0, 0);
    }
    expect_color(Image().lookup(0.5f, 0.5f), 0, 0, 0, 0);
}

TEST(ImageFromBytes, FindsComponentsFromTheNumberOfBytes) {
    const Image rgb = image_from_bytes(1, 2, 1, {0, 51, 255, 255, 0, 102}, 1);
    expect_color(rgb.at(0, 0), 0, 0.2f, 1, 1);
    expect_color(rgb.at(0, 1), 1, 0, 0.4f, 1);

    const Image words = image_from_bytes(1, 1, 2, {0xff, 0xff, 0x33, 0x33, 0, 1, 0, 0}, 0.5f);
    expect_color(words.at(0, 0), 1, 0.04f, 0, 0);

    // Floats: no gamma, nothing that is not a number.
    const Image floats = image_from_bytes(
        1, 1, 4, {0x40, 0x49, 0x0f, 0xdb, 0xbf, 0x80, 0, 0, 0x7f, 0xc0, 0, 0}, 0.5f);
    expect_color(floats.at(0, 0), 3.14159274f, -1, 0, 1);

    EXPECT_THROW(image_from_bytes(1, 2, 1, {1, 2, 3, 4, 5}, 1), std::invalid_argument);
    EXPECT_THROW(image_from_bytes(1, 1, 3, std::vector<std::uint8_t>(9), 1), std::invalid_argument);
    EXPECT_THROW(image_from_bytes(1 << 30, 1 << 30, 4, {}, 1), std::invalid_argument);
    EXPECT_THROW(image_from_bytes(0, 5, 1, {}, 1), std::invalid_argument);
    EXPECT_THROW(image_from_bytes(-1, -3, 1, std::vector<std::uint8_t>(9), 1),
                 std::invalid_argument);
}

TEST(ImageOperations, ReadAndWritePixelsInsideOnly) {
    Image image = ramp(2, 2);
    miColor c = {9, 8, 7, 6};
    for (const auto& [x, y] : {std::pair(-1, 0), {0, -1}, {2, 0}, {0, 2}}) {
        mi_img_put_color(&image, &c, x, y);
        miColor outside = {1, 1, 1, 1};
        mi_img_get_color(&image, &outside, x, y);
        expect_color(outside, 0, 0, 0, 0);
    }
    for (const miColor& pixel : image.pixels()) EXPECT_EQ(pixel.b, 7);

    mi_img_put_color(&image, &c, 1, 0);
    miColor read{};
    mi_img_get_color(&image, &read, 1, 0);
    expect_color(read, 9, 8, 7, 6);
    expect_color(image.at(1, 0), 9, 8, 7, 6);
    mi_img_put_color(nullptr, &c, 0, 0);
    mi_img_get_color(nullptr, &c, 0, 0);
    expect_color(c, 0, 0, 0, 0);
}

}  // namespace
}  // namespace orvane::image
