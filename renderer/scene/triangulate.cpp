// Polygons with holes to rings, and those to triangles.
#include "scene/triangulate.h"

#include <algorithm>
#include <cmath>

#include "scene/ear_clipping.h"

namespace orvane::scene {

namespace {

using Triangles = std::vector<std::array<std::uint32_t, 3>>;

struct Normal {
    double x = 0, y = 0, z = 0;
};

Normal newell_normal(std::span<const Vec3> position, std::span<const std::uint32_t> loop) {
    Normal normal;
    Vec3 a = position[loop.back()];
    for (const std::uint32_t vertex : loop) {
        const Vec3 b = position[vertex];
        normal.x += (double{a.y} - b.y) * (double{a.z} + b.z);
        normal.y += (double{a.z} - b.z) * (double{a.x} + b.x);
        normal.z += (double{a.x} - b.x) * (double{a.y} + b.y);
        a = b;
    }
    return normal;
}

// Drops the axis that the normal is closest to; what turns counter-clockwise around the normal
// does so in the plane.
Corner project(const Vec3& p, const Normal& normal, std::uint32_t vertex) {
    const double x = std::abs(normal.x), y = std::abs(normal.y), z = std::abs(normal.z);
    double u = p.x, v = p.y, axis = normal.z;
    if (x > y && x > z) {
        u = p.y, v = p.z, axis = normal.x;
    } else if (y > z) {
        u = p.z, v = p.x, axis = normal.y;
    }
    if (axis < 0) std::swap(u, v);
    return {u, v, vertex};
}

bool is_convex(std::span<const Vec3> position, std::span<const std::uint32_t> loop,
               const Normal& normal) {
    Corner a = project(position[loop[loop.size() - 2]], normal, 0);
    Corner b = project(position[loop.back()], normal, 0);
    for (const std::uint32_t vertex : loop) {
        const Corner c = project(position[vertex], normal, 0);
        if (area(a, b, c) <= 0) return false;
        a = b;
        b = c;
    }
    return true;
}

void fan(std::span<const std::uint32_t> loop, Triangles& triangles) {
    for (std::size_t i = 2; i < loop.size(); ++i) {
        triangles.push_back({loop[0], loop[i - 1], loop[i]});
    }
}

// Appends a loop as a ring of its own, counter-clockwise or else clockwise. Returns its first
// corner.
Index add_loop(Ring& ring, std::span<const Vec3> position, std::span<const std::uint32_t> loop,
               const Normal& normal, bool counter_clockwise) {
    const Index first = ring.size();
    for (const std::uint32_t vertex : loop) {
        ring.push_back(project(position[vertex], normal, vertex));
    }
    double twice_area = 0;
    for (Index i = first + 2; i < ring.size(); ++i) {
        twice_area += area(ring[first], ring[i - 1], ring[i]);
    }
    if ((twice_area > 0) != counter_clockwise) {
        std::reverse(ring.begin() + static_cast<std::ptrdiff_t>(first), ring.end());
    }
    for (Index i = first; i < ring.size(); ++i) {
        ring[i].previous = i == first ? ring.size() - 1 : i - 1;
        ring[i].next = i + 1 == ring.size() ? first : i + 1;
    }
    return first;
}

// Whether the way from a corner to p begins inside the polygon.
bool sees(const Ring& ring, Index corner, const Corner& p) {
    const Corner& a = ring[corner];
    const Corner& before = ring[a.previous];
    const Corner& after = ring[a.next];
    const bool left_of_next = area(a, after, p) >= 0;
    const bool left_of_previous = area(before, a, p) >= 0;
    return area(before, a, after) > 0 ? left_of_next && left_of_previous
                                      : left_of_next || left_of_previous;
}

// The corner of the edge right of a hole's corner m that is nearest along x, and where the ray
// from m meets the edge. kNone when m lies outside.
Index nearest_edge(const Ring& ring, Index start, const Corner& m, double& hit) {
    Index found = kNone;
    Index i = start;
    do {
        const Corner& a = ring[i];
        const Corner& b = ring[a.next];
        if (a.y <= m.y && m.y <= b.y && a.y < b.y) {
            const double x = a.x + (m.y - a.y) * (b.x - a.x) / (b.y - a.y);
            if (x >= m.x && (found == kNone || x < hit)) {
                hit = x;
                found = a.x > b.x ? i : a.next;
            }
        }
        i = a.next;
    } while (i != start);
    return found;
}

// The corner of the outer ring that a bridge from the hole's corner m may lead to.
Index bridge_end(const Ring& ring, Index start, const Corner& m) {
    double hit = 0;
    const Index edge_end = nearest_edge(ring, start, m, hit);
    if (edge_end == kNone) return kNone;

    // Corners in the triangle of m, the hit and the edge's end hide that end: take the one
    // closest to the ray.
    const Corner tip = {hit, m.y};
    const Corner end = ring[edge_end];
    const bool above = end.y >= m.y;
    Index best = edge_end;
    double least_slope = std::abs(end.y - m.y) / std::max(end.x - m.x, 1e-300);
    Index i = start;
    do {
        const Corner& p = ring[i];
        const bool inside = above ? inside_or_on(m, tip, end, p) : inside_or_on(m, end, tip, p);
        if (p.x > m.x && inside && sees(ring, i, m)) {
            const double slope = std::abs(p.y - m.y) / (p.x - m.x);
            const bool nearer = slope == least_slope && p.x < ring[best].x;
            if (slope < least_slope || nearer || !sees(ring, best, m)) {
                best = i;
                least_slope = slope;
            }
        }
        i = p.next;
    } while (i != start);
    return best;
}

// Joins two rings by an edge there and back between the corners a and b.
void join(Ring& ring, Index a, Index b) {
    const Index a2 = ring.size();
    const Index b2 = a2 + 1;
    ring.push_back(ring[a]);
    ring.push_back(ring[b]);
    ring[ring[a].next].previous = a2;
    ring[ring[b].previous].next = b2;
    ring[a].next = b;
    ring[b].previous = a;
    ring[a2].previous = b2;
    ring[b2].next = a2;
}

void join_holes(Ring& ring, Index outline, std::vector<Index>& holes) {
    for (Index& hole : holes) {
        for (Index i = ring[hole].next, first = hole; i != first; i = ring[i].next) {
            if (ring[i].x > ring[hole].x) hole = i;
        }
    }
    std::sort(holes.begin(), holes.end(), [&](Index a, Index b) { return ring[a].x > ring[b].x; });
    for (const Index hole : holes) {
        const Index end = bridge_end(ring, outline, Corner(ring[hole]));
        if (end != kNone) join(ring, end, hole);
    }
}

}  // namespace

void triangulate(std::span<const Vec3> position, std::span<const std::uint32_t> corners,
                 std::span<const std::size_t> loop_ends, Triangles& triangles) {
    const auto outline = corners.first(loop_ends.front());
    const bool has_holes = loop_ends.size() > 1;
    if (outline.size() == 3 && !has_holes) return fan(outline, triangles);
    const Normal normal = newell_normal(position, outline);
    const double size = std::abs(normal.x) + std::abs(normal.y) + std::abs(normal.z);
    if (!(size > 0) || !std::isfinite(size)) return fan(outline, triangles);
    if (!has_holes && is_convex(position, outline, normal)) return fan(outline, triangles);

    Ring ring;
    const Index first = add_loop(ring, position, outline, normal, true);
    std::vector<Index> holes;
    for (std::size_t i = 1; i < loop_ends.size(); ++i) {
        const auto hole = corners.subspan(loop_ends[i - 1], loop_ends[i] - loop_ends[i - 1]);
        holes.push_back(add_loop(ring, position, hole, normal, false));
    }
    join_holes(ring, first, holes);
    clip_ears(ring, first, triangles);
}

}  // namespace orvane::scene
