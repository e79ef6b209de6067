// zel_toon_wire_mat: the shading of the outside material, with outlines and with creases that may
// follow the edges of polygons. Channels of the result that would not be finite are 0.

#include "materials/finite.h"
#include "toon/contour.h"
#include "toon/toon_material.h"

extern "C" {

struct zel_toon_wire_mat_params {
    soft_material_params material;
    miScalar line_width;    // factor on the lens's line width
    miScalar normal_scale;  // multiplies the geometric normal that is recorded
    miColor line_color;
    miInteger faceted;           // 1: shaded with the geometric normal
    miInteger record_geometric;  // 1: creases are found by the geometric normal
};
static_assert(sizeof(zel_toon_wire_mat_params) == (49 + 8) * 4);

int zel_toon_wire_mat_version() { return 4; }

void zel_toon_wire_mat_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "toon");
}
}

namespace {

void record(miColor* result, miState* state, const zel_toon_wire_mat_params* params,
            miScalar transparency) {
    zel_toon_record lines;
    begin_record(&lines, params->line_width, params->line_color, transparency);
    zel_ct_set(state, result, &lines);
}

}  // namespace

extern "C" {

// Leaves state->normal as it recorded it.
miBoolean zel_toon_wire_mat(miColor* result, miState* state, zel_toon_wire_mat_params* params) {
    const miVector normal = state->normal, normal_geom = state->normal_geom;
    if (params->faceted == 1) state->normal = normal_geom;
    soft_material_params work = params->material;
    miBegun begun;
    if (!begin_material(result, state, &work, &params->material, miSHARP, &begun))
        return begun.answer;
    mi_mtl_illumination(result, state, &work, &params->material, begun.ior_in, begun.ior_out);
    mi_mtl_reflection(result, state, &work);
    mi_mtl_refraction(result, state, &work, begun.ior_in, begun.ior_out);
    keep_finite(result);
    if (state->type == miRAY_EYE && zel_ct_ray(state)) {
        state->normal = params->record_geometric == 1 ? normal_geom * params->normal_scale : normal;
        record(result, state, params, work.transparency);
    }
    return miTRUE;
}
}
