// zel_trispec: highlights of three lobes, which look split, streaked or iridescent.
//
// The lobes of a light in direction l stand at l, l + s and l - s for the unit vector s along
// "split"; each has its own colour, and the two at the sides a common weight. s is taken to object
// space and then added to directions of internal space as it is, and the sums are not brought back
// to unit length: that is the look.
//
// Any model but Blinn means Phong. Channels that would not be finite are 0, those of the highlights
// before they are added.

#include "frame/surface.h"
#include "materials/finite.h"

extern "C" {

struct zel_trispec_params {
    soft_material_params material;
    miScalar side_weight;      // factor on both side lobes
    miColor main_color;        // of the lobe at the light; alphas are not read
    miColor side_color_plus;   // of the lobe towards +split
    miColor side_color_minus;  // of the lobe towards -split
    miVector split;            // its length does not matter; 0 does not split
};
static_assert(sizeof(zel_trispec_params) == (49 + 16) * 4);

int zel_trispec_version() { return 2; }

void zel_trispec_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "trispec");
}
}

namespace {

// Adds the three lobes of a light in direction dir.
void add_lobes(miColor* shine, miState* state, const soft_material_params& work,
               const zel_trispec_params* params, miVector dir, const miVector& split,
               const miColor& light) {
    const auto lobe = work.model == miHIGHLIGHT_BLINN ? mi_blong_specular : mi_phong_specular;
    miVector towards = dir + split, away = dir - split;
    const miScalar k = lobe(work.exponent, state, &dir);
    const miScalar k_plus = params->side_weight * lobe(work.exponent, state, &towards);
    const miScalar k_minus = params->side_weight * lobe(work.exponent, state, &away);

    const miColor& main = params->main_color;
    const miColor& plus = params->side_color_plus;
    const miColor& minus = params->side_color_minus;
    const miColor lobes = {k * main.r + k_plus * plus.r + k_minus * minus.r,
                           k * main.g + k_plus * plus.g + k_minus * minus.g,
                           k * main.b + k_plus * plus.b + k_minus * minus.b, 0};
    shine->r += work.specular.r * light.r * lobes.r;
    shine->g += work.specular.g * light.g * lobes.g;
    shine->b += work.specular.b * light.b * lobes.b;
}

// Sets result to ambient and diffuse light and shine to the highlights. Element k of a light array
// lies at index + k, maybe behind the block.
void illuminate(miColor* result, miColor* shine, miState* state, const soft_material_params& work,
                const zel_trispec_params* params) {
    *result = work.ambient;
    *shine = {0, 0, 0, 0};
    miVector split = normalized(params->split);
    mi_vector_to_object(state, &split, &split);
    const soft_material_params& block = params->material;
    for_each_light(state, block.light, block.i_light, block.n_light,
                   [&](const miColor& color, miVector dir, miScalar dot_nl, miTag) {
                       add_light(result, dot_nl, work.diffuse, color);
                       add_lobes(shine, state, work, params, dir, split, color);
                   });
    for_each_light(state, block.diffuse_light, block.i_diffuse_light, block.n_diffuse_light,
                   [&](const miColor& color, miVector, miScalar dot_nl, miTag) {
                       add_light(result, dot_nl, work.diffuse, color);
                   });
    result->a = 1;
}

}  // namespace

extern "C" {

// Answers miFALSE to a shadow ray where it casts no shadow.
miBoolean zel_trispec(miColor* result, miState* state, zel_trispec_params* params) {
    soft_material_params work = params->material;
    miBegun begun = {.answer = miFALSE};
    if (!begin_material(result, state, &work, &params->material, miBLURRED, &begun))
        return begun.answer;
    miColor shine;
    illuminate(result, &shine, state, work, params);
    mi_mtl_reflection(result, state, &work);
    mi_mtl_refraction(result, state, &work, begun.ior_in, begun.ior_out);
    keep_finite(&shine);
    *result = {result->r + shine.r, result->g + shine.g, result->b + shine.b, result->a};
    keep_finite(result);
    return miTRUE;
}
}
