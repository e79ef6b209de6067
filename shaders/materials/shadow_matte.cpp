// zel_shadow_matte: black, with the shadow that falls on it as alpha, to be laid over a plate.
//
//     alpha = 1 - sum of the means of the lights that arrive
//
// held within 0..1. Neither the direction of the lights nor their cosine counts. A sum that is not
// a number is full shadow. Shadow rays see black as all others do: the matte blocks light.

#include "frame/surface.h"

extern "C" {

struct zel_shadow_matte_params {
    miInteger i_light;
    miInteger n_light;
    miTag light[1];  // whose shadows are shown
};
static_assert(sizeof(zel_shadow_matte_params) == 3 * 4);

int zel_shadow_matte_version() { return 2; }

void zel_shadow_matte_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "shadow_matte");
}
}

namespace {

// Whether a shadow ray is there for another one. Two mattes between two lights would ask each other
// without end; and of what a shadow ray finds, nobody looks at alpha.
bool within_shadow_ray(const miState* state) {
    if (state->type != miRAY_SHADOW) return false;
    for (const miState* ray = state->parent; ray; ray = ray->parent)
        if (ray->type == miRAY_SHADOW) return true;
    return false;
}

miScalar shadow_of(miScalar light) {
    if (light > 1) return 0;
    return light >= 0 ? 1 - light : 1;
}

}  // namespace

extern "C" {

miBoolean zel_shadow_matte(miColor* result, miState* state, zel_shadow_matte_params* params) {
    *result = {0, 0, 0, 1};
    if (within_shadow_ray(state)) return miTRUE;

    miScalar sum = 0;
    for_each_light(state, params->light, params->i_light, params->n_light,
                   [&sum](const miColor& color, miVector, miScalar, miTag) {
                       sum = static_cast<miScalar>(sum + mean(color));
                   });
    result->a = shadow_of(sum);
    return miTRUE;
}
}
