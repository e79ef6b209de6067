// Tracing: eye rays through the lens shaders, and the rays that leave a surface.

#include <bit>
#include <cmath>

#include "trace/cast.h"
#include "trace/frame.h"

namespace orvane::trace {
namespace {

// What a lens shader that has traced nothing leaves in its result.
const miColor kUntouched = {std::bit_cast<float>(0x7fc0feedu), std::bit_cast<float>(0x7fc0beefu),
                            std::bit_cast<float>(0x7fc0feedu), std::bit_cast<float>(0x7fc0beefu)};

bool untouched(const miColor& color) {
    return std::bit_cast<std::uint32_t>(color.r) == 0x7fc0feedu &&
           std::bit_cast<std::uint32_t>(color.g) == 0x7fc0beefu;
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
    if (!is_direction(*dir) || !goes_deeper(state)) return miFALSE;
    miState child = spawn(state, miRAY_EYE, *org, normalized(*dir));
    child.parent = state->parent;  // what lens shaders do is no part of the ray's path
    child.point = child.org;
    const miBoolean answer =
        child.lens != 0 ? through_lens(result, &child) : trace_from_camera(result, &child);
    // Of a lens that traces several rays the first one counts.
    if (state->ray_number == 1) copy_hit(state, child);
    return answer;
}

miBoolean mi_trace_reflection(miColor* result, miState* state, miVector* dir) {
    return trace_from_surface(result, state, miRAY_REFLECT, *dir);
}

miBoolean mi_trace_refraction(miColor* result, miState* state, miVector* dir) {
    return trace_from_surface(result, state, miRAY_REFRACT, *dir);
}

miBoolean mi_trace_transparent(miColor* result, miState* state) {
    return trace_from_surface(result, state, miRAY_TRANSPARENT, state->dir);
}

miBoolean mi_trace_environment(miColor* result, miState* state, miVector* dir) {
    if (state->environment == 0 || !is_direction(*dir) || !goes_deeper(state)) return miFALSE;
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
