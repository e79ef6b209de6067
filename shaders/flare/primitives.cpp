// Placing a light's primitives and drawing them: shapes become distances, profiles colours.

#include "flare/primitives.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace {

constexpr int kRays = 200;
constexpr int kThreads = 96;
constexpr int kFirstSector = 190;  // sectors run down from this ray
constexpr double kTurn = 6.283185307179586;

struct RayTable {
    miScalar cosine[kRays], sine[kRays];
    miScalar length[kRays];  // 0.1..1
};
RayTable ray_table[kThreads];  // equal copies, one a render thread

miScalar blended(miScalar a, miScalar b, miScalar t) { return (1 - t) * a + t * b; }

// Truncated towards zero. Numbers beyond all integers, and what is no number, become the least one:
// no mode, no sides, no rays.
int whole(miScalar value) {
    return value > -2147483648.0f && value < 2147483648.0f ? static_cast<int>(value) : INT_MIN;
}

void place_on_axis(miScalar* v, const FlareLight* light, miScalar position) {
    v[3] = light->x * position;
    v[4] = light->y * position;
}

void pull_from_anchor(miScalar* v, const FlareLight* light, miScalar pull) {
    v[3] = v[3] + pull * (light->x - v[3]);
    v[4] = v[4] + pull * (light->y - v[4]);
}

// A pixel relative to a burst, turned and scaled so that the burst's rays have the table's length.
struct InBurst {
    miScalar dx, dy, distance;
};

InBurst in_burst(miScalar X, miScalar Y, miScalar cx, miScalar cy, miScalar rot, miScalar size,
                 miScalar aspect) {
    miScalar dx = (X - cx) / (size * aspect), dy = (Y - cy) / size;
    if (rot != 0) {
        const miScalar c = std::cos(rot), s = std::sin(rot), x = dx;
        dx = c * x + s * dy;
        dy = -s * x + c * dy;
    }
    return {dx, dy, std::sqrt(dx * dx + dy * dy)};
}

// How strongly ray j covers the pixel: 1 on its line at the centre, 0 at its tip and beside it.
miScalar on_ray(const RayTable& table, int j, const InBurst& at, miScalar inner, miScalar outer,
                miScalar spread) {
    const miScalar c = table.cosine[j], s = table.sine[j], len = table.length[j];
    if (len < at.distance) return 0;
    const miScalar d =
        std::abs(-s * at.dx + c * at.dy) / (s * s + c * c) / len - at.distance * spread;
    if (!(d < outer)) return 0;
    const miScalar along = 1 - at.distance / len;
    return d < inner ? along : along * (outer - d) / (outer - inner);
}

// The strongest of rays first to last, both within the table. The divisions are spared where even
// a margin far above all rounding leaves the pixel beside the ray.
miBoolean draw_burst(miState* state, miColor* out, miColor col, const InBurst& at, int first,
                     int last, miScalar inner, miScalar outer, miScalar spread, int mode,
                     miScalar V, int thread) {
    const RayTable& table = ray_table[thread];
    const miScalar widened = at.distance * spread;
    const miScalar most = outer + widened + 1e-5f * (std::abs(outer) + std::abs(widened)) + 1e-30f;
    miScalar best = 0;
    for (int j = first; j <= last; ++j) {
        const miScalar len = table.length[j];
        const miScalar beside = std::abs(-table.sine[j] * at.dx + table.cosine[j] * at.dy);
        if (len >= at.distance && beside <= most * len)
            best = std::max(best, on_ray(table, j, at, inner, outer, spread));
    }
    if (!(best > 0)) return miFALSE;
    return primitiveProfile(state, out, col, best, at.dx, at.dy, 1.0f, mode, V);
}

// How far a polygon reaches from its centre: to its corners, at R / cos(pi / sides), which is not
// above R (1 + 9 / sides^2). One or two edges enclose nothing, and the remainder of an angle that a
// negative rotation leaves below 0 can lie outside of its edge.
miScalar polygon_reach(miScalar R, miScalar rot, int sides) {
    const auto n = static_cast<miScalar>(sides);
    return sides >= 3 && rot * n > -3.14f ? R * (1 + 9 / (n * n)) : INFINITY;
}

