// zel_toon_si_mat: Lambert, Phong or Blinn shading with outlines and creases by the toon lens.
//
// The model of the block chooses: 0 shows the diffuse colour as it is, 2 adds Phong highlights,
// 3 Blinn highlights, any other value is Lambert alone. The lights of the second list give no
// highlights. Channels of the result that would not be finite are 0.

#include "materials/finite.h"
#include "toon/contour.h"
#include "toon/toon_material.h"

extern "C" {

struct zel_toon_si_mat_params {
    soft_material_params material;
    miScalar line_width;    // factor on the lens's line width
    miScalar normal_scale;  // multiplies the normal that creases are found by
    miColor line_color;
    miInteger i_group;  // objects that no outline is drawn against
    miInteger n_group;
    zel_toon_grouped group[1];
    miScalar light_tint;  // > 0 adds the light to lines, < 0 multiplies them by it
};
static_assert(sizeof(zel_toon_si_mat_params) == (49 + 11) * 4);

int zel_toon_si_mat_version() { return 4; }

void zel_toon_si_mat_init(miState*, zel_toon_si_mat_params* params, miBoolean* inst_req) {
    if (!params) {
        mi_info("%s initializing\n", "toon_si_mat");
        *inst_req = miTRUE;
    } else if (params->n_group > kMostGrouped) {
        mi_warning("toon_si_mat: only %d models may be grouped\n", kMostGrouped);
    }
}
}

namespace {

// Adds the light of a list whose element k lies at index + k, also to light_sum.
void add_lights(miColor* result, miState* state, const soft_material_params& work,
                const miTag* light, miInteger index, miInteger count, bool highlights,
                miColor* light_sum) {
    for_each_light(state, light, index, count,
                   [&](const miColor& color, miVector dir, miScalar dot_nl, miTag) {
                       *light_sum = {light_sum->r + color.r, light_sum->g + color.g,
                                     light_sum->b + color.b, 0};
                       add_light(result, dot_nl, work.diffuse, color);
                       if (highlights)
                           add_light(result, highlight(state, work, &dir), work.specular, color);
                   });
}

void shade(miColor* result, miState* state, const soft_material_params& work,
           const soft_material_params& block, miColor* light_sum) {
    if (work.transparency >= 1) {
        *result = {0, 0, 0, 0};
        return;
    }
    *result = work.model == miHIGHLIGHT_NONE ? work.diffuse : work.ambient;
    if (work.model != miHIGHLIGHT_NONE) {
        add_lights(result, state, work, block.light, block.i_light, block.n_light, true, light_sum);
        add_lights(result, state, work, block.diffuse_light, block.i_diffuse_light,
                   block.n_diffuse_light, false, light_sum);
    }
    result->a = 1;
}

void record(miColor* result, miState* state, const zel_toon_si_mat_params* params,
            const miColor& light_sum, miScalar transparency) {
    miColor line = params->line_color;
    if (params->light_tint != 0) zel_toon_tint_line(&line, &light_sum, params->light_tint);
    zel_toon_record lines;
    begin_record(&lines, params->line_width, line, transparency);
    copy_group(&lines, params->group, params->i_group, params->n_group);
    if (params->normal_scale != 1) state->normal = state->normal * params->normal_scale;
    zel_ct_set(state, result, &lines);
}

}  // namespace

extern "C" {

miBoolean zel_toon_si_mat(miColor* result, miState* state, zel_toon_si_mat_params* params) {
    soft_material_params work = params->material;
    miBegun begun;
    if (!begin_material(result, state, &work, &params->material, miSHARP, &begun))
        return begun.answer;
    miColor light_sum = {0, 0, 0, 0};
    shade(result, state, work, params->material, &light_sum);
    mi_mtl_reflection(result, state, &work);
    mi_mtl_refraction(result, state, &work, begun.ior_in, begun.ior_out);
    keep_finite(result);
    if (state->type == miRAY_EYE && zel_ct_ray(state))
        record(result, state, params, light_sum, work.transparency);
    return miTRUE;
}
}
