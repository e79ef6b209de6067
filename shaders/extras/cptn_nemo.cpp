// cptn_nemo: soft_material with veins cut out of it, which drift with the time.
//
// Its transparency is 1 in a vein (see vein.h) and 0 away from it; across the edge it falls from 1
// to sharpness, along a quarter of a sine. As a shadow shader it lets light through the same holes.

#include <cmath>
#include <cstddef>
#include <cstring>

#include "extras/vein.h"

extern "C" {

struct cptn_nemo_params {
    soft_material_params material;  // but for its transparency
    vein_params vein;
};
static_assert(sizeof(cptn_nemo_params) == (49 + 6) * 4);

int cptn_nemo_version() { return 2; }

void cptn_nemo_init(miState*, cptn_nemo_params* params, miBoolean* inst_req) {
    if (inst_req) {
        *inst_req = miTRUE;
        return;
    }
    const vein_params& vein = params->vein;
    mi_info(" ---- cptn_nemo ----\n");
    mi_info("  Scaling    : %f\n", vein.scaling);
    mi_info("  Sharpness  : %f\n", vein.sharpness);
    mi_info("  Thickness  : %f\n", vein.thickness);
    mi_info("  Speed      : %f\n", vein.speed);
    mi_info("  Glow       : %f\n", vein.glow);
    mi_info("  Complexity : %d\n", vein.complexity);
    mi_info(" -------------------\n\n");
}
}

// An opacity that is no finite number is 1.
static double opacity(miState* state, const vein_params& params) {
    const vein_place place = find_vein(state, params);
    if (place.zone == vein_INSIDE) return 0;
    const double v = place.zone == vein_EDGE ? across_edge(place, params, 0, 1) : 1;
    return std::isfinite(v) ? v : 1;
}

extern "C" {

// The copy that soft_material gets holds the arrays' storage behind the block too: the light arrays
// are found by their distance from the block. A block that has no room in it ends the render.
miBoolean cptn_nemo(miColor* result, miState* state, cptn_nemo_params* params) {
    alignas(cptn_nemo_params) std::byte copy[8192];
    const auto size = static_cast<std::size_t>(state->shader->parameter_size);
    if (size > sizeof copy)
        mi_fatal("cptn_nemo: %d bytes of parameters, but there is room for %d: use fewer lights\n",
                 state->shader->parameter_size, static_cast<int>(sizeof copy));
    std::memcpy(copy, params, size);
    reinterpret_cast<soft_material_params*>(copy)->transparency =
        static_cast<miScalar>(1 - opacity(state, params->vein));
    return soft_material(result, state, copy);
}
}
