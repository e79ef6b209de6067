// Steps that materials over the mi_mtl_ functions share.
#pragma once

#include "frame/host.h"

enum miBlur : bool { miSHARP, miBLURRED };

// What a material learns of its ray first.
struct miBegun {
    miScalar ior_in = 1, ior_out = 1;
    miBoolean answer = miTRUE;  // to a shadow ray
};

// Asks for the indices of refraction unless state is of a shadow ray, and applies the block's
// textures, and its static blur when asked to, to work, a copy of the block. Answers shadow rays:
// false when it did. Then begun->answer is the result, and stays as it is where nothing casts a
// shadow.
static inline bool begin_material(miColor* result, miState* state, soft_material_params* work,
                                  soft_material_params* block, miBlur blur, miBegun* begun) {
    const bool shadow = state->type == miRAY_SHADOW;
    if (shadow && !mi_mtl_is_casting_shadow(state, block)) return false;
    if (!shadow) mi_mtl_refraction_index(state, block, &begun->ior_in, &begun->ior_out);
    mi_mtl_textures(state, work, block, &state->normal, &state->dot_nd);
    if (blur == miBLURRED) mi_mtl_static_blur(state, work);
    if (shadow) begun->answer = mi_mtl_compute_shadow(result, work);
    return !shadow;
}

// Calls shade(color, dir, dot_nl, light) for each light of a list that reaches the point, in order.
// Element k of a light array lies at index + k, maybe behind the block.
template <typename Shade>
static inline void for_each_light(miState* state, const miTag* light, miInteger index,
                                  miInteger count, Shade shade) {
    light += index;
    for (int k = 0; k < count; ++k) {
        miColor color;
        miVector dir;
        miScalar dot_nl;
        if (mi_trace_light(&color, &dir, &dot_nl, state, light[k]))
            shade(color, dir, dot_nl, light[k]);
    }
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
