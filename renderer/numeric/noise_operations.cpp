// The contract's operations for noise, quasi-random and random numbers, and splines.

#include <cstdint>
#include <span>

#include "frame/host.h"
#include "numeric/noise.h"
#include "numeric/sampling.h"
#include "numeric/spline.h"

namespace numeric = orvane::numeric;

namespace {

// state->sample_dimension counts single points in its lower half and loops in its upper half: the
// points of a loop have a sequence of their own, and a loop does not tear apart the sequence of
// the single points around it.
constexpr miUint kOneLoop = 0x10000;
constexpr miUint kSinglePoints = kOneLoop - 1;

// Writes one point, its dimensions taken in pairs, each pair from a sequence of its own.
void write_point(double* samples, miUint dimension, std::uint64_t key, miUint index) {
    for (miUint i = 0; i < dimension; i += 2) {
        const auto pair = numeric::sample_2d(numeric::mix(key, i), index);
        samples[i] = pair[0];
        if (i + 1 < dimension) samples[i + 1] = pair[1];
    }
}

}  // namespace

miScalar mi_noise_3d(miVector* p) { return numeric::noise_3d(p->x, p->y, p->z); }

miScalar mi_noise_2d(miScalar u, miScalar v) { return numeric::noise_2d(u, v); }

miBoolean mi_sample(double* samples, int* instance, miState* state, miUint dimension,
                    const miUint* n) {
    const std::uint64_t key = state ? state->sample_key : 0;
    if (!n) {
        miUint index = 0;
        if (state) {
            index = state->sample_dimension++ & kSinglePoints;
        } else if (instance) {
            index = static_cast<miUint>((*instance)++);
        }
        write_point(samples, dimension, key, index);
        return miTRUE;
    }

    // Begin a loop with a new sequence, and end it after n points.
    const auto index = static_cast<miUint>(*instance);
    if (index >= *n) return miFALSE;
    if (state && index == 0) state->sample_dimension += kOneLoop;
    const miUint loop = state ? state->sample_dimension / kOneLoop : 1;
    write_point(samples, dimension, numeric::mix(key, loop), index);
    ++*instance;
    return miTRUE;
}

// The 48-bit linear congruential generator of the C library's erand48, low word first.
double mi_erandom(unsigned short seed[3]) {
    constexpr std::uint64_t kFactor = 0x5deece66d, kIncrement = 0xb;
    std::uint64_t x = static_cast<std::uint64_t>(seed[2]) << 32 |
                      static_cast<std::uint64_t>(seed[1]) << 16 | seed[0];
    x = (x * kFactor + kIncrement) & 0xffffffffffff;
    for (int i = 0; i < 3; ++i) seed[i] = static_cast<unsigned short>(x >> (16 * i));
    return static_cast<double>(x) * 0x1p-48;
}

miScalar mi_spline(miScalar t, int n, const miScalar* ctl) {
    return n > 0 ? numeric::spline(t, std::span(ctl, static_cast<std::size_t>(n))) : 0;
}
