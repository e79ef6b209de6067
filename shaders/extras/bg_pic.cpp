// zel_bg_pic: an output shader that puts a texture behind the picture, its corners at the middles
// of the frame's corner pixels.
//
//     picture = picture + (1 - alpha) * texture     for r, g, b
//
// The picture keeps its alpha, which still tells what the scene covers. A pixel whose alpha is 0
// becomes the texture, whatever it held.

#include "extras/background.h"
#include "frame/host.h"

extern "C" {

struct zel_bg_pic_params {
    miTag texture;
};
static_assert(sizeof(zel_bg_pic_params) == 4);

int zel_bg_pic_version() { return 2; }

// Place 0..1 of a pixel across the frame; a frame of one pixel shows the texture's middle.
static miScalar place(int pixel, int resolution) {
    if (resolution == 1) return 0.5f;
    return static_cast<miScalar>(pixel) / static_cast<miScalar>(resolution - 1);
}

// Where there is no texture, or a shader in its place has no answer, the background is black.
miBoolean zel_bg_pic(void*, miState* state, zel_bg_pic_params* params) {
    fill_uncovered(state, [=](miColor* color, int x, int y) {
        miVector coord = {place(x, state->camera->x_resolution),
                          place(y, state->camera->y_resolution), 0};
        miColor texel = {0, 0, 0, 0};
        mi_lookup_color_texture(&texel, state, params->texture, &coord);
        if (color->a == 0)
            *color = {texel.r, texel.g, texel.b, color->a};
        else
            add_behind(color, texel);
    });
    return miTRUE;
}
}
