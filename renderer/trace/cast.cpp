// The heart of tracing: from a ray to the color that is seen along it.

#include "trace/cast.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numeric/sampling.h"
#include "trace/frame.h"
#include "trace/hit.h"

namespace orvane::trace {
namespace {

constexpr float kEndless = std::numeric_limits<float>::infinity();

bool is_passing(miRayType type) { return type == miRAY_REFRACT || type == miRAY_TRANSPARENT; }

// Shades what a prepared state's ray meets, then the medium in between.
miBoolean cast(miColor* result, miState* child, Rays rays, float near, float far) {
    *result = {};
    Segment segment = segment_from(child, child->org, child->dir, far);
    segment.near = near;
    Hit hit;
    const miTag medium = child->volume;
    miBoolean answered = miTRUE;
    if (frame_of(child).structure.closest(rays, segment, &hit)) {
        const world::Material* material = fill_hit(child, hit);
        if (child->type == miRAY_EYE) frame_of(child).findings.note(*child);
        result->a = material && material->surface ? 0 : 1;  // no shader: black
        if (material) {
            world::call(material->surface, result, child);
            material->note(*result);
        }
    } else {
        answered = world::call(world::list_of(child->environment), result, child);
    }
    if (medium == 0) return answered;

    // A medium's shaders may use their states for rays of their own.
    for (const auto* entry = world::list_of(medium); entry; entry = entry->next) {
        miState through = *child;
        through.volume = medium;
        through.in_medium = miTRUE;
        world::call(*entry->function, result, &through);
        child->ray_number = through.ray_number;
    }
    return miTRUE;
}

miBoolean cast_secondary(miColor* result, miState* child) {
    return cast(result, child, Rays::Secondary, 0, kEndless);
}

// The clipping planes stand across the viewing axis; a lens may look past them.
miBoolean cast_eye(miColor* result, miState* child) {
    const miCamera& camera = *child->camera;
    miVector axis = child->dir;
    mi_vector_to_camera(child, &axis, &axis);
    const float slant = -normalized(axis).z;
    if (slant < 1e-3f) return cast(result, child, Rays::Eye, camera.clip_near, kEndless);
    return cast(result, child, Rays::Eye, camera.clip_near / slant, camera.clip_far / slant);
}

// Whether the levels of state, which shaders may have changed, allow one more.
bool level_allows(const miState* state, miRayType type) {
    const miOptions& options = *state->options;
    if (!options.trace) return false;
    if (!state->in_medium &&
        state->reflection_level + state->refraction_level >= options.trace_depth)
        return false;
    return is_passing(type) ? state->refraction_level < options.refraction_depth
                            : state->reflection_level < options.reflection_depth;
}

}  // namespace

miState spawn(miState* state, miRayType type, const miVector& org, const miVector& dir) {
    miState child = *state;
    child.parent = state;
    child.type = type;
    child.org = org;
    child.dir = dir;
    child.dist = 0;
    if (is_passing(type) && state->refraction_ior > 0) child.ior = state->refraction_ior;
    child.ior_in = child.ior;
    child.refraction_ior = 0;
    child.shadow_link = nullptr;
    child.sample_key = numeric::mix(state->sample_key, state->ray_number++);
    child.sample_dimension = 0;
    child.ray_number = 0;
    child.in_medium = miFALSE;
    ++child.depth;
    return child;
}

bool is_direction(const miVector& dir) {
    const float len = dot(dir, dir);
    return len > 0 && std::isfinite(len);
}

bool goes_deeper(const miState* state) { return state->depth < kDeepest && !mi_par_aborted(); }

miBoolean trace_from_surface(miColor* result, miState* state, miRayType type, const miVector& dir) {
    if (!is_direction(dir) || !level_allows(state, type) || !goes_deeper(state)) return miFALSE;
    miState child = spawn(state, type, state->point, normalized(dir));
    if (is_passing(type)) {
        child.volume = state->refraction_volume;
        ++child.refraction_level;
        ++child.refractions;
    } else {
        ++child.reflection_level;
        ++child.reflections;
    }
    Frame& frame = frame_of(state);
    if (state->depth > 0) return frame.effort(state).trace(result, state, &child, cast_secondary);
    const Frame::Apart apart(frame, state);
    return cast_secondary(result, &child);
}

miBoolean trace_from_camera(miColor* result, miState* child) {
    if (!child->parent && !child->pri) {  // from a lens or the camera, not from a surface
        frame_of(child).effort(child).reset();
        return cast_eye(result, child);
    }
    return frame_of(child).effort(child).trace(result, child, child, cast_eye);
}

}  // namespace orvane::trace
