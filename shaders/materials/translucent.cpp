// translucent_material: the shading of the outside material, through which light from behind shines
// as through paper, leaves or a lampshade.
//
// After the ordinary illumination the lights are asked again with the normal turned round, and each
// adds
//
//     (n.l) diffuse light f,  f = translucency, times the transparency where that is asked for
//
// without highlights. Channels of the result that would not be finite are 0.

#include "frame/surface.h"
#include "materials/finite.h"

extern "C" {

struct translucent_material_params {
    soft_material_params material;
    miScalar translucency;       // weight of the light from behind
    miBoolean use_transparency;  // multiplies translucency by the transparency
    miBoolean opaque;  // with use_transparency: nothing is seen through, shadows are solid
};
static_assert(sizeof(translucent_material_params) == (49 + 3) * 4);

int translucent_material_version() { return 2; }

// Adds the light from behind to result: with the colours of work, a copy of the block after its
// textures, and the lights of params. Takes what mi_mtl_illumination takes.
void translucent_illumination(miColor* result, miState* state, soft_material_params* work,
                              translucent_material_params* params, double ior_in, double ior_out);
}

namespace {

void add_lights(miColor* result, miState* state, const miColor& diffuse, miScalar factor,
                const miTag* light, miInteger index, miInteger count) {
    for_each_light(state, light, index, count,
                   [&](const miColor& color, miVector, miScalar dot_nl, miTag) {
                       result->r += dot_nl * diffuse.r * color.r * factor;
                       result->g += dot_nl * diffuse.g * color.g * factor;
                       result->b += dot_nl * diffuse.b * color.b * factor;
                   });
}

bool is_solid(const translucent_material_params* params) {
    return params->use_transparency && params->opaque;
}

void apply_textures(miState* state, soft_material_params* work,
                    translucent_material_params* params) {
    mi_mtl_textures(state, work, params, &state->normal, &state->dot_nd);
    mi_mtl_static_blur(state, work);
}

// Passes a shadow ray of segments on, then attenuates it.
miBoolean shade_shadow(miColor* result, miState* state, translucent_material_params* params) {
    if (state->options->shadow == miSHADOW_SEGMENTS) {
        miScalar ior_in, ior_out;
        mi_mtl_refraction_index(state, params, &ior_in, &ior_out);
        mi_trace_shadow_seg(result, state);
    }
    if (!mi_mtl_is_casting_shadow(state, params)) return miTRUE;

    soft_material_params work = params->material;
    apply_textures(state, &work, params);
    if (is_solid(params)) work.transparency = 0;
    return mi_mtl_compute_shadow(result, &work);
}

}  // namespace

extern "C" {

// Leaves state->dot_nd as it is, and state->normal as it was.
void translucent_illumination(miColor* result, miState* state, soft_material_params* work,
                              translucent_material_params* params, double, double) {
    const miVector normal = state->normal;
    state->normal = -normal;
    miScalar factor = params->translucency;
    if (params->use_transparency) factor *= work->transparency;
    const soft_material_params& block = params->material;
    add_lights(result, state, work->diffuse, factor, block.light, block.i_light, block.n_light);
    add_lights(result, state, work->diffuse, factor, block.diffuse_light, block.i_diffuse_light,
               block.n_diffuse_light);
    state->normal = normal;
}

miBoolean translucent_material(miColor* result, miState* state,
                               translucent_material_params* params) {
    if (state->type == miRAY_SHADOW) return shade_shadow(result, state, params);

    miScalar ior_in, ior_out;
    mi_mtl_refraction_index(state, params, &ior_in, &ior_out);
    soft_material_params work = params->material;
    apply_textures(state, &work, params);
    mi_mtl_illumination(result, state, &work, params, ior_in, ior_out);
    translucent_illumination(result, state, &work, params, ior_in, ior_out);
    mi_mtl_reflection(result, state, &work);
    if (!is_solid(params)) mi_mtl_refraction(result, state, &work, ior_in, ior_out);
    keep_finite(result);
    return miTRUE;
}
}
