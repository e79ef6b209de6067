// Pictures in memory and their bilinear look-up.

#include "image/image.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvane::image {
namespace {

// A finite coordinate's place in the repeating image: from -1/2, in pixels from the centre of the
// first. Floats from 2^23 on are whole numbers, which lie on the image's edge.
float place(float u, int size) {
    float inside = 0;
    if (std::abs(u) < 0x1p23f) {
        inside = u - static_cast<float>(static_cast<int>(u));
        if (inside < 0) inside += 1;
    }
    return inside * static_cast<float>(size) - 0.5f;
}

// The pixel at or before a place, the weight of the pixel behind it, and that pixel.
int pixel_before(float x, int size) {
    return x < 0 ? size - 1 : std::min(static_cast<int>(x), size - 1);
}
float weight_behind(float x) { return x < 0 ? x + 1 : x - static_cast<float>(static_cast<int>(x)); }
int pixel_behind(int pixel, int size) { return pixel + 1 < size ? pixel + 1 : 0; }

}  // namespace

Image::Image(int width, int height)
    : width_(width),
      height_(height),
      pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

Image::Image(int width, int height, std::shared_ptr<const Texels> texels)
    : width_(width), height_(height), texels_(std::move(texels)) {}

miColor Image::lookup(float u, float v) const {
    if (width_ == 0 || !std::isfinite(u) || !std::isfinite(v)) return {0, 0, 0, 0};
    const float x = place(u, width_), y = place(v, height_);
    const int x0 = pixel_before(x, width_), y0 = pixel_before(y, height_);
    return blend(x0, pixel_behind(x0, width_), weight_behind(x), y0, pixel_behind(y0, height_),
                 weight_behind(y));
}

miColor Image::lookup_held(float u, float v) const {
    if (width_ == 0 || !std::isfinite(u) || !std::isfinite(v)) return {0, 0, 0, 0};
    const auto held = [](float at, int size) {
        return std::clamp(at * static_cast<float>(size) - 0.5f, 0.0f, static_cast<float>(size - 1));
    };
    const float x = held(u, width_), y = held(v, height_);
    const int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
    return blend(x0, std::min(x0 + 1, width_ - 1), x - static_cast<float>(x0), y0,
                 std::min(y0 + 1, height_ - 1), y - static_cast<float>(y0));
}

miColor Image::blend(int x0, int x1, float right, int y0, int y1, float upper) const {
    const miColor a = at(x0, y0), b = at(x1, y0), c = at(x0, y1), d = at(x1, y1);
    const float left = 1 - right, lower = 1 - upper;
    const float wa = left * lower, wb = right * lower, wc = left * upper, wd = right * upper;
    return {a.r * wa + b.r * wb + c.r * wc + d.r * wd, a.g * wa + b.g * wb + c.g * wc + d.g * wd,
            a.b * wa + b.b * wb + c.b * wc + d.b * wd, a.a * wa + b.a * wb + c.a * wc + d.a * wd};
}

}  // namespace orvane::image
