// The built-in textures: soft_texture, a map that is scaled, moved, turned and tinted, and
// soft_checker, squares on the surface or cubes in space.

#include <cmath>

#include "frame/host.h"
#include "soft/builtins.h"
#include "soft/mapping.h"

using namespace orvane::soft;

int soft_texture_version() { return 1; }
int soft_checker_version() { return 1; }

miBoolean soft_texture(miColor* result, miState* state, soft_texture_params* params) {
    const Mapping mapping = make_mapping(params->scale, params->offset, params->rotation);
    miVector coord = map_point(mapping, texture_coordinates(state, params->space));
    miColor color;
    if (!mi_lookup_color_texture(&color, state, params->texture, &coord)) return miFALSE;
    filter_rgb(&color, params->gain.r, params->gain.g, params->gain.b);
    *result = finite(color);
    return miTRUE;
}

// Number of the cell that a coordinate lies in. Cells begin a little early, so that a plane that
// lies on the border of two cells lies in one of them for all roundings.
static miScalar cell(miScalar x) { return std::floor(x + 1e-4f); }

miBoolean soft_checker(miColor* result, miState* state, soft_checker_params* params) {
    const Mapping mapping = make_mapping(params->scale, params->offset, 0);
    miVector p;
    if (params->solid)
        mi_point_to_object(state, &p, &state->point);
    else
        p = texture_coordinates(state, params->space);
    p = map_point(mapping, p);

    const miScalar cells = cell(p.x) + cell(p.y) + (params->solid ? cell(p.z) : 0);
    const bool odd = std::fmod(finite(cells), 2.0f) != 0;
    *result = finite(odd ? params->odd : params->even);
    return miTRUE;
}
