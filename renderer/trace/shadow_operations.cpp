// Shadows: what lies between a light and the point that it illuminates.

#include <cmath>
#include <limits>

#include "trace/frame.h"
#include "trace/hit.h"
#include "trace/spawn.h"

namespace orvane::trace {
namespace {

// A shadow ray ends this much of its length before the light, so that a light on a surface is
// not shadowed by it.
constexpr float kShort = 1 - 1e-5f;
constexpr int kMostSurfaces = 200;  // of one shadow ray; more block it

miBoolean block(miColor* result) {
    result->r = result->g = result->b = 0;
    return miFALSE;
}

// What a shadow shader leaves of the colour tells alone whether it blocks: some of the materials
// answer miFALSE where they cast no shadow.
bool is_black(const miColor& c) { return c.r < 1e-6f && c.g < 1e-6f && c.b < 1e-6f; }

// From the light, in order: every shadow shader sees the same ray at its own distance.
miBoolean walk(miColor* result, miState* light) {
    const Structure& structure = frame_of(light).structure;
    const float whole = static_cast<float>(light->dist);
    const float end = light->pri ? offset_from(light->point) : 0;
    Segment segment = {light->org,  light->dir, whole * (1 - kShort), whole - end,
                       light->time, light->pri, light->pri_index};
    for (int surfaces = 0; surfaces < kMostSurfaces; ++surfaces) {
        Hit hit;
        if (!(segment.near < segment.far) || !structure.closest(Rays::Shadow, segment, &hit))
            return miTRUE;
        miState child = spawn(light, miRAY_SHADOW, light->org, light->dir);
        const world::Material* material = fill_hit(&child, hit);
        if (!material || material->blocks()) return block(result);
        world::call(material->shadow_list, result, &child);
        if (is_black(*result)) return block(result);
        segment.near = std::nextafter(hit.t, std::numeric_limits<float>::infinity());
    }
    return block(result);
}

// Where a shadow ray of segments goes on after a surface.
struct Link {
    miVector light;  // the end of the ray
    int surfaces;    // met so far
    bool passed_on;  // the shadow shader has called mi_trace_shadow_seg
    miBoolean answer;
};

miBoolean segment_towards_light(miColor* result, miState* from, miTag medium, Link link);

miBoolean at_surface(miColor* result, miState* child, const world::Material* material, Link& link) {
    if (!material || material->blocks()) return block(result);
    child->shadow_link = &link;
    world::call(material->shadow_list, result, child);
    if (is_black(*result)) return block(result);
    // A shader that knows nothing of segments has only said what its surface lets through.
    if (!link.passed_on)
        return segment_towards_light(result, child, child->refraction_volume, link);
    return link.answer;
}

miBoolean segment_towards_light(miColor* result, miState* from, miTag medium, Link link) {
    const miVector way = link.light - from->point;
    const float left = length(way) * kShort;
    if (!(left > 0)) return miTRUE;
    if (++link.surfaces > kMostSurfaces) return block(result);
    miState child = spawn(from, miRAY_SHADOW, from->point, normalized(way));
    child.volume = medium;
    child.dist = static_cast<double>(left);
    link.passed_on = false;
    Hit hit;
    miBoolean answer = miTRUE;
    const Segment segment = segment_from(&child, child.org, child.dir, left);
    if (segment.near < segment.far &&
        frame_of(from).structure.closest(Rays::Shadow, segment, &hit)) {
        const world::Material* material = fill_hit(&child, hit);
        answer = at_surface(result, &child, material, link);
    }
    if (answer && medium != 0) {
        child.volume = medium;
        world::call(world::list_of(medium), result, &child);
    }
    return answer && !is_black(*result) ? miTRUE : block(result);
}

}  // namespace
}  // namespace orvane::trace

using namespace orvane::trace;

extern "C" {

miBoolean mi_trace_shadow(miColor* result, miState* state) {
    const Structure& structure = frame_of(state).structure;
    const miOptions& options = *state->options;
    if (options.shadow == miSHADOW_OFF || !options.trace) return miTRUE;
    if (options.shadow == miSHADOW_SEGMENTS) {
        Link link = {state->org, 0, false, miTRUE};
        return segment_towards_light(result, state, state->volume, link);
    }
    if (!structure.casts()) return miTRUE;
    if (structure.asks_shaders()) return walk(result, state);
    const Segment segment =
        segment_from(state, state->point, -state->dir, static_cast<float>(state->dist) * kShort);
    return structure.blocked(segment) ? block(result) : miTRUE;
}

miBoolean mi_trace_shadow_seg(miColor* result, miState* state) {
    auto* link = static_cast<Link*>(state->shadow_link);
    if (!link) return miTRUE;
    link->passed_on = true;
    return link->answer = segment_towards_light(result, state, state->refraction_volume, *link);
}
}
