// Steps that materials over the mi_mtl_ functions share.
#pragma once

#include "frame/host.h"

enum miBlur : bool { miSHARP, miBLURRED };

// Asks for the indices of refraction unless state is of a shadow ray, and applies the block's
// textures, and its static blur when asked to, to work, a copy of the block. Answers shadow rays:
// false when it did. Then *answer is the result, and stays as it is where nothing casts a shadow.
static inline bool begin_material(miColor* result, miState* state, soft_material_params* work,
                                  soft_material_params* block, miBlur blur, miScalar* ior_in,
                                  miScalar* ior_out, miBoolean* answer) {
    const bool shadow = state->type == miRAY_SHADOW;
    if (shadow && !mi_mtl_is_casting_shadow(state, block)) return false;
    if (!shadow) mi_mtl_refraction_index(state, block, ior_in, ior_out);
    mi_mtl_textures(state, work, block, &state->normal, &state->dot_nd);
    if (blur == miBLURRED) mi_mtl_static_blur(state, work);
    if (shadow) *answer = mi_mtl_compute_shadow(result, work);
    return !shadow;
}

// Adds weight * surface * light to r, g and b.
static inline void add_light(miColor* to, miScalar weight, const miColor& surface,
                             const miColor& light) {
    to->r += weight * surface.r * light.r;
    to->g += weight * surface.g * light.g;
    to->b += weight * surface.b * light.b;
}

// The highlight of a light in direction dir by the model of a block; 0 for models without one.
static inline miScalar highlight(miState* state, const soft_material_params& work, miVector* dir) {
    if (work.model == miHIGHLIGHT_PHONG) return mi_phong_specular(work.exponent, state, dir);
    if (work.model == miHIGHLIGHT_BLINN) return mi_blong_specular(work.exponent, state, dir);
    return 0;
}

// The sum of r, g and b is of single precision, the division of double.
static inline double mean(const miColor& c) { return (c.r + c.g + c.b) / 3.0; }
