// The walk that the background output shaders share.
#pragma once

#include "frame/host.h"

// Hands each pixel of the colour frame buffer that is not fully covered to fill(color, x, y),
// row by row from the bottom, and writes it back. A pixel whose alpha is exactly 1 is left alone;
// one above 1 is not. Stops before the next row once the render is aborted.
template <typename Fill>
static inline void fill_uncovered(miState* state, Fill fill) {
    void* image = state->options->frame_buffers[miFB_COLOR];
    if (!image) return;
    for (int y = 0; y < state->camera->y_resolution && !mi_par_aborted(); ++y)
        for (int x = 0; x < state->camera->x_resolution; ++x) {
            miColor color;
            mi_img_get_color(image, &color, x, y);
            if (color.a == 1) continue;
            fill(&color, x, y);
            mi_img_put_color(image, &color, x, y);
        }
}

// Puts r, g and b of a background behind a pixel, by what its alpha leaves open.
static inline void add_behind(miColor* color, const miColor& behind) {
    const miScalar open = 1 - color->a;
    color->r += open * behind.r;
    color->g += open * behind.g;
    color->b += open * behind.b;
}
