// The contract's operations on frame buffers, which are images.

#include "frame/host.h"
#include "image/image.h"

using orvane::image::Image;

static bool contains(const Image* image, int x, int y) {
    return image && x >= 0 && y >= 0 && x < image->width() && y < image->height();
}

void mi_img_get_color(void* image, miColor* color, int x, int y) {
    const auto* pixels = static_cast<const Image*>(image);
    *color = contains(pixels, x, y) ? pixels->at(x, y) : miColor{0, 0, 0, 0};
}

void mi_img_put_color(void* image, miColor* color, int x, int y) {
    auto* pixels = static_cast<Image*>(image);
    if (contains(pixels, x, y)) pixels->at(x, y) = *color;
}
