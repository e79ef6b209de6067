// What the lens knows of one light that flares, computed once per lens instance.
//
// Screen units: the frame is 1 wide and 1 / aspect high, centred on (0, 0), y up.
#pragma once

#include "flare/preset.h"
#include "frame/types.h"
#include "volumetric/light_block.h"

constexpr int kMostStreaks = 100;

struct FlareLight {
    miScalar x, y;         // position on the screen
    miScalar depth;        // distance in front of the camera, above 0
    miScalar glow_radius;  // screen units; set when the light glows
    miColor colour;        // average sampled colour times the fade at the frame's edge; alpha 0
    miColor glow_colour;   // the light's own colour
    miInteger visible;     // 1 when the sampled colour has a luminance other than 0
    Orvane_Light_params* params;
    miInteger primitive_count;
    FlarePrimitive* primitives;         // placed for this light; owned by this record
    double streak_angle[kMostStreaks];  // radians
    double streak_frequency[kMostStreaks];
    double streak_width[kMostStreaks];
    miScalar streak_cosine[kMostStreaks];  // of the angles, for every pixel
    miScalar streak_sine[kMostStreaks];
};
