// Polygons to triangles.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "scene/records.h"

namespace orvane::scene {

// Appends the triangles of a simple polygon, which may be concave and have holes. corners are
// indices into position, the outline first and then the holes; loop_ends tells where each loop
// ends in corners (each has three corners or more). Triangles turn the way the outline does;
// holes may turn either way. A polygon that crosses itself or has no area gives some triangles
// of its own corners.
//
// Ear clipping in the plane that the polygon's normal (Newell) is closest to; holes are joined
// to the outline first, the rightmost one before the others (D. Eberly, Triangulation by Ear
// Clipping). Takes n log n for n corners as a rule, and n times the number of holes.
void triangulate(std::span<const Vec3> position, std::span<const std::uint32_t> corners,
                 std::span<const std::size_t> loop_ends,
                 std::vector<std::array<std::uint32_t, 3>>& triangles);

}  // namespace orvane::scene
