// Where on a map a point lies: texture coordinates that are scaled, then moved, then turned.
#pragma once

#include <cmath>
#include <numbers>

#include "frame/host.h"
#include "soft/sane.h"

namespace orvane::soft {

struct Mapping {
    miVector scale, offset;
    miScalar cosine, sine;  // of the rotation of u and v
};

// rotation is in degrees, from u towards v. A scale of 0 counts as 1.
inline Mapping make_mapping(const miVector& scale, const miVector& offset, miScalar rotation) {
    const auto factor = [](miScalar s) { return finite(s) == 0 ? 1 : s; };
    Mapping m = {{factor(scale.x), factor(scale.y), factor(scale.z)},
                 {finite(offset.x), finite(offset.y), finite(offset.z)},
                 1,
                 0};
    if (finite(rotation) != 0) {
        const miScalar angle = rotation * (std::numbers::pi_v<miScalar> / 180);
        m.cosine = std::cos(angle);
        m.sine = std::sin(angle);
    }
    return m;
}

inline miVector map_point(const Mapping& m, const miVector& p) {
    const miScalar u = p.x * m.scale.x + m.offset.x;
    const miScalar v = p.y * m.scale.y + m.offset.y;
    return {u * m.cosine - v * m.sine, u * m.sine + v * m.cosine, p.z * m.scale.z + m.offset.z};
}

// The hit's coordinates in one of its texture spaces; those that the caller of a look-up asked
// for (state->tex) where it has no such space, as none has the number -1.
inline miVector texture_coordinates(miState* state, miInteger space) {
    miVector coord;
    return space >= 0 && mi_tex_coord(state, space, &coord) ? coord : state->tex;
}

}  // namespace orvane::soft
