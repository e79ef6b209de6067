// Single-precision arithmetic on vectors and colours. Each function does one rounding per
// operation, in the order written; none contracts or reassociates.
#pragma once

#include <cmath>

#include "frame/types.h"

static inline miVector operator+(miVector a, miVector b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
static inline miVector operator-(miVector a, miVector b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
static inline miVector operator-(miVector a) { return {-a.x, -a.y, -a.z}; }
static inline miVector operator*(miVector a, miScalar s) { return {a.x * s, a.y * s, a.z * s}; }

static inline miScalar dot(miVector a, miVector b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
static inline miVector cross(miVector a, miVector b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
static inline miScalar length(miVector a) { return std::sqrt(dot(a, a)); }
static inline bool is_zero(miVector a) { return a.x == 0 && a.y == 0 && a.z == 0; }

// The vector at unit length; a vector of length 0 comes back as it is.
static inline miVector normalized(miVector a) {
    const miScalar len = length(a);
    return len == 0 ? a : miVector{a.x / len, a.y / len, a.z / len};
}

// Multiplies r, g and b, channel by channel; alpha stays.
static inline void filter_rgb(miColor* c, miScalar r, miScalar g, miScalar b) {
    c->r *= r;
    c->g *= g;
    c->b *= b;
}
static inline void scale_rgb(miColor* c, miScalar s) { filter_rgb(c, s, s, s); }
