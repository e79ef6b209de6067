// 4x4 matrices as the contract and the scene records hold them: 16 floats row by row, points and
// vectors being row vectors multiplied from the left.
#pragma once

#include <array>
#include <optional>

#include "frame/types.h"

namespace orvane::numeric {

using Matrix = std::array<float, 16>;

// First a, then b.
Matrix product(const Matrix& a, const Matrix& b);

// Nothing for a matrix without an inverse, and for one whose inverse floats cannot hold.
std::optional<Matrix> inverse(const Matrix& m);

// Rotation about x, then y, then z by the given radians, right-handed: a quarter turn about z
// takes x to y.
Matrix rotation(float x, float y, float z);

// By the upper left 3x3.
inline miVector transform_vector(miVector v, const miMatrix m) {
    return {v.x * m[0] + v.y * m[4] + v.z * m[8], v.x * m[1] + v.y * m[5] + v.z * m[9],
            v.x * m[2] + v.y * m[6] + v.z * m[10]};
}

// Translation included; divided by the fourth coordinate when that is neither 0 nor 1.
inline miVector transform_point(miVector p, const miMatrix m) {
    miVector moved = transform_vector(p, m);
    moved = {moved.x + m[12], moved.y + m[13], moved.z + m[14]};
    const float w = p.x * m[3] + p.y * m[7] + p.z * m[11] + m[15];
    if (w == 0 || w == 1) return moved;
    return {moved.x / w, moved.y / w, moved.z / w};
}

}  // namespace orvane::numeric
