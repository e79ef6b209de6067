// zel_bg_color: an output shader that puts one colour behind the picture.
//
//     picture = picture + (1 - alpha) * color
//
// for r, g, b and, unless the colour's alpha is 0, for alpha too: the background becomes part of
// the picture. A pixel whose alpha is 0 becomes the colour itself, whatever it held: light without
// alpha before nothing, such as a flare's, is gone.

#include <cmath>

#include "extras/background.h"
#include "frame/host.h"

extern "C" {

struct zel_bg_color_params {
    miColor color;
};
static_assert(sizeof(zel_bg_color_params) == 4 * 4);

int zel_bg_color_version() { return 2; }

static miScalar number(miScalar x) { return std::isnan(x) ? 0 : x; }

// A channel of the colour that is not a number counts as 0.
miBoolean zel_bg_color(void*, miState* state, zel_bg_color_params* params) {
    const miColor& c = params->color;
    const miColor behind = {number(c.r), number(c.g), number(c.b), number(c.a)};
    fill_uncovered(state, [&behind](miColor* color, int, int) {
        if (color->a == 0) {
            *color = behind;
            return;
        }
        add_behind(color, behind);
        if (behind.a != 0) color->a += (1 - color->a) * behind.a;
    });
    return miTRUE;
}
}
