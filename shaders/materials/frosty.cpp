// zel_frosty: frosted glass and brushed mirrors, by several reflected and refracted rays a hit.
//
// Each ray goes along
//
//     d = r + spread q,  q one quasi-random point of the unit cube
//
// brought to unit length, around the ideal direction r. q is not centred: all rays lie to the
// positive side of r in x, y and z of internal space, which shifts what is seen a little.
//
// The surface is lit first, by Lambert with Phong or Blinn highlights, or shows its diffuse colour
// as it is where the model is 0. It becomes more opaque towards grazing angles and in highlights:
//
//     t' = t - specular_opacity sum(highlight) - edge_opacity (1 - |cosine|)^2
//
// A count of rays of 0 or less traces none: the surface is dimmed by what it would mirror or let
// through, and nothing is added. At most 4096 rays are traced. Channels of the result that would
// not be finite are 0.

#include <algorithm>
#include <cmath>

#include "frame/surface.h"
#include "materials/depth.h"
#include "materials/finite.h"

extern "C" {

struct zel_frosty_params {
    soft_material_params material;
    miScalar reflect_spread;  // edge of the cube that reflected rays go through
    miInteger reflect_samples;
    miInteger reflect_tint;  // 1: reflections are multiplied by diffuse
    miScalar refract_spread;
    miInteger refract_samples;
    miInteger refract_tint;
    miScalar edge_opacity;      // transparency lost at grazing angles
    miScalar specular_opacity;  // transparency lost per unit of highlight
};
static_assert(sizeof(zel_frosty_params) == (49 + 8) * 4);

int zel_frosty_version() { return 2; }

void zel_frosty_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "frosty");
}
}

namespace {

constexpr int kMostSamples = 4096;

// Adds the light of a list whose element k lies at index + k; its highlights, unless shine is NULL,
// to shine, and takes them from the transparency of work.
void add_lights(miColor* result, miColor* shine, miState* state, soft_material_params* work,
                miScalar specular_opacity, const miTag* light, miInteger index, miInteger count) {
    const bool shiny = work->model == miHIGHLIGHT_PHONG || work->model == miHIGHLIGHT_BLINN;
    for_each_light(state, light, index, count,
                   [&](const miColor& color, miVector dir, miScalar dot_nl, miTag) {
                       add_light(result, dot_nl, work->diffuse, color);
                       if (!shine || !shiny) return;
                       const miScalar strength = highlight(state, *work, &dir);
                       work->transparency -= strength * specular_opacity;
                       add_light(shine, strength, work->specular, color);
                   });
}

void illuminate(miColor* result, miColor* shine, miState* state, soft_material_params* work,
                const zel_frosty_params* params) {
    const bool flat = work->model == miHIGHLIGHT_NONE || state->options->no_secondary;
    *shine = {0, 0, 0, 0};
    *result = flat ? work->diffuse : work->ambient;
    if (!flat) {
        const soft_material_params& block = params->material;
        add_lights(result, shine, state, work, params->specular_opacity, block.light, block.i_light,
                   block.n_light);
        add_lights(result, nullptr, state, work, 0, block.diffuse_light, block.i_diffuse_light,
                   block.n_diffuse_light);
    }
    result->a = 1;
}

// The double products are rounded once, with the sum.
miVector jittered(miState* state, const miVector& ideal, miScalar spread) {
    double q[3];
    mi_sample(q, nullptr, state, 3, nullptr);
    return normalized({static_cast<miScalar>(ideal.x + spread * q[0]),
                       static_cast<miScalar>(ideal.y + spread * q[1]),
                       static_cast<miScalar>(ideal.z + spread * q[2])});
}

void add(miColor* sum, const miColor& c) {
    *sum = {sum->r + c.r, sum->g + c.g, sum->b + c.b, sum->a + c.a};
}

miScalar share_of(miScalar amount, int samples) { return amount / static_cast<miScalar>(samples); }

miColor tint_of(miInteger tinted, const soft_material_params& work) {
    return tinted == 1 ? work.diffuse : miColor{1, 1, 1, 1};
}

void reflect(miColor* result, miState* state, const soft_material_params& work,
             const zel_frosty_params* params) {
    if (!(work.reflectivity > 0)) return;
    scale_rgb(result, 1 - work.reflectivity);
    const int samples = std::min(params->reflect_samples, kMostSamples);
    if (samples <= 0 || !may_reflect(state)) return;

    miVector ideal;
    mi_reflection_dir(&ideal, state);
    miColor sum = {0, 0, 0, 0}, seen;
    for (int k = 0; k < samples; ++k) {
        miVector dir = jittered(state, ideal, params->reflect_spread);
        if ((!work.environment_only && mi_trace_reflection(&seen, state, &dir)) ||
            mi_trace_environment(&seen, state, &dir))
            add(&sum, seen);
    }
    add_light(result, share_of(work.reflectivity, samples), sum,
              tint_of(params->reflect_tint, work));
}

// Nothing is added under total internal reflection. The state is left one refraction level higher
// up.
void refract(miColor* result, miState* state, const soft_material_params& work,
             const zel_frosty_params* params, miScalar ior_in, miScalar ior_out) {
    const miScalar t = work.transparency;
    if (!(t > 0)) return;
    scale_rgb(result, 1 - t);
    result->a *= 1 - t;
    if (state->options->no_secondary) return;

    --state->refraction_level;
    miVector ideal;
    const int samples = std::min(params->refract_samples, kMostSamples);
    if (!mi_refraction_dir(&ideal, state, ior_in, ior_out) || samples <= 0) return;
    miColor sum = {0, 0, 0, 0}, seen;
    for (int k = 0; k < samples; ++k) {
        miVector dir = jittered(state, ideal, params->refract_spread);
        if (mi_trace_refraction(&seen, state, &dir) || mi_trace_environment(&seen, state, &dir))
            add(&sum, seen);
    }
    const miScalar share = share_of(t, samples);
    add_light(result, share, sum, tint_of(params->refract_tint, work));
    result->a += share * sum.a;
}

}  // namespace

extern "C" {

miBoolean zel_frosty(miColor* result, miState* state, zel_frosty_params* params) {
    soft_material_params work = params->material;
    miBegun begun;
    if (!begin_material(result, state, &work, &params->material, miBLURRED, &begun))
        return begun.answer;
    miColor shine;
    illuminate(result, &shine, state, &work, params);
    reflect(result, state, work, params);
    *result = {result->r + shine.r, result->g + shine.g, result->b + shine.b, result->a};

    // A highlight may have taken more than there was: then nothing is traced or dimmed.
    if (work.transparency >= 0) {
        const miScalar edge = 1 - std::fabs(state->dot_nd);
        work.transparency = work.transparency - edge * edge * params->edge_opacity;
        refract(result, state, work, params, begun.ior_in, begun.ior_out);
    }
    keep_finite(result);
    return miTRUE;
}
}
