// The contract's operations on matrices.

#include <algorithm>

#include "frame/host.h"
#include "numeric/matrix.h"

namespace numeric = orvane::numeric;

namespace {

numeric::Matrix load(const miMatrix m) {
    numeric::Matrix result;
    std::copy_n(m, result.size(), result.begin());
    return result;
}

void store(miMatrix out, const numeric::Matrix& m) { std::ranges::copy(m, out); }

constexpr numeric::Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

}  // namespace

void mi_matrix_ident(miMatrix m) { store(m, kIdentity); }

void mi_matrix_prod(miMatrix out, const miMatrix a, const miMatrix b) {
    store(out, numeric::product(load(a), load(b)));
}

miBoolean mi_matrix_invert(miMatrix out, const miMatrix in) {
    const auto inverse = numeric::inverse(load(in));
    store(out, inverse.value_or(kIdentity));
    return inverse ? miTRUE : miFALSE;
}

void mi_matrix_rotate(miMatrix m, miScalar x, miScalar y, miScalar z) {
    store(m, numeric::rotation(x, y, z));
}

void mi_point_transform(miVector* out, miVector* in, const miMatrix m) {
    *out = numeric::transform_point(*in, m);
}

void mi_vector_transform(miVector* out, miVector* in, const miMatrix m) {
    *out = numeric::transform_vector(*in, m);
}
