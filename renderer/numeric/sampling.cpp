// The first two dimensions of Sobol's sequence, scrambled and shuffled by hashes as in B. Burley,
// "Practical Hash-based Owen Scrambling", 2020, with N. Vegdahl's variant of the hash.

#include "numeric/sampling.h"

namespace orvane::numeric {
namespace {

std::uint32_t reverse_bits(std::uint32_t x) {
    x = ((x >> 1) & 0x55555555u) | ((x & 0x55555555u) << 1);
    x = ((x >> 2) & 0x33333333u) | ((x & 0x33333333u) << 2);
    x = ((x >> 4) & 0x0f0f0f0fu) | ((x & 0x0f0f0f0fu) << 4);
    return __builtin_bswap32(x);
}

// A permutation in which each bit is flipped or not by the seed and the bits below it alone.
// That is what keeps the points of a grid's cells in cells of their own: every step here carries
// from low bits to high ones only.
std::uint32_t flip_by_lower_bits(std::uint32_t x, std::uint32_t seed) {
    x ^= x * 0x3d20adeau;
    x += seed;
    x *= (seed >> 16) | 1;
    x ^= x * 0x05526c56u;
    x ^= x * 0x53a22864u;
    return x;
}

// Shuffles the order of the points: any aligned block of 2^n indices stays one.
std::uint32_t shuffled(std::uint32_t index, std::uint32_t seed) {
    return reverse_bits(flip_by_lower_bits(reverse_bits(index), seed));
}

// The index times the generator matrix of Sobol's second dimension, Pascal's triangle modulo 2,
// with the bits in reverse.
std::uint32_t second_dimension(std::uint32_t index) {
    index ^= (index >> 1) & 0x55555555u;
    index ^= (index >> 2) & 0x33333333u;
    index ^= (index >> 4) & 0x0f0f0f0fu;
    index ^= (index >> 8) & 0x00ff00ffu;
    return index ^ (index >> 16);
}

// The scrambled point whose binary digits are those of digits in reverse.
double scrambled(std::uint32_t digits, std::uint32_t seed) {
    return reverse_bits(flip_by_lower_bits(digits, seed)) * 0x1p-32;
}

}  // namespace

std::array<double, 2> sample_2d(std::uint64_t key, std::uint32_t index) {
    const std::uint64_t order = hash(key + kGolden), scramble = hash(order + kGolden);
    index = shuffled(index, static_cast<std::uint32_t>(order >> 32));
    return {scrambled(index, static_cast<std::uint32_t>(scramble)),
            scrambled(second_dimension(index), static_cast<std::uint32_t>(scramble >> 32))};
}

double sample_1d(std::uint64_t key, std::uint32_t index) { return sample_2d(key, index)[0]; }

double uniform(std::uint64_t key) {
    return static_cast<double>(hash(key + kGolden) >> 11) * 0x1p-53;
}

}  // namespace orvane::numeric
