// From a hit to the state that a material sees.
#pragma once

#include "frame/host.h"
#include "trace/rays.h"

namespace orvane::trace {

// Fills the hit's part of a state whose ray part is set: point, normals, label, textures,
// media, and where the ray may go on. Returns the material, null when the triangle has none.
const world::Material* fill_hit(miState* state, const Hit& hit);

// How far from its origin a ray that leaves a surface begins, so as not to meet the surface
// again by rounding: 2^-16 of the largest coordinate.
float offset_from(const miVector& origin);

// A segment from a state's surface (or, with pri NULL, from the bare point).
Segment segment_from(const miState* state, const miVector& org, const miVector& dir, float far);

}  // namespace orvane::trace
