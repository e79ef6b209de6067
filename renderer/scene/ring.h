// Polygons in the plane, as rings of corners.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvane::scene {

using Index = std::size_t;

inline constexpr Index kNone = static_cast<Index>(-1);

// A corner in the plane, in a ring that turns counter-clockwise around the inside.
struct Corner {
    double x = 0, y = 0;
    std::uint32_t vertex = 0;
    Index previous = 0, next = 0;
};

using Ring = std::vector<Corner>;

// Twice the signed area of the triangle a b c.
inline double area(const Corner& a, const Corner& b, const Corner& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

inline bool same_point(const Corner& a, const Corner& b) { return a.x == b.x && a.y == b.y; }

inline bool inside_or_on(const Corner& a, const Corner& b, const Corner& c, const Corner& p) {
    return area(a, b, p) >= 0 && area(b, c, p) >= 0 && area(c, a, p) >= 0;
}

}  // namespace orvane::scene