// How far a placed primitive reaches from its centre before it is stretched; no ray is longer
// than its burst's size.
miScalar reach(const FlarePrimitive& primitive) {
    const miScalar* v = primitive.values;
    switch (primitive.type) {
        case PRIMITIVE_CIRCLE:
            return v[5];
        case PRIMITIVE_CIRCLE_D:
            return v[7];
        case PRIMITIVE_NGON:
            return polygon_reach(v[5], v[6], whole(v[8]));
        case PRIMITIVE_NGON_D:
            return polygon_reach(v[7], v[8], whole(v[10]));
        case PRIMITIVE_SECTOR:
        case PRIMITIVE_RAYS:
            return std::abs(v[6]);
    }
    return -1;
}

// Whether a pixel is so far above, below or beside a primitive that its rasteriser draws nothing.
// The margins are far above all rounding, the absolute ones above what is lost where squares and
// products underflow. With what is not a number the rasteriser decides.
bool is_beyond(const FlarePrimitive& primitive, miScalar X, miScalar Y, miScalar aspect) {
    const miScalar most = 1.0001f * reach(primitive) + 1e-18f;
    return std::abs(Y - primitive.values[4]) > most ||
           std::abs(X - primitive.values[3]) > most * std::abs(aspect) + 1e-30f;
}

// drawCircle for calls from here: those of an exported name cannot be expanded.
miBoolean circle(miState* state, miColor* out, const miColor& col, miScalar X, miScalar Y,
                 miScalar cx, miScalar cy, miScalar R, int mode, miScalar V, miScalar aspect) {
    const miScalar dx = (X - cx) / aspect, dy = Y - cy;
    const miScalar r = std::sqrt(dx * dx + dy * dy);
    if (!(r <= R)) return miFALSE;
    return primitiveProfile(state, out, col, r, dx, dy, R, mode, V);
}

miBoolean draw(miState* state, miColor* out, const FlarePrimitive& primitive, miScalar X,
               miScalar Y, miScalar aspect, int thread) {
    const miScalar* v = primitive.values;
    const miColor col = {v[0], v[1], v[2], 0};
    switch (primitive.type) {
        case PRIMITIVE_CIRCLE:
            return circle(state, out, col, X, Y, v[3], v[4], v[5], whole(v[6]), v[7], aspect);
        case PRIMITIVE_CIRCLE_D:
            return circle(state, out, col, X, Y, v[3], v[4], v[7], whole(v[8]), v[9], aspect);
        case PRIMITIVE_NGON:
            return drawNgon(state, out, col, X, Y, v[3], v[4], v[5], v[6], whole(v[8]), whole(v[9]),
                            v[10], aspect);
        case PRIMITIVE_NGON_D:
            return drawNgon(state, out, col, X, Y, v[3], v[4], v[7], v[8], whole(v[10]),
                            whole(v[11]), v[12], aspect);
        case PRIMITIVE_SECTOR:
            return drawSectors(state, out, col, X, Y, v[3], v[4], v[5], v[6], v[7], v[8], v[9],
                               whole(v[10]), whole(v[11]), v[12], aspect, thread);
        case PRIMITIVE_RAYS:
            return drawRays(state, out, col, X, Y, v[3], v[4], v[5], v[6], v[7], v[8], whole(v[9]),
                            whole(v[10]), whole(v[11]), v[12], aspect, thread);
    }
    return miFALSE;
}

}  // namespace

