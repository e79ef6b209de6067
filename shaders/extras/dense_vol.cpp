// zel_dense_vol: a uniform absorbing medium, such as murky water or thick smoke.
//
// Along a ray segment of length d it takes from each channel
//
//     loss = (1 - color) * density * thinning * d^exponent
//
// and never lets a channel fall below 0. The loss is linear in the distance term where the
// Beer-Lambert law is exponential: a long enough segment is black. It adds no light.

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "frame/host.h"

extern "C" {

struct zel_dense_vol_params {
    miScalar density;     // absorption per unit of the distance term
    miColor color;        // transmission: 1 absorbs nothing, 0 fully; alpha unused
    miInteger unused;     // declared, never read
    miBoolean thin;       // distance term x 0.1
    miBoolean very_thin;  // distance term x 0.01; thin wins
    miScalar exponent;    // power of the segment's length
};
static_assert(sizeof(zel_dense_vol_params) == 9 * 4);

int zel_dense_vol_version() { return 1; }

void zel_dense_vol_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "dense");
}

// Keeps overflow out of the products that follow, where 0 times infinity would be no number.
static double held(double x) { return std::clamp<double>(x, -FLT_MAX, FLT_MAX); }

static miScalar distance_term(double distance, const zel_dense_vol_params* params) {
    const double power = params->exponent == 1 ? distance : std::pow(distance, params->exponent);
    const auto term = static_cast<miScalar>(held(power));
    if (params->thin) return 0.1f * term;
    return params->very_thin ? 0.01f * term : term;
}

static void absorb(miScalar* channel, miScalar transmission, miScalar absorption) {
    const miScalar loss = (1 - transmission) * absorption;
    if (!std::isnan(loss)) *channel = std::clamp(*channel - loss, 0.0f, FLT_MAX);
}

// Parameters that are not numbers absorb nothing: a channel of color in its own channel, density
// and exponent in all.
miBoolean zel_dense_vol(miColor* result, miState* state, zel_dense_vol_params* params) {
    if (!(state->dist > 0)) return miTRUE;
    const miScalar term = distance_term(state->dist, params);
    const auto absorption = static_cast<miScalar>(held(double{term} * params->density));
    absorb(&result->r, params->color.r, absorption);
    absorb(&result->g, params->color.g, absorption);
    absorb(&result->b, params->color.b, absorption);
    return miTRUE;
}
}
