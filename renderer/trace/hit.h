// From a hit to the state that a material sees.
#pragma once

#include "frame/host.h"
#include "trace/rays.h"

namespace orvane::trace {

// Fills the hit's part of a state whose ray part is set: point, normals, label, textures,
// media, and where the ray may go on. Returns the material, null when the triangle has none.
const world::Material* fill_hit(miState* state, const Hit& hit);

// A point of a state's surface moved off it, to the side that the unit vector dir leads to, so far
// that rays do not meet the surface again by rounding; with pri NULL the bare point. It moves along
// dir, and only for grazing directions, which would have to go far, also along the normal.
miVector off_surface(const miState* state, const miVector& point, const miVector& dir);

// A ray from org, a point of a state's surface, along dir.
Segment segment_from(const miState* state, const miVector& org, const miVector& dir, float far);

}  // namespace orvane::trace
