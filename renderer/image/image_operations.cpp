// The contract's operations on frame buffers, which are images.

#include "frame/host.h"
#include "image/image.h"

using orvane::image::Image;

// Output shaders call these for every pixel of a frame: a negative place is a large one.
static bool contains(const Image* image, int x, int y) {
    return image && static_cast<unsigned>(x) < static_cast<unsigned>(image->width()) &&
           static_cast<unsigned>(y) < static_cast<unsigned>(image->height());
}

void mi_img_get_color(void* image, miColor* color, int x, int y) {
    const auto* pixels = static_cast<const Image*>(image);
    *color = contains(pixels, x, y) ? pixels->at(x, y) : miColor{0, 0, 0, 0};
}

void mi_img_put_color(void* image, miColor* color, int x, int y) {
    auto* pixels = static_cast<Image*>(image);
    if (contains(pixels, x, y) && !pixels->is_texture()) pixels->at(x, y) = *color;
}
