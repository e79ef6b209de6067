// Geometry of a hit.

#include "trace/hit.h"

#include <algorithm>
#include <cmath>

#include "trace/frame.h"

namespace orvane::trace {
namespace {

miVector to_vector(const std::array<float, 4>& p) { return {p[0], p[1], p[2]}; }
miVector to_vector(const scene::Vec3& p) { return {p.x, p.y, p.z}; }

miVector mixed(const miVector& a, const miVector& b, const miVector& c, float u, float v) {
    return a * (1 - u - v) + b * u + c * v;
}

template <typename Values>
miVector at_corners(const Values& values, const std::array<std::uint32_t, 3>& corner, float u,
                    float v) {
    return mixed(to_vector(values[corner[0]]), to_vector(values[corner[1]]),
                 to_vector(values[corner[2]]), u, v);
}

// A normal goes to the world with the transpose of the matrix from the world.
miVector normal_to_world(const miVector& n, const Imath::M44f& m) {
    return {n.x * m[0][0] + n.y * m[0][1] + n.z * m[0][2],
            n.x * m[1][0] + n.y * m[1][1] + n.z * m[1][2],
            n.x * m[2][0] + n.y * m[2][1] + n.z * m[2][2]};
}

miVector point_to_world(miVector p, const Imath::M44f& m) {
    mi_point_transform(&p, &p, m.getValue());
    return p;
}

float largest(const miVector& v) { return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}); }

// How far off a triangle rays begin. A point on it, and where a ray meets its plane, are rounded
// by some parts in 2^24 of its corners' coordinates, of the way to its instance and, where it
// moves, of the way along the ray.
float offset_of(const miState* state, const Shape& shape, const std::array<miVector, 3>& p) {
    float size = std::max(largest(state->point), 1e-4f);
    const Imath::M44f& m = shape.instance->local_to_world;
    for (const miVector& corner : p)
        size = std::max(size, largest(shape.baked ? corner : point_to_world(corner, m)));
    if (!shape.baked) size = std::max(size, largest({m[3][0], m[3][1], m[3][2]}));
    if (shape.moves) size = std::max(size, static_cast<float>(state->dist));
    return size * 0x1p-19f;
}

// The displacement of the hit point over the shutter interval.
miVector motion_of(const Shape& shape, const std::array<std::uint32_t, 3>& corner, const Hit& hit) {
    miVector from = at_corners(shape.mesh->position, corner, hit.u, hit.v);
    miVector to = from;
    if (!shape.mesh->motion.empty()) to = to + at_corners(shape.mesh->motion, corner, hit.u, hit.v);
    return point_to_world(to, shape.instance->motion_local_to_world) -
           point_to_world(from, shape.instance->local_to_world);
}

// The medium around the object that a ray is about to leave: that of the ray which entered it.
miTag medium_around(const miState* state) {
    for (const miState* at = state->parent; at; at = at->parent)
        if (at->instance == state->instance && !at->inside) return at->volume;
    return state->camera->volume;
}

void set_normals(miState* state, const Shape& shape, const Hit& hit,
                 const std::array<miVector, 3>& p, const std::array<std::uint32_t, 3>& corner) {
    const Imath::M44f& to_local = shape.instance->world_to_local;
    miVector flat = cross(p[1] - p[0], p[2] - p[0]);
    if (!shape.baked) flat = normal_to_world(flat, to_local);
    if (shape.mirrored) flat = -flat;
    flat = normalized(flat);
    state->inside = dot(flat, state->dir) > 0;
    if (state->inside) flat = -flat;
    state->normal = state->normal_geom = flat;
    if (!shape.mesh->normal.empty()) {
        const miVector smooth = normalized(
            normal_to_world(at_corners(shape.mesh->normal, corner, hit.u, hit.v), to_local));
        // A vertex without a normal takes the triangle's own.
        if (!is_zero(smooth) && std::isfinite(smooth.x))
            state->normal = dot(smooth, flat) < 0 ? -smooth : smooth;
    }
    state->dot_nd = std::clamp(dot(state->normal, state->dir), -1.0f, 1.0f);
}

}  // namespace

miVector off_surface(const miState* state, const miVector& point, const miVector& dir) {
    if (!state->pri) return point;
    const float cosine = dot(dir, state->normal_geom), steep = std::abs(cosine);
    const float along = state->pri_offset / std::max(steep, 0.125f);
    const float up = std::copysign(state->pri_offset - along * steep, cosine);
    return point + dir * along + state->normal_geom * up;
}

