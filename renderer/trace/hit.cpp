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

float offset_from(const miVector& origin) {
    return std::max({std::abs(origin.x), std::abs(origin.y), std::abs(origin.z), 1e-4f}) * 0x1p-16f;
}

Segment segment_from(const miState* state, const miVector& org, const miVector& dir, float far) {
    return {org,
            dir,
            state->pri ? offset_from(org) : 0,
            far,
            state->time,
            state->pri,
            state->pri_index};
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
    if (!shape || space < 0 || static_cast<std::size_t>(space) >= shape->mesh->texture.size())
        return miFALSE;
    *coord = at_corners(shape->mesh->texture[static_cast<std::size_t>(space)],
                        shape->mesh->triangle[state->pri_index], state->bary[0], state->bary[1]);
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
