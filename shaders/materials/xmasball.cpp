// zel_xmasball: the outside material with a metallic reflection, as of a Christmas bauble.
//
// With the reflected colour R, reflectivity k and diffuse colour D, where the outside material has
// (1 - k) C + k R this has
//
//     (1 - k) C + k (tint D R + (1 - tint) R)
//
// and R is made grey before if that is asked for. The block's fresnel has no part in k. The
// reflection is traced even where k is 0. Channels that would not be finite are 0.

#include "frame/surface.h"
#include "materials/finite.h"

extern "C" {

struct zel_xmasball_params {
    soft_material_params material;
    miScalar tint;              // 0: reflections keep their colour .. 1: times diffuse
    miBoolean grey_reflection;  // reflections lose their colour before that
};
static_assert(sizeof(zel_xmasball_params) == (49 + 2) * 4);

int zel_xmasball_version() { return 2; }

void zel_xmasball_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "xmasball");
}
}

namespace {

void reflect(miColor* result, miState* state, const soft_material_params& work,
             const zel_xmasball_params* params) {
    // A full reflection replaces what it is blended with.
    soft_material_params mirror = work;
    mirror.reflectivity = 1;
    miColor seen = {0, 0, 0, 0};
    mi_mtl_reflection(&seen, state, &mirror);
    if (params->grey_reflection) seen.r = seen.g = seen.b = static_cast<miScalar>(mean(seen));

    const miScalar k = work.reflectivity, tint = params->tint;
    const miColor& d = mirror.diffuse;
    scale_rgb(result, 1 - k);
    result->r += k * (d.r * seen.r * tint + (1 - tint) * seen.r);
    result->g += k * (d.g * seen.g * tint + (1 - tint) * seen.g);
    result->b += k * (d.b * seen.b * tint + (1 - tint) * seen.b);
}

}  // namespace

extern "C" {

miBoolean zel_xmasball(miColor* result, miState* state, zel_xmasball_params* params) {
    soft_material_params work = params->material;
    miBegun begun;
    if (!begin_material(result, state, &work, &params->material, miBLURRED, &begun))
        return begun.answer;
    mi_mtl_illumination(result, state, &work, &params->material, begun.ior_in, begun.ior_out);
    reflect(result, state, work, params);
    mi_mtl_refraction(result, state, &work, begun.ior_in, begun.ior_out);
    keep_finite(result);
    return miTRUE;
}
}