Segment segment_from(const miState* state, const miVector& org, const miVector& dir, float far) {
    const miVector begin = off_surface(state, org, dir);
    return {begin, dir, 0, far, state->time, dot(begin - org, dir), state->pri, state->pri_index};
}

const world::Material* fill_hit(miState* state, const Hit& hit) {
    const Shape& shape = *hit.shape;
    const scene::Mesh& mesh = *shape.mesh;
    const std::array<std::uint32_t, 3>& corner = mesh.triangle[hit.triangle];
    const std::array<miVector, 3> p = {to_vector(shape.vertices[corner[0]]),
                                       to_vector(shape.vertices[corner[1]]),
                                       to_vector(shape.vertices[corner[2]])};
    state->dist = static_cast<double>(hit.t);
    state->pri = &shape;
    state->pri_index = hit.triangle;
    state->bary[0] = hit.u;
    state->bary[1] = hit.v;
    state->instance = shape.instance->tag;
    state->label = shape.placement->label;

    // The point from the corners is nearer to the surface than the one along the ray.
    if (shape.moves) {
        state->point = state->org + state->dir * hit.t;
    } else {
        state->point = mixed(p[0], p[1], p[2], hit.u, hit.v);
        if (!shape.baked)
            state->point = point_to_world(state->point, shape.instance->local_to_world);
    }
    state->pri_offset = offset_of(state, shape, p);
    state->motion = shape.displaced ? motion_of(shape, corner, hit) : miVector{};
    set_normals(state, shape, hit, p, corner);
    state->tex =
        mesh.texture.empty() ? miVector{} : at_corners(mesh.texture[0], corner, hit.u, hit.v);

    const world::Material* material = shape.placement->material(hit.triangle, &state->material);
    const miTag own_medium = material ? material->volume : 0;
    state->refraction_volume = state->inside ? medium_around(state)
                               : own_medium  ? own_medium
                                             : state->volume;
    state->environment =
        material && material->environment ? material->environment : state->camera->environment;
    return material;
}

}  // namespace orvane::trace

using namespace orvane::trace;

extern "C" {

miBoolean mi_tex_coord(miState* state, int space, miVector* coord) {
    *coord = {};
    const auto* shape = static_cast<const Shape*>(state->pri);
    if (!shape || space < 0) return miFALSE;
    const auto& spaces = shape->mesh->texture;
    const auto index = static_cast<std::size_t>(space);
    if (index >= spaces.size() || spaces[index].empty()) {
        // Only a shader with a picture needs them; and light rays have the surface's hit.
        const orvane::world::Function* shader = orvane::world::running(state);
        if (state->type != miRAY_LIGHT && shader && shader->has_image)
            shape->placement->note_missing_texture();
        return miFALSE;
    }
    *coord = at_corners(spaces[index], shape->mesh->triangle[state->pri_index], state->bary[0],
                        state->bary[1]);
    return miTRUE;
}

// The linear map from texture to space over the triangle, from its three corners.
miBoolean mi_tex_basis(miState* state, int space, miVector* du, miVector* dv) {
    const auto* shape = static_cast<const Shape*>(state->pri);
    if (!shape || space < 0 || static_cast<std::size_t>(space) >= shape->mesh->texture.size())
        return miFALSE;
    const auto& corner = shape->mesh->triangle[state->pri_index];
    const auto& uv = shape->mesh->texture[static_cast<std::size_t>(space)];
    const miVector a = to_vector(uv[corner[1]]) - to_vector(uv[corner[0]]);
    const miVector b = to_vector(uv[corner[2]]) - to_vector(uv[corner[0]]);
    const float area = a.x * b.y - b.x * a.y;
    if (area == 0) return miFALSE;
    const miVector origin = to_vector(shape->vertices[corner[0]]);
    const miVector p = to_vector(shape->vertices[corner[1]]) - origin;
    const miVector q = to_vector(shape->vertices[corner[2]]) - origin;
    *du = (p * b.y - q * a.y) * (1 / area);
    *dv = (q * a.x - p * b.x) * (1 / area);
    if (!shape->baked) {
        mi_vector_transform(du, du, shape->instance->local_to_world.getValue());
        mi_vector_transform(dv, dv, shape->instance->local_to_world.getValue());
    }
    return miTRUE;
}
}
