// HSV: the hexcone model (A. R. Smith, "Color Gamut Transform Pairs", 1978).

#include "frame/color.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr miScalar kSixth = 0.16666667f;

struct Extremes {
    miScalar max, min;
};

Extremes extremes(const miColor& c) {
    return {std::max({c.r, c.g, c.b}), std::min({c.r, c.g, c.b})};
}

// Hue in sixths of the circle, -1..5, of a colour that is not grey.
miScalar hue_in_sixths(const miColor& c, const Extremes& e) {
    const miScalar d = e.max - e.min;
    if (e.max == c.r) return (c.g - c.b) / d;
    if (e.max == c.g) return 2.0f + (c.b - c.r) / d;
    return 4.0f + (c.r - c.g) / d;
}

// A hue that steps of one circle bring into it: far away a step may change nothing.
miScalar near_circle(miScalar hue, miScalar circle) {
    if (!std::isfinite(hue)) return 0;
    return std::abs(hue) < 1000 * circle ? hue : std::fmod(hue, circle);
}

// r, g, b of a hue at fraction f of sector i; a sector outside 0..5 leaves them as they are.
void set_sector(miColor* c, int i, miScalar f, miScalar s, miScalar v) {
    const miScalar p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
    const auto set = [c](miScalar r, miScalar g, miScalar b) { c->r = r, c->g = g, c->b = b; };
    switch (i) {
        case 0:
            return set(v, t, p);
        case 1:
            return set(q, v, p);
        case 2:
            return set(p, v, t);
        case 3:
            return set(p, q, v);
        case 4:
            return set(t, p, v);
        case 5:
            return set(v, p, q);
    }
}

}  // namespace

extern "C" {

orv_hsv orv_rgb_to_hsv(miColor rgb) {
    const Extremes e = extremes(rgb);
    const miScalar s = e.max == 0 ? 0 : (e.max - e.min) / e.max;
    if (s == 0) return {0, 0, e.max};
    miScalar h = hue_in_sixths(rgb, e) * 60.0f;
    if (h < 0) h += 360.0f;
    return {h, s, e.max};
}

miColor orv_hsv_to_rgb(orv_hsv hsv) {
    if (hsv.s == 0) return {hsv.v, hsv.v, hsv.v, 0};

    miScalar h = near_circle(hsv.h, 360.0f);
    while (h < 0) h += 360.0f;
    while (h >= 360.0f) h -= 360.0f;
    const miScalar x = h / 60.0f;
    const miScalar whole = std::floor(x);
    miColor rgb = {0, 0, 0, 0};
    set_sector(&rgb, static_cast<int>(whole), x - whole, hsv.s, hsv.v);
    return rgb;
}

void zel_rgb_to_hsv(miColor rgb, miColor* hsv) {
    const Extremes e = extremes(rgb);
    if (e.max == e.min || e.max == 0) {
        *hsv = {-1.0f, 0, e.max, rgb.a};
        return;
    }
    miScalar h = hue_in_sixths(rgb, e) * kSixth;
    while (h < 0) h += 1.0f;
    *hsv = {h, (e.max - e.min) / e.max, e.max, rgb.a};
}

void zel_hsv_to_rgb(miColor* rgb, miColor hsv) {
    rgb->a = hsv.a;
    if (hsv.r == -1.0f || hsv.g == 0) {
        rgb->r = rgb->g = rgb->b = hsv.b;
        return;
    }
    if (!std::isfinite(hsv.r) || hsv.r < 0) return;
    miScalar h = near_circle(hsv.r, 1.0f);
    while (h >= 1.0f) h -= 1.0f;
    const miScalar x = h / kSixth;
    const miScalar whole = std::floor(x);
    set_sector(rgb, static_cast<int>(whole), x - whole, hsv.g, hsv.b);
}
}
