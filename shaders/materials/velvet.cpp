// zel_velvet: velvet, moss or peach skin, whose colour changes with the viewing angle.
//
// With the colour B of the outside material and c = 1 where the surface faces the ray, 0 where it
// turns away from it, the result is
//
//     (1 - strength) B + strength (c face_color + (1 - c) edge_color B)
//
// face_color is there without light. Shadow rays are blended alike: a velvet that is its own
// shadow shader lets light of its face_color through; soft_material does not. Channels that would
// not be finite are 0.

#include "frame/surface.h"
#include "materials/finite.h"

extern "C" {

struct zel_velvet_params {
    soft_material_params material;
    miScalar strength;   // 0: the outside material .. 1: velvet alone
    miColor edge_color;  // multiplies the material's colour; alphas are not read
    miColor face_color;
};
static_assert(sizeof(zel_velvet_params) == (49 + 9) * 4);

int zel_velvet_version() { return 2; }

void zel_velvet_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "velvet");
}

// Alpha is that of soft_material.
miBoolean zel_velvet(miColor* result, miState* state, zel_velvet_params* params) {
    const miScalar k = 1 - params->strength;
    soft_material(result, state, &params->material);
    const miScalar c = -state->dot_nd;  // the material's bumps included
    const auto blend = [&](miScalar b, miScalar face, miScalar edge) {
        return b * k + (1 - k) * (c * face + b * (1 - c) * edge);
    };
    result->r = blend(result->r, params->face_color.r, params->edge_color.r);
    result->g = blend(result->g, params->face_color.g, params->edge_color.g);
    result->b = blend(result->b, params->face_color.b, params->edge_color.b);
    keep_finite(result);
    return miTRUE;
}
}
