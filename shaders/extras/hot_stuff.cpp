// Hot_Stuff: turns a surface into a see-through sheet of flames that rise from the object's own
// plane y = 0.
//
//     strength = e^(1/2 - 8 y / height) * (1 - bias(0.2, noise))
//     result   = what lies behind + intensity * ramp(strength)
//
// The noise is a fractal sum that moves upwards and along z with the time of the frame; K. Perlin's
// bias ("Hypertexture", 1989), used with its arguments exchanged, pushes it towards 0. The ramp is
// a spline from black through four colours. Alpha grows by the strength.

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "frame/host.h"
#include "frame/noise.h"

extern "C" {

struct Hot_Stuff_params {
    miScalar scale;      // cells of the noise per unit of object space
    miScalar stretch;    // 0..1: how much the tongues are drawn out upwards
    miScalar height;     // where the flame has died away, in object space
    miScalar drift;      // cells along z per unit of frame time
    miScalar rise;       // cells upwards per unit of frame time
    miInteger octaves;   // of the noise
    miScalar intensity;  // of the colour that is added
    miColor color1;      // from the weak tips ...
    miColor color2;
    miColor color3;
    miColor color4;  // ... to the base; of all r, g, b
};
static_assert(sizeof(Hot_Stuff_params) == 23 * 4);

int Hot_Stuff_version() { return 2; }

// The value held within 0..1; 0 where it is not a number.
static miScalar unit(miScalar x) { return x > 0 ? std::min(x, 1.0f) : 0; }

// A flame of no height burns on its base alone.
static double envelope(double y, double height) {
    if (height == 0) return y == 0 ? std::exp(0.5) : 0;
    return std::exp(0.5 - 8.0 * y / height);
}

// Strength of the flame at a point of object space. The noise's sum may leave 0..1: below it, where
// the bias is not a number, the flame is as strong as at 0. What is not a number is no flame.
static miScalar strength(miVector p, const Hot_Stuff_params* params, miScalar time) {
    const double y = p.y;
    p.x = p.x * params->scale;
    p.y = p.y * params->scale * (1 - params->stretch) - time * params->rise;
    p.z = p.z * params->scale + time * params->drift;
    const double noise = qv_NoiseOctave3D(&p, params->octaves, 1.0);
    const double gap = noise > 0 ? qv_Bias(0.2f, noise) : 0;
    const double v = envelope(y, params->height) * (1 - gap);
    return std::isnan(v) ? 0 : static_cast<miScalar>(std::clamp<double>(v, -FLT_MAX, FLT_MAX));
}

// Adds one channel of the ramp's colour.
static void add_flame(miScalar* channel, miScalar v, miScalar intensity, miScalar c1, miScalar c2,
                      miScalar c3, miScalar c4) {
    const miScalar keys[6] = {0, c1, c2, c3, c4, c4};
    *channel = unit(*channel + intensity * mi_spline(v, 6, keys));
}

// Lets light and shadow rays pass as they are. Where nothing can be traced behind it, it burns
// before black.
miBoolean Hot_Stuff(miColor* result, miState* state, Hot_Stuff_params* params) {
    if (state->type == miRAY_LIGHT || state->type == miRAY_SHADOW) return miTRUE;
    *result = {0, 0, 0, 0};
    mi_trace_transparent(result, state);

    miVector p;
    mi_point_to_object(state, &p, &state->point);
    if (!(p.y >= 0)) return miTRUE;

    const miScalar v = strength(p, params, state->camera->frame_time);
    const miColor &c1 = params->color1, &c2 = params->color2, &c3 = params->color3,
                  &c4 = params->color4;
    add_flame(&result->r, v, params->intensity, c1.r, c2.r, c3.r, c4.r);
    add_flame(&result->g, v, params->intensity, c1.g, c2.g, c3.g, c4.g);
    add_flame(&result->b, v, params->intensity, c1.b, c2.b, c3.b, c4.b);
    result->a = unit(v + result->a);
    return miTRUE;
}
}
