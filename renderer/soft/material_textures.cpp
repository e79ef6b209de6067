// mi_mtl_textures: the maps of the outside material's block.
//
// The colour maps multiply what they belong to. The bump map bends the normal n as if the
// surface were raised by h along it (Blinn, "Simulation of Wrinkled Surfaces", 1978), written
// with the gradient of h over the surface, for coordinates u, v along the tangents Pu, Pv:
//
//     n' = n - strength * (dh/du (Pv x n) + dh/dv (n x Pu)) / (n . (Pu x Pv))
//
// so that skewed and mirrored coordinates come out right.

#include <algorithm>
#include <cmath>

#include "frame/host.h"
#include "soft/mapping.h"

namespace orvane::soft {

// Half the distance, in the map's coordinates, over which the slope of a bump map is taken:
// below the pixel size of common maps, above the rounding of coordinates up to some hundreds.
static constexpr miScalar kBumpStep = 1.0f / 1024;

// A bent normal that would turn away from the ray is held at this cosine.
static constexpr miScalar kGrazing = 1e-3f;

static miScalar mean(const miColor& c) { return (c.r + c.g + c.b) / 3; }

static bool look_up(miColor* color, miState* state, miTag map, miVector coord) {
    if (map == miNULLTAG || !mi_lookup_color_texture(color, state, map, &coord)) return false;
    *color = finite(*color);
    return true;
}

static void apply_color_maps(soft_material_params* work, miState* state,
                             const soft_material_params* block, const miVector& coord) {
    miColor c;
    if (look_up(&c, state, block->diffuse_map, coord)) {
        filter_rgb(&work->ambient, c.r, c.g, c.b);
        filter_rgb(&work->diffuse, c.r, c.g, c.b);
    }
    if (look_up(&c, state, block->specular_map, coord)) filter_rgb(&work->specular, c.r, c.g, c.b);
    if (look_up(&c, state, block->transparency_map, coord)) work->transparency *= mean(c);
    if (look_up(&c, state, block->reflectivity_map, coord)) work->reflectivity *= mean(c);
}

// How the map's height changes with its two coordinates, by central differences.
static bool map_slopes(miScalar* along_s, miScalar* along_t, miState* state, miTag map,
                       const miVector& at) {
    miColor left, right, below, above;
    if (!look_up(&left, state, map, {at.x - kBumpStep, at.y, at.z}) ||
        !look_up(&right, state, map, {at.x + kBumpStep, at.y, at.z}) ||
        !look_up(&below, state, map, {at.x, at.y - kBumpStep, at.z}) ||
        !look_up(&above, state, map, {at.x, at.y + kBumpStep, at.z}))
        return false;
    *along_s = (mean(right) - mean(left)) / (2 * kBumpStep);
    *along_t = (mean(above) - mean(below)) / (2 * kBumpStep);
    return true;
}

static miVector kept_towards_ray(const miVector& normal, const miVector& dir) {
    const miScalar cosine = dot(normal, dir);
    return cosine < 0 ? normal : normalized(normal - dir * (cosine + kGrazing));
}

static void apply_bump_map(miState* state, const soft_material_params* block,
                           const Mapping& mapping, const miVector& coord) {
    miScalar along_s, along_t;
    if (!map_slopes(&along_s, &along_t, state, block->bump_map, coord)) return;
    if (along_s == 0 && along_t == 0) return;

    // Take the slopes back from the map's coordinates to the surface's.
    const miScalar along_u = mapping.scale.x * (along_s * mapping.cosine + along_t * mapping.sine);
    const miScalar along_v = mapping.scale.y * (along_t * mapping.cosine - along_s * mapping.sine);

    miVector du, dv;
    if (!mi_tex_basis(state, block->texture_space, &du, &dv)) return;
    const miVector n = state->normal;
    const miVector rise = cross(dv, n) * along_u + cross(n, du) * along_v;

    // Heights rise on the front: seen from the back the same bump is a dent.
    const miScalar strength = state->inside ? -block->bump_strength : block->bump_strength;
    const miVector bent = normalized(n - rise * (strength / dot(n, cross(du, dv))));
    if (!(dot(bent, bent) > 0)) return;  // degenerate coordinates: not a number
    state->normal = kept_towards_ray(bent, state->dir);
    state->dot_nd = std::clamp(dot(state->normal, state->dir), -1.0f, 1.0f);
}

}  // namespace orvane::soft

// The maps are those of params, the values that they multiply those of work. A look-up that
// gives nothing, such as that of a projector beside its slide, changes nothing. The bent normal
// and its cosine become the state's, and are handed out through normal and dot_nd too where
// these are not NULL.
void mi_mtl_textures(miState* state, void* work, void* params, miVector* normal, miScalar* dot_nd) {
    using namespace orvane::soft;
    const auto* block = static_cast<const soft_material_params*>(params);
    if (block->diffuse_map || block->specular_map || block->transparency_map ||
        block->reflectivity_map || block->bump_map) {
        const Mapping mapping =
            make_mapping(block->texture_scale, block->texture_offset, block->texture_rotation);
        const miVector coord = map_point(mapping, texture_coordinates(state, block->texture_space));
        apply_color_maps(static_cast<soft_material_params*>(work), state, block, coord);
        apply_bump_map(state, block, mapping, coord);
    }
    if (normal) *normal = state->normal;
    if (dot_nd) *dot_nd = state->dot_nd;
}
