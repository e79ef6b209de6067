// Shadows: what lies between a light and the point that it illuminates.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory_resource>
#include <utility>
#include <vector>

#include "trace/cast.h"
#include "trace/frame.h"
#include "trace/hit.h"

namespace orvane::trace {
namespace {

// A shadow ray ends this much of its length before the light, so that a light on a surface is
// not shadowed by it.
constexpr float kShort = 1 - 1e-5f;
constexpr std::size_t kMostSurfaces = 200;  // of one shadow ray; more block it

miBoolean block(miColor* result) {
    result->r = result->g = result->b = 0;
    return miFALSE;
}

// What a shadow shader leaves of the color tells alone whether it blocks: some of the materials
// answer miFALSE where they cast no shadow. Lights may be negative.
bool is_black(const miColor& c) {
    return std::abs(c.r) < 1e-6f && std::abs(c.g) < 1e-6f && std::abs(c.b) < 1e-6f;
}

// The shaders that say what passes where a ray has hit; null where it blocks.
const world::ListEntry* shadow_shaders(const Hit& hit) {
    miTag unused;
    const world::Material* material = hit.shape->placement->material(hit.triangle, &unused);
    return material && !material->blocks() ? material->shadow_list : nullptr;
}

// The segment from the illuminated point up to the light.
Segment towards_light(const miState* light) {
    const miVector begin = off_surface(light, light->point, -light->dir);
    const miVector way = light->org - begin;
    return {begin,      normalized(way), 0, length(way) * kShort, light->time, 0,
            light->pri, light->pri_index};
}

// All surfaces between the point and the light, the nearest to the point first. False when one of
// them blocks fully, or there are too many.
bool find_casters(const miState* light, std::pmr::vector<Hit>* hits) {
    const Structure& structure = frame_of(light).structure;
    Segment segment = towards_light(light);
    Hit hit;
    while (segment.near < segment.far && structure.closest(Rays::Shadow, segment, &hit)) {
        if (hits->size() == kMostSurfaces || !shadow_shaders(hit)) return false;
        hits->push_back(hit);
        segment.near = std::nextafter(hit.t, std::numeric_limits<float>::infinity());
    }
    return true;
}

// The ray is traced from the point, where it must be exact, and its surfaces are asked in order
// from the light: every shadow shader sees the same ray at its own distance.
miBoolean walk(miColor* result, miState* light) {
    std::array<std::byte, 16 * sizeof(Hit)> room;
    std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
    std::pmr::vector<Hit> hits(&memory);
    if (!find_casters(light, &hits)) return block(result);
    const auto whole = static_cast<float>(light->dist);
    for (auto hit = hits.rbegin(); hit != hits.rend(); ++hit) {
        hit->t = std::max(whole - hit->t, 0.0f);
        miState child = spawn(light, miRAY_SHADOW, light->org, light->dir);
        fill_hit(&child, *hit);
        world::call(shadow_shaders(*hit), result, &child);
        if (is_black(*result)) return block(result);
    }
    return miTRUE;
}

// Where a shadow ray of segments goes on after a surface.
struct Link {
    miVector light;        // the end of the ray
    std::size_t surfaces;  // met so far
    bool passed_on;        // the shadow shader has called mi_trace_shadow_seg
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
    return structure.blocked(towards_light(state)) ? block(result) : miTRUE;
}

miBoolean mi_trace_shadow_seg(miColor* result, miState* state) {
    auto* link = static_cast<Link*>(state->shadow_link);
    if (!link) return miTRUE;
    // Of several shadow shaders at a surface the first one passes the ray on for all.
    if (std::exchange(link->passed_on, true)) return link->answer;
    return link->answer = segment_towards_light(result, state, state->refraction_volume, *link);
}
}