extern "C" {

void initRayTable() {
    unsigned short angles[3] = {0xee31, 0x59f1, 0xa7b3}, lengths[3] = {0x9001, 0x7ca4, 0xbc71};
    RayTable& table = ray_table[0];
    for (int j = 0; j < kRays; ++j) {
        const auto angle = static_cast<miScalar>(kTurn * mi_erandom(angles));
        table.length[j] = static_cast<miScalar>(0.1 + 0.9 * mi_erandom(lengths));
        table.cosine[j] = std::cos(angle);
        table.sine[j] = std::sin(angle);
    }
    std::fill(ray_table + 1, ray_table + kThreads, table);
}

void placePrimitives(FlareLight* light, miScalar blend) {
    const miScalar scale = light->params->flare_scale;
    for (int i = 0; i < light->primitive_count; ++i) {
        miScalar* v = light->primitives[i].values;
        switch (light->primitives[i].type) {
            case PRIMITIVE_CIRCLE:
                place_on_axis(v, light, blended(v[3], v[4], blend));
                v[5] *= scale;
                break;
            case PRIMITIVE_CIRCLE_D:
                pull_from_anchor(v, light, blended(v[5], v[6], blend));
                v[7] *= scale;
                break;
            case PRIMITIVE_NGON:
                place_on_axis(v, light, blended(v[3], v[4], blend));
                v[6] = blended(v[6], v[7], blend);
                v[5] *= scale;
                break;
            case PRIMITIVE_NGON_D:
                pull_from_anchor(v, light, blended(v[5], v[6], blend));
                v[8] = blended(v[8], v[9], blend);
                v[7] *= scale;
                break;
            case PRIMITIVE_SECTOR:
            case PRIMITIVE_RAYS:
                v[5] = blended(v[4], v[5], blend);
                place_on_axis(v, light, v[3]);
                break;
        }
    }
}

void drawPrimitives(miState* state, miColor* out, const FlareLight* light, miScalar X, miScalar Y,
                    int thread) {
    miColor sum = {0, 0, 0, 0};
    *out = sum;
    if (light->primitive_count <= 0) return;
    const FlarePrimitive* primitives = light->primitives;
    const miScalar aspect = light->params->flare_aspect;
    for (int i = 0; i < light->primitive_count; ++i) {
        if (is_beyond(primitives[i], X, Y, aspect)) continue;
        miColor drawn = {0, 0, 0, 0};
        if (!draw(state, &drawn, primitives[i], X, Y, aspect, thread)) continue;
        sum.r += drawn.r;
        sum.g += drawn.g;
        sum.b += drawn.b;
    }
    *out = sum;
}

miBoolean drawCircle(miState* state, miColor* out, miColor col, miScalar X, miScalar Y, miScalar cx,
                     miScalar cy, miScalar R, int mode, miScalar V, miScalar aspect) {
    return circle(state, out, col, X, Y, cx, cy, R, mode, V, aspect);
}

// The distance is measured along the normal of the nearest edge.
miBoolean drawNgon(miState* state, miColor* out, miColor col, miScalar X, miScalar Y, miScalar cx,
                   miScalar cy, miScalar R, miScalar rot, int sides, int mode, miScalar V,
                   miScalar aspect) {
    if (sides < 1) return miFALSE;
    const miScalar dx = (X - cx) / aspect, dy = Y - cy;
    const bool centre = std::abs(dx) < 1e-20f && std::abs(dy) < 1e-20f;
    miScalar theta = centre ? 0 : std::atan2(dy, dx);
    if (theta < 0) theta += 6.2831854820251465f;
    const double segment = kTurn / sides;
    const double phi =
        std::fmod(static_cast<double>(theta) + segment / 2 + static_cast<double>(rot), segment) -
        segment / 2;
    const miScalar r = std::sqrt(dx * dx + dy * dy) * static_cast<miScalar>(std::cos(phi));
    return primitiveProfile(state, out, col, r, dx, dy, R, mode, V);
}

miBoolean drawRays(miState* state, miColor* out, miColor col, miScalar X, miScalar Y, miScalar cx,
                   miScalar cy, miScalar rot, miScalar size, miScalar inner, miScalar outer,
                   int count, int first, int mode, miScalar V, miScalar aspect, int thread) {
    const long long end = std::clamp<long long>(static_cast<long long>(first) + count, 0, kRays);
    return draw_burst(state, out, col, in_burst(X, Y, cx, cy, rot, size, aspect),
                      std::max(first, 0), static_cast<int>(end) - 1, inner, outer, 0, mode, V,
                      thread);
}

miBoolean drawSectors(miState* state, miColor* out, miColor col, miScalar X, miScalar Y,
                      miScalar cx, miScalar cy, miScalar rot, miScalar size, miScalar inner,
                      miScalar outer, miScalar spread, int count, int mode, miScalar V,
                      miScalar aspect, int thread) {
    const int used = std::clamp(count, 0, kFirstSector + 1);
    return draw_burst(state, out, col, in_burst(X, Y, cx, cy, rot, size, aspect),
                      kFirstSector + 1 - used, kFirstSector, inner, outer, spread, mode, V, thread);
}
}
