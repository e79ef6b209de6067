// Tracing: eye rays through the lens shaders, and the rays that leave a surface.

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "numeric/sampling.h"
#include "trace/frame.h"
#include "trace/hit.h"
#include "trace/spawn.h"

namespace orvane::trace {

miState spawn(miState* state, miRayType type, const miVector& org, const miVector& dir) {
    miState child = *state;
    child.parent = state;
    child.type = type;
    child.org = org;
    child.dir = dir;
    child.dist = 0;
    child.ior_in = state->ior;
    child.shadow_link = nullptr;
    child.sample_key = numeric::mix(state->sample_key, state->ray_number++);
    child.sample_dimension = 0;
    child.ray_number = 0;
    child.in_medium = miFALSE;
    ++child.depth;
    return child;
}

namespace {

// What a lens shader that has traced nothing leaves in its result.
const miColor kUntouched = {std::bit_cast<float>(0x7fc0feedu), std::bit_cast<float>(0x7fc0beefu),
                            std::bit_cast<float>(0x7fc0feedu), std::bit_cast<float>(0x7fc0beefu)};

bool untouched(const miColor& color) {
    return std::bit_cast<std::uint32_t>(color.r) == 0x7fc0feedu &&
           std::bit_cast<std::uint32_t>(color.g) == 0x7fc0beefu;
}

// Traces a prepared state: surface or environment, then the medium in between.
miBoolean cast(miColor* result, miState* child, Rays rays, float near, float far) {
    *result = {};
    Segment segment = segment_from(child, child->org, child->dir, far);
    segment.near = std::max(segment.near, near);
    Hit hit;
    const miTag medium = child->volume;
    miBoolean answered = miTRUE;
    if (frame_of(child).structure.closest(rays, segment, &hit)) {
        const world::Material* material = fill_hit(child, hit);
        result->a = material && material->surface ? 0 : 1;  // no shader: black
        if (material) world::call(material->surface, result, child);
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

// Shaders may lower the levels of their state, so the number of rays has a limit of its own. Where
// each hit traces several, even that is far away: a stopped render traces no more.
constexpr int kDeepest = 300;

bool deeper(const miState* state, int level, int most) {
    const bool sum_allows = state->in_medium || state->reflection_level + state->refraction_level <
                                                    state->options->trace_depth;
    return state->options->trace && level < most && sum_allows && state->depth < kDeepest &&
           !mi_par_aborted();
}

// Refractions between the eye and what state has hit. Shaders may lower the refraction level of
// their state; where each hit traces several rays, those would have no end. So both count.
int refractions(const miState* state) {
    int count = 0;
    for (const miState* ray = state; ray; ray = ray->parent)
        count += ray->type == miRAY_REFRACT || ray->type == miRAY_TRANSPARENT;
    return std::max(count, state->refraction_level);
}

bool is_direction(const miVector& dir) {
    const float len = dot(dir, dir);
    return len > 0 && std::isfinite(len);
}

miBoolean pass_on(miColor* result, miState* state, miRayType type, const miVector& dir) {
    if (!is_direction(dir) || !deeper(state, refractions(state), state->options->refraction_depth))
        return miFALSE;
    miState child = spawn(state, type, state->point, normalized(dir));
    ++child.refraction_level;
    child.volume = state->refraction_volume;
    return cast(result, &child, Rays::Secondary, 0, std::numeric_limits<float>::infinity());
}

// The next lens shader takes the ray. One that leaves its result as it was has not traced: the
// ray then goes on as if it were not there.
miBoolean through_lens(miColor* result, miState* child) {
    const world::ListEntry* lens = world::list_of(child->lens);
    child->lens = lens->record.next;
    *result = kUntouched;
    const miBoolean answer = world::call(*lens->function, result, child);
    if (!untouched(*result)) return answer;
    *result = {};
    if (!answer) return miFALSE;
    miVector org = child->org, dir = child->dir;
    return mi_trace_eye(result, child, &org, &dir);
}

miBoolean from_camera(miColor* result, miState* child) {
    // The clipping planes stand across the viewing axis; a lens may look past them.
    const miCamera& camera = *child->camera;
    miVector axis = child->dir;
    mi_vector_to_camera(child, &axis, &axis);
    const float slant = -normalized(axis).z;
    if (slant < 1e-3f)
        return cast(result, child, Rays::Eye, camera.clip_near,
                    std::numeric_limits<float>::infinity());
    return cast(result, child, Rays::Eye, camera.clip_near / slant, camera.clip_far / slant);
}

void copy_hit(miState* to, const miState& from) {
    to->dist = from.dist;
    to->instance = from.instance;
    to->material = from.material;
    to->label = from.label;
    to->inside = from.inside;
    to->point = from.point;
    to->normal = from.normal;
    to->normal_geom = from.normal_geom;
    to->dot_nd = from.dot_nd;
    to->motion = from.motion;
}

}  // namespace
}  // namespace orvane::trace

using namespace orvane::trace;

extern "C" {

miBoolean mi_trace_eye(miColor* result, miState* state, miVector* org, miVector* dir) {
    if (!is_direction(*dir)) return miFALSE;
    miState child = spawn(state, miRAY_EYE, *org, normalized(*dir));
    child.parent = state->parent;  // what lens shaders do is no part of the ray's path
    child.point = child.org;
    const miBoolean answer =
        child.lens != 0 ? through_lens(result, &child) : from_camera(result, &child);
    // Of a lens that traces several rays the first one counts.
    if (state->ray_number == 1) copy_hit(state, child);
    return answer;
}

miBoolean mi_trace_reflection(miColor* result, miState* state, miVector* dir) {
    if (!is_direction(*dir) ||
        !deeper(state, state->reflection_level, state->options->reflection_depth))
        return miFALSE;
    miState child = spawn(state, miRAY_REFLECT, state->point, normalized(*dir));
    ++child.reflection_level;
    return cast(result, &child, Rays::Secondary, 0, std::numeric_limits<float>::infinity());
}

miBoolean mi_trace_refraction(miColor* result, miState* state, miVector* dir) {
    return pass_on(result, state, miRAY_REFRACT, *dir);
}

miBoolean mi_trace_transparent(miColor* result, miState* state) {
    return pass_on(result, state, miRAY_TRANSPARENT, state->dir);
}

miBoolean mi_trace_environment(miColor* result, miState* state, miVector* dir) {
    if (state->environment == 0 || !is_direction(*dir)) return miFALSE;
    miState child = spawn(state, miRAY_ENVIRONMENT, state->point, normalized(*dir));
    *result = {};
    return orvane::world::call(orvane::world::list_of(child.environment), result, &child);
}

void mi_reflection_dir(miVector* dir, miState* state) {
    const miVector &d = state->dir, &n = state->normal;
    *dir = normalized(d - n * (2 * dot(d, n)));
}

// Snell's law in vector form.
miBoolean mi_refraction_dir(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out) {
    const miVector &d = state->dir, &n = state->normal;
    const miScalar ratio = ior_out > 0 ? ior_in / ior_out : 1;
    const miScalar cosine = -dot(d, n);
    const miScalar below = 1 - ratio * ratio * (1 - cosine * cosine);
    if (!(below >= 0)) return miFALSE;
    *dir = normalized(d * ratio + n * (ratio * cosine - std::sqrt(below)));
    return miTRUE;
}
}
