// Filtering a light by its slide.
#pragma once

#include <cmath>

#include "frame/host.h"

// Filters color by the slide at (u, v). A place that is no number has no slide.
static inline void filter_by_slide(miColor* color, miState* state, miTag slide, miScalar u,
                                   miScalar v) {
    if (!std::isfinite(u) || !std::isfinite(v)) return;
    miVector coord = {u, v, 0};
    miColor texel = {0, 0, 0, 0};
    mi_lookup_color_texture(&texel, state, slide, &coord);
    filter_rgb(color, texel.r, texel.g, texel.b);
}

// The same at (x, y) of the plane across a spot light's cone, the slide's centre being (0, 0) and
// its unit square what the cone's circle just fits in. angle in radians. Outside the square the
// light stays as it is, unless repeat is 1.
static inline void filter_by_turned_slide(miColor* color, miState* state, miTag slide, miScalar x,
                                          miScalar y, miScalar angle, miScalar scale,
                                          miInteger repeat) {
    const double cosine = std::cos(double{angle}), sine = std::sin(double{angle});
    const auto u = static_cast<miScalar>((x * cosine - y * sine) / scale + 0.5);
    const auto v = static_cast<miScalar>((x * sine + y * cosine) / scale + 0.5);
    const bool inside = u >= 0 && u <= 1 && v >= 0 && v <= 1;
    if (inside || repeat == 1) filter_by_slide(color, state, slide, u, v);
}
