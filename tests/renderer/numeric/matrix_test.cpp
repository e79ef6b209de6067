// Matrices, points and vectors, and splines: identities and values known by hand.

#include "numeric/matrix.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "frame/host.h"

namespace orvane::numeric {
namespace {

using testing::ElementsAreArray;
using testing::FloatNear;
using testing::Pointwise;

constexpr float kQuarter = std::numbers::pi_v<float> / 2;
constexpr miMatrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

auto Is(float x, float y, float z) {
    return testing::FieldsAre(FloatNear(x, 1e-5f), FloatNear(y, 1e-5f), FloatNear(z, 1e-5f));
}

TEST(Matrix, ProductTakesTheFirstOperandFirst) {
    const miMatrix moved = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1};
    miMatrix turned, both, a;
    mi_matrix_rotate(turned, 0, 0, kQuarter);
    mi_matrix_prod(both, moved, turned);
    EXPECT_THAT(transform_point({1, 0, 0}, both), Is(0, 2, 0));

    // The product may be written over either operand, or both.
    std::copy_n(moved, 16, a);
    mi_matrix_prod(a, a, turned);
    EXPECT_THAT(a, ElementsAreArray(both));
    std::copy_n(turned, 16, a);
    mi_matrix_prod(a, moved, a);
    EXPECT_THAT(a, ElementsAreArray(both));
    mi_matrix_prod(turned, turned, turned);
    EXPECT_THAT(transform_vector({1, 0, 0}, turned), Is(-1, 0, 0));
}

TEST(Matrix, RotatesRightHandedAboutXThenYThenZ) {
    miMatrix m, x, y, z, product;
    mi_matrix_rotate(x, kQuarter, 0, 0);
    mi_matrix_rotate(y, 0, kQuarter, 0);
    mi_matrix_rotate(z, 0, 0, kQuarter);
    EXPECT_THAT(transform_vector({0, 1, 0}, x), Is(0, 0, 1));
    EXPECT_THAT(transform_vector({0, 0, 1}, y), Is(1, 0, 0));
    EXPECT_THAT(transform_vector({1, 0, 0}, z), Is(0, 1, 0));

    mi_matrix_prod(product, x, y);
    mi_matrix_prod(product, product, z);
    mi_matrix_rotate(m, kQuarter, kQuarter, kQuarter);
    EXPECT_THAT(m, Pointwise(FloatNear(1e-6f), product));
}

TEST(Matrix, InverseUndoesAndSingularIsRefused) {
    // Small scale, far away, with perspective: what a relative test for singularity must let pass.
    miMatrix m, inverse, product;
    mi_matrix_rotate(m, 0.3f, -1.1f, 2.5f);
    for (int i = 0; i < 12; ++i) m[i] *= 1e-4f;
    m[3] = 0.25f;
    m[12] = 1000;
    std::copy_n(m, 16, inverse);
    ASSERT_EQ(mi_matrix_invert(inverse, inverse), miTRUE);
    mi_matrix_prod(product, m, inverse);
    EXPECT_THAT(product, Pointwise(FloatNear(2e-3f), kIdentity));

    const miMatrix singular[] = {{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 3, 4, 5, 1},
                                 {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16},
                                 {1e-39f, 0, 0, 0, 0, 1e-39f, 0, 0, 0, 0, 1e-39f, 0, 0, 0, 0, 1},
                                 {NAN, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};
    for (const miMatrix& matrix : singular) {
        EXPECT_EQ(mi_matrix_invert(inverse, matrix), miFALSE);
        EXPECT_THAT(inverse, ElementsAreArray(kIdentity));
    }
}

TEST(Transform, PointsMoveVectorsDoNotAndOnlyAWThatCountsDivides) {
    const miMatrix moved = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 10, 20, 30, 1};
    EXPECT_THAT(transform_point({1, 2, 3}, moved), Is(12, 24, 36));
    EXPECT_THAT(transform_vector({1, 2, 3}, moved), Is(2, 4, 6));
    const miMatrix perspective = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, -1, 0, 0, 0, 0};
    EXPECT_THAT(transform_point({2, 4, -2}, perspective), Is(1, 2, -1));
    EXPECT_THAT(transform_point({2, 4, 0}, perspective), Is(2, 4, 0));
}

TEST(Spline, PassesThroughItsValuesWithoutKinksAndClamps) {
    const float values[] = {0.5f, 2, -1, 0.25f, 7};
    for (int i = 0; i < 5; ++i)
        EXPECT_FLOAT_EQ(mi_spline(static_cast<float>(i) / 4, 5, values), values[i]);
    EXPECT_EQ(mi_spline(-3, 5, values), 0.5f);
    EXPECT_EQ(mi_spline(1e30f, 5, values), 7);
    EXPECT_EQ(mi_spline(NAN, 5, values), 0.5f);

    // The same slope on both sides of an inner value: that of the line between its neighbours.
    for (const float step : {-1e-3f, 1e-3f})
        EXPECT_NEAR((mi_spline(0.5f + step, 5, values) - values[2]) / step, (0.25f - 2) * 2, 0.2f);

    for (const auto& [count, value] : {std::pair(0, 0.0f), {-1, 0}, {1, 0.5f}, {2, 1.25f}})
        EXPECT_EQ(mi_spline(0.5f, count, values), value) << count;
}

}  // namespace
}  // namespace orvane::numeric
