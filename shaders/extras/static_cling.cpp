// static_cling: soft_material with veins drawn over it, which drift with the time.
//
// A vein (see vein.h) has the specular colour of the block, its edge the diffuse colour, fading out
// along a quarter of a sine; both unlit. Light and shadow rays pass as they are: as a shadow shader
// it takes no light.

#include "extras/vein.h"

extern "C" {

struct static_cling_params {
    soft_material_params material;
    vein_params vein;
    miScalar intensity;  // multiplies the weight of the veins
};
static_assert(sizeof(static_cling_params) == (49 + 7) * 4);

int static_cling_version() { return 2; }

// Channels that the veins would take out of the finite numbers stay those of the material.
miBoolean static_cling(miColor* result, miState* state, static_cling_params* params) {
    if (state->type == miRAY_LIGHT || state->type == miRAY_SHADOW) return miTRUE;

    const vein_place place = find_vein(state, params->vein);
    double weight = place.zone == vein_INSIDE ? 1 : 0;
    if (place.zone == vein_EDGE) weight = across_edge(place, params->vein, 1, 0);
    weight *= params->intensity;

    miColor seen = {0, 0, 0, 0};
    soft_material(&seen, state, params);
    const bool inside = place.zone == vein_INSIDE;
    if (weight != 0)
        qv_ColorFade(&seen, inside ? &params->material.specular : &params->material.diffuse,
                     weight);
    *result = seen;
    return miTRUE;
}
}
