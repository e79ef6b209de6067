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

// Translation included; divided by the fourth coordinate when that is neither 0 nor 1.
miVector transform_point(miVector p, const miMatrix m);

// By the upper left 3x3.
miVector transform_vector(miVector v, const miMatrix m);

}  // namespace orvane::numeric
