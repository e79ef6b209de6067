// zel_peekaboo: the shading of the outside material, which opens up where a peek light falls.
//
// A peek light lights nothing. Where it arrives, the surface becomes more transparent:
//
//     transparency += (r + g + b) / 3 * peek_strength
//
// A light peeks when it is in the list of peek lights as well as in one of the block's two lists,
// and once for each of these. All other lights give ambient, diffuse and specular light as usual,
// but without the block's ambience. Alpha tells the transparency before any peeking.
//
// Channels of the result that would not be finite are 0.

#include "frame/surface.h"
#include "materials/finite.h"

extern "C" {

struct zel_peekaboo_params {
    soft_material_params material;
    miScalar peek_strength;  // transparency per unit of a peek light's mean
    miInteger i_peek;
    miInteger n_peek;
    miTag peek[1];  // light instances
};
static_assert(sizeof(zel_peekaboo_params) == (49 + 4) * 4);

int zel_peekaboo_version() { return 2; }

void zel_peekaboo_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "peekaboo");
}

// Sets result, and raises the transparency of work, a copy of the block after its textures. The
// colours are those of work, the lights those of params.
void zel_peekaboo_illumination(miColor* result, miState* state, soft_material_params* work,
                               zel_peekaboo_params* params);
}

namespace {

bool peeks(const zel_peekaboo_params* params, miTag light) {
    const miTag* peek = params->peek + params->i_peek;
    for (int k = 0; k < params->n_peek; ++k)
        if (peek[k] == light) return true;
    return false;
}

// Adds the lights of a list whose element k lies at index + k.
void add_lights(miColor* result, miState* state, soft_material_params* work,
                const zel_peekaboo_params* params, const miTag* light, miInteger index,
                miInteger count, bool highlights) {
    for_each_light(state, light, index, count,
                   [&](const miColor& color, miVector dir, miScalar dot_nl, miTag peeker) {
                       if (peeks(params, peeker)) {
                           work->transparency = static_cast<miScalar>(
                               work->transparency + mean(color) * params->peek_strength);
                           return;
                       }
                       add_light(result, dot_nl, work->diffuse, color);
                       if (highlights)
                           add_light(result, highlight(state, *work, &dir), work->specular, color);
                   });
}

}  // namespace

extern "C" {

void zel_peekaboo_illumination(miColor* result, miState* state, soft_material_params* work,
                               zel_peekaboo_params* params) {
    *result = work->ambient;
    result->a = 1 - work->transparency;
    const soft_material_params& block = params->material;
    add_lights(result, state, work, params, block.light, block.i_light, block.n_light, true);
    add_lights(result, state, work, params, block.diffuse_light, block.i_diffuse_light,
               block.n_diffuse_light, false);
}

// Shadows know nothing of peek lights.
miBoolean zel_peekaboo(miColor* result, miState* state, zel_peekaboo_params* params) {
    soft_material_params work = params->material;
    miBegun begun;
    if (!begin_material(result, state, &work, &params->material, miBLURRED, &begun))
        return begun.answer;
    zel_peekaboo_illumination(result, state, &work, params);
    mi_mtl_reflection(result, state, &work);
    mi_mtl_refraction(result, state, &work, begun.ior_in, begun.ior_out);
    keep_finite(result);
    return miTRUE;
}
}
