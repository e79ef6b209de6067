// 4x4 matrices, over Imath, whose layout and convention are the same.

#include "numeric/matrix.h"

#include <ImathMatrix.h>

#include <algorithm>
#include <cmath>

namespace orvane::numeric {
namespace {

Imath::M44f to_imath(const Matrix& m) {
    Imath::M44f result;
    std::ranges::copy(m, result.getValue());
    return result;
}

Matrix from_imath(const Imath::M44f& m) {
    Matrix result;
    std::copy_n(m.getValue(), result.size(), result.begin());
    return result;
}

// Product of the lengths of the rows: the determinant if they were orthogonal.
double volume_of_box(const Imath::M44d& m) {
    double product = 1;
    for (const auto& row : m.x) {
        product *= std::sqrt(row[0] * row[0] + row[1] * row[1] + row[2] * row[2] + row[3] * row[3]);
    }
    return product;
}

}  // namespace

Matrix product(const Matrix& a, const Matrix& b) { return from_imath(to_imath(a) * to_imath(b)); }

std::optional<Matrix> inverse(const Matrix& m) {
    // A determinant that vanishes against the rows is the rounding error of 0.
    const Imath::M44d wide(to_imath(m));
    if (!(std::abs(wide.determinant()) > 1e-14 * volume_of_box(wide))) return std::nullopt;

    const Matrix result = from_imath(Imath::M44f(wide.inverse()));
    if (!std::ranges::all_of(result, [](float x) { return std::isfinite(x); })) return std::nullopt;
    return result;
}

Matrix rotation(float x, float y, float z) {
    Imath::M44d m;
    m.setEulerAngles(Imath::V3d(x, y, z));
    return from_imath(Imath::M44f(m));
}

}  // namespace orvane::numeric
