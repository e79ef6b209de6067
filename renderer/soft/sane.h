// Keeps what a scene may say by mistake (negative, infinite, not a number) out of the pictures.
#pragma once

#include <cmath>

#include "frame/types.h"

namespace orvane::soft {

// The value, or 0 where it is infinite or not a number.
inline miScalar finite(miScalar x) { return std::isfinite(x) ? x : 0; }
inline miColor finite(const miColor& c) {
    return {finite(c.r), finite(c.g), finite(c.b), finite(c.a)};
}

// The value held within 0..1; 0 where it is not a number.
inline miScalar unit(miScalar x) { return x > 0 ? (x < 1 ? x : 1) : 0; }

// From a at t = 0 to b at t = 1, all four channels.
inline miColor blend(const miColor& a, const miColor& b, miScalar t) {
    const miScalar s = 1 - t;
    return {s * a.r + t * b.r, s * a.g + t * b.g, s * a.b + t * b.b, s * a.a + t * b.a};
}

}  // namespace orvane::soft
