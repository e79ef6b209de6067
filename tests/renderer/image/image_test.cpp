// Look-ups at places computable by hand, bytes of a scene text, and the frame buffer operations.

#include "image/image.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "frame/host.h"
#include "renderer/image/pixels.h"

namespace orvane::image {
namespace {

constexpr float kMax = std::numeric_limits<float>::max();

// Red is x, green is y, blue is constant.
Image ramp(int width, int height) {
    Image image(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.at(x, y) = {static_cast<float>(x), static_cast<float>(y), 7, 0.5f};
    return image;
}

TEST(Lookup, IsLinearBetweenPixelCentresAndRepeats) {
    const Image image = ramp(4, 2);
    EXPECT_THAT(image.lookup(0.125f, 0.25f), Is(0, 0, 7, 0.5f));
    EXPECT_THAT(image.lookup(0.875f, 0.75f), Is(3, 1, 7, 0.5f));
    EXPECT_THAT(image.lookup(0.4375f, 0.5f), Is(1.25f, 0.5f, 7, 0.5f));
    EXPECT_THAT(image.lookup(0, 0), Is(1.5f, 0.5f, 7, 0.5f));
    for (const float shift : {-1000.0f, -3.0f, -1.0f, 1.0f, 512.0f})
        for (const float u : {0.03125f, 0.40625f, 0.96875f}) {
            const miColor here = image.lookup(u, 0.375f);
            EXPECT_THAT(image.lookup(u + shift, 0.375f - shift), Is(here.r, here.g, 7, 0.5f));
        }
    // A coordinate that rounds up to 1 when it is brought into the image.
    EXPECT_THAT(image.lookup(-1e-20f, 0.25f), Is(1.5f, 0, 7, 0.5f));
    EXPECT_THAT(ramp(1, 1).lookup(0.9f, -0.2f), Is(0, 0, 7, 0.5f));
}

TEST(Lookup, HeldEndsAtTheEdges) {
    const Image image = ramp(4, 2);
    EXPECT_THAT(image.lookup_held(0.4375f, 0.5f), Is(1.25f, 0.5f, 7, 0.5f));
    EXPECT_THAT(image.lookup_held(0, 1), Is(0, 1, 7, 0.5f));
    EXPECT_THAT(image.lookup_held(kMax, -kMax), Is(3, 0, 7, 0.5f));
    EXPECT_THAT(ramp(1, 1).lookup_held(0.9f, NAN), Is(0, 0, 0, 0));
}

TEST(Lookup, SurvivesAnyCoordinate) {
    const Image image = ramp(3, 5);
    for (const float u : {0x1p22f + 0.5f, 8388607.5f, 0x1p23f, -0x1p31f, 1e20f, kMax, -kMax})
        EXPECT_NEAR(image.lookup(u, u).b, 7, 1e-4f) << u;
    for (const float u : {NAN, INFINITY, -INFINITY})
        EXPECT_EQ(image.lookup(u, 0).b + image.lookup(0, u).b, 0);
    EXPECT_THAT(Image().lookup(0.5f, 0.5f), Is(0, 0, 0, 0));
}

TEST(ImageFromBytes, FindsComponentsFromTheNumberOfBytes) {
    const Image rgb = image_from_bytes(1, 2, 1, {0, 51, 255, 255, 0, 102}, 1);
    EXPECT_THAT(rgb.at(0, 0), Is(0, 0.2f, 1, 1));
    EXPECT_THAT(rgb.at(0, 1), Is(1, 0, 0.4f, 1));
    const Image words = image_from_bytes(1, 1, 2, {0xff, 0xff, 0x33, 0x33, 0, 1, 0, 0}, 0.5f);
    EXPECT_THAT(words.at(0, 0), Is(1, 0.04f, 0, 0));
    // Floats: no gamma, nothing that is not a number.
    const Image floats = image_from_bytes(
        1, 1, 4, {0x40, 0x49, 0x0f, 0xdb, 0xbf, 0x80, 0, 0, 0x7f, 0xc0, 0, 0}, 0.5f);
    EXPECT_THAT(floats.at(0, 0), Is(3.14159274f, -1, 0, 1));

    const struct {
        int width, height, depth;
        std::size_t bytes;
    } misfits[] = {
        {1, 2, 1, 5}, {1, 1, 3, 9}, {1 << 30, 1 << 30, 4, 0}, {0, 5, 1, 0}, {-1, -3, 1, 9}};
    for (const auto& [width, height, depth, bytes] : misfits)
        EXPECT_THROW(image_from_bytes(width, height, depth, std::vector<std::uint8_t>(bytes), 1),
                     std::invalid_argument);
}

TEST(ImageOperations, ReadAndWritePixelsInsideOnly) {
    Image image = ramp(2, 2);
    const miColor written = {9, 8, 7, 6};
    for (const auto& [x, y] : {std::pair(-1, 0), {0, -1}, {2, 0}, {0, 2}, {1, 0}}) {
        miColor c = written;
        mi_img_put_color(&image, &c, x, y);
        mi_img_get_color(&image, &c, x, y);
        EXPECT_EQ(c.r, x == 1 ? 9 : 0);
        EXPECT_EQ(image.at(1, 0).g, x == 1 ? 8 : 0);
    }
    miColor c = written;
    mi_img_put_color(nullptr, &c, 0, 0);
    mi_img_get_color(nullptr, &c, 0, 0);
    EXPECT_THAT(c, Is(0, 0, 0, 0));
}

}  // namespace
}  // namespace orvane::image
