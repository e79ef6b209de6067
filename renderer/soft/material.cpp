// The built-in materials.
//
// soft_material: ambient, diffuse and highlight, reflection and refraction, with maps: what the
// mi_mtl_ functions do, one after the other. soft_constant: one colour, lit or not.

#include "frame/host.h"
#include "soft/builtins.h"
#include "soft/sane.h"

int soft_material_version() { return 1; }
int soft_constant_version() { return 1; }

static miBoolean shade_shadow(miColor* result, miState* state, void* params) {
    miScalar ior_in, ior_out;
    if (state->options->shadow == miSHADOW_SEGMENTS) {
        mi_mtl_refraction_index(state, params, &ior_in, &ior_out);
        mi_trace_shadow_seg(result, state);
    }
    if (!mi_mtl_is_casting_shadow(state, params)) return miTRUE;

    soft_material_params work = *static_cast<const soft_material_params*>(params);
    mi_mtl_textures(state, &work, params, &state->normal, &state->dot_nd);
    return mi_mtl_compute_shadow(result, &work);
}

miBoolean soft_material(miColor* result, miState* state, void* params) {
    if (state->type == miRAY_SHADOW) return shade_shadow(result, state, params);

    miScalar ior_in, ior_out;
    mi_mtl_refraction_index(state, params, &ior_in, &ior_out);
    soft_material_params work = *static_cast<const soft_material_params*>(params);
    mi_mtl_textures(state, &work, params, &state->normal, &state->dot_nd);
    mi_mtl_static_blur(state, &work);
    mi_mtl_illumination(result, state, &work, params, ior_in, ior_out);
    mi_mtl_reflection(result, state, &work);
    mi_mtl_refraction(result, state, &work, ior_in, ior_out);
    return miTRUE;
}

miBoolean soft_constant(miColor* result, miState* state, soft_constant_params* params) {
    if (state->type == miRAY_SHADOW) {
        result->r = result->g = result->b = 0;
        return miFALSE;
    }
    *result = orvane::soft::finite(params->color);
    return miTRUE;
}
