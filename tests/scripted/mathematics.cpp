// The scripted renderer's transforms, matrices, noise and random numbers.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "scripted/script.h"

using scripted::current;
using scripted::Matrix;

namespace scripted {

Matrix identity() { return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}; }

Matrix translation(miScalar x, miScalar y, miScalar z) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

Matrix rotation(miScalar x, miScalar y, miScalar z) {
    Matrix m;
    mi_matrix_rotate(m.data(), x, y, z);
    return m;
}

Matrix operator*(const Matrix& a, const Matrix& b) {
    Matrix m;
    mi_matrix_prod(m.data(), a.data(), b.data());
    return m;
}

}  // namespace scripted

static Matrix inverse(const Matrix& m) {
    Matrix out;
    mi_matrix_invert(out.data(), m.data());
    return out;
}

static void point(miVector* out, miVector v, const Matrix& m) {
    mi_point_transform(out, &v, m.data());
}
static void vector(miVector* out, miVector v, const Matrix& m) {
    mi_vector_transform(out, &v, m.data());
}

extern "C" {

// ---- Transforms

void mi_point_transform(miVector* out, miVector* in, const miMatrix m) {
    mi_vector_transform(out, in, m);
    *out = *out + miVector{m[12], m[13], m[14]};
}
void mi_vector_transform(miVector* out, miVector* in, const miMatrix m) {
    const auto [x, y, z] = *in;
    *out = {x * m[0] + y * m[4] + z * m[8], x * m[1] + y * m[5] + z * m[9],
            x * m[2] + y * m[6] + z * m[10]};
}

#define TO(of, space) \
    void mi_##of##_to_##space(miState*, miVector* o, miVector* i) { of(o, *i, current().space); }
#define FROM(of, space)                                               \
    void mi_##of##_from_##space(miState*, miVector* o, miVector* i) { \
        of(o, *i, inverse(current().space));                          \
    }
TO(point, world)
TO(point, camera)
TO(point, object)
TO(vector, world)
TO(vector, camera)
TO(vector, object)
FROM(point, world)
FROM(point, camera)
FROM(vector, world)
FROM(vector, camera)
#undef TO
#undef FROM

// ---- Matrices

void mi_matrix_ident(miMatrix m) {
    for (int i = 0; i < 16; ++i) m[i] = i % 5 == 0 ? 1.0f : 0.0f;
}

void mi_matrix_prod(miMatrix out, const miMatrix a, const miMatrix b) {
    miMatrix product = {};
    for (int i = 0; i < 16; ++i)
        for (int k = 0; k < 4; ++k) product[i] += a[i / 4 * 4 + k] * b[k * 4 + i % 4];
    std::copy_n(product, 16, out);
}

// Gauss-Jordan elimination with pivoting.
miBoolean mi_matrix_invert(miMatrix out, const miMatrix in) {
    double rows[4][8] = {};
    for (int i = 0; i < 16; ++i) rows[i / 4][i % 4] = in[i];
    for (int i = 0; i < 4; ++i) rows[i][4 + i] = 1;
    for (int column = 0; column < 4; ++column) {
        int pivot = column;
        for (int i = column + 1; i < 4; ++i)
            if (std::abs(rows[i][column]) > std::abs(rows[pivot][column])) pivot = i;
        if (rows[pivot][column] == 0) {
            mi_matrix_ident(out);
            return miFALSE;
        }
        std::swap(rows[pivot], rows[column]);
        for (int i = 0; i < 4; ++i) {
            const double factor = (rows[i][column] - (i == column)) / rows[column][column];
            for (int k = 7; k >= column; --k) rows[i][k] -= factor * rows[column][k];
        }
    }
    for (int i = 0; i < 16; ++i) out[i] = static_cast<miScalar>(rows[i / 4][4 + i % 4]);
    return miTRUE;
}

void mi_matrix_rotate(miMatrix m, miScalar x, miScalar y, miScalar z) {
    const auto c = [](miScalar angle) { return std::cos(angle); };
    const auto s = [](miScalar angle) { return std::sin(angle); };
    const miMatrix about_x = {1, 0, 0, 0, 0, c(x), s(x), 0, 0, -s(x), c(x), 0, 0, 0, 0, 1};
    const miMatrix about_y = {c(y), 0, -s(y), 0, 0, 1, 0, 0, s(y), 0, c(y), 0, 0, 0, 0, 1};
    const miMatrix about_z = {c(z), s(z), 0, 0, -s(z), c(z), 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    mi_matrix_prod(m, about_x, about_y);
    mi_matrix_prod(m, m, about_z);
}

// ---- Noise and random numbers

miScalar mi_noise_3d(miVector* p) {
    if (current().noise) return current().noise(*p);
    if (!std::isfinite(p->x + p->y + p->z)) return 0.5f;
    return 0.5f + 0.5f * std::sin(3 * p->x) * std::cos(2 * p->y + 1) * std::cos(2 * p->z);
}
miScalar mi_noise_2d(miScalar u, miScalar v) {
    miVector p = {u, v, 0};
    return mi_noise_3d(&p);
}

// The default sequence is that of the multiples of the golden ratio, modulo 1.
miBoolean mi_sample(double* samples, int* instance, miState* state, miUint dimension,
                    const miUint* n) {
    if (n && *instance >= static_cast<int>(*n)) return miFALSE;
    for (miUint i = 0; i < dimension; ++i) {
        const double next = std::fmod(++state->sample_dimension * 0.6180339887498949, 1.0);
        samples[i] = current().random ? current().random() : next;
    }
    if (n) ++*instance;
    return miTRUE;
}

double mi_erandom(unsigned short seed[3]) { return erand48(seed); }

// Straight lines between the control values.
miScalar mi_spline(miScalar t, int n, const miScalar* ctl) {
    if (n < 2) return ctl[0];
    const miScalar at = std::clamp(t, 0.0f, 1.0f) * static_cast<miScalar>(n - 1);
    const int i = std::min(static_cast<int>(at), n - 2);
    return ctl[i] + (at - static_cast<miScalar>(i)) * (ctl[i + 1] - ctl[i]);
}
}
