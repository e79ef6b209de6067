// soft_light: a plain point, spot or directional light.
//
//     result = color intensity share / distance^falloff
//
// attenuated by what is in between. share is 1 but for spots, where it falls from 1 at the inner
// cone to 0 at the light's spread as the smooth cubic 3 x^2 - 2 x^3. Directional lights have no
// distance and no falloff.

#include <algorithm>
#include <cmath>

#include "frame/host.h"
#include "soft/builtins.h"
#include "soft/sane.h"

using namespace orvane::soft;

int soft_light_version() { return 1; }

static miScalar spot_share(miState* state, miTag light, miScalar inner) {
    miVector axis;
    miScalar outer;
    const miScalar* to_world;
    if (!mi_query(miQ_LIGHT_DIRECTION, state, light, &axis) ||
        !mi_query(miQ_LIGHT_SPREAD, state, light, &outer) ||
        !mi_query(miQ_INST_LOCAL_TO_GLOBAL, state, state->light_instance, &to_world))
        return 1;

    miVector dir;
    mi_vector_to_world(state, &dir, &state->dir);
    mi_vector_transform(&axis, &axis, to_world);
    const miScalar cosine = dot(normalized(axis), normalized(dir));
    if (cosine <= outer) return 0;
    if (!(inner > outer) || cosine >= inner) return 1;
    const miScalar x = (cosine - outer) / (inner - outer);
    return x * x * (3 - 2 * x);
}

// Distances below a thousandth count as a thousandth: the light stays finite.
static miScalar distance_share(const miState* state, miScalar falloff) {
    if (finite(falloff) == 0) return 1;
    return std::pow(static_cast<miScalar>(std::max(state->dist, 1e-3)), -falloff);
}

miBoolean soft_light(miColor* result, miState* state, soft_light_params* params) {
    miTag light = miNULLTAG;
    int type = miLIGHT_POINT;
    mi_query(miQ_INST_ITEM, state, state->light_instance, &light);
    mi_query(miQ_LIGHT_TYPE, state, light, &type);

    miScalar factor = params->intensity;
    if (type == miLIGHT_SPOT) factor *= spot_share(state, light, params->inner);
    if (type != miLIGHT_DIRECTIONAL) factor *= distance_share(state, params->falloff);

    *result = params->color;
    scale_rgb(result, factor);
    *result = finite(*result);
    if (result->r == 0 && result->g == 0 && result->b == 0) return miFALSE;
    return params->shadow ? mi_trace_shadow(result, state) : miTRUE;
}
