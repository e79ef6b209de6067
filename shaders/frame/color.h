// Conversions between RGB and HSV (hue, saturation, value). No component is clamped.
//
// There are two pairs, which differ on purpose: orv_ measures hue in degrees and drops alpha;
// zel_ measures it in turns, marks the hue of greys with -1 and carries alpha through.
#pragma once

#include "frame/types.h"

struct orv_hsv {
    miScalar h, s, v;  // hue in degrees, 0 <= h < 360
};
static_assert(sizeof(orv_hsv) == 12);

extern "C" {

// A grey has hue 0 and saturation 0.
orv_hsv orv_rgb_to_hsv(miColor rgb);

// Any finite hue is taken round the circle; one that is not finite counts as 0. Alpha of the
// result is 0.
miColor orv_hsv_to_rgb(orv_hsv hsv);

// hsv: hue 0 <= h < 1 or exactly -1, saturation, value and alpha in this order.
void zel_rgb_to_hsv(miColor rgb, miColor* hsv);

// Hues of 1 and more are taken round the circle. A hue below 0 other than -1, or one that is not
// finite, leaves r, g, b of rgb as they are and sets only its alpha.
void zel_hsv_to_rgb(miColor* rgb, miColor hsv);
}
