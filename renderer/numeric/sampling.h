// Quasi-random numbers that are keyed by what they are for, never by thread or time.
#pragma once

#include <array>
#include <cstdint>

namespace orvane::numeric {

constexpr std::uint64_t kGolden = 0x9e3779b97f4a7c15u;

// The finaliser of G. Steele's SplitMix64.
inline std::uint64_t hash(std::uint64_t h) {
    h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9u;
    h = (h ^ (h >> 27)) * 0x94d049bb133111ebu;
    return h ^ (h >> 31);
}

// A well-mixed 64-bit hash of a key and a value, to derive keys from keys.
inline std::uint64_t mix(std::uint64_t key, std::uint64_t value) {
    return hash(hash(key + kGolden) + value * kGolden);
}

// Point number index of a (0, 2)-sequence in base 2, scrambled by key: any 4^n points from a
// multiple of 4^n on fall one each into the cells of a 2^n x 2^n grid. In 0..1, 1 excluded.
std::array<double, 2> sample_2d(std::uint64_t key, std::uint32_t index);

// The same as one dimension, of the van der Corput sequence.
double sample_1d(std::uint64_t key, std::uint32_t index);

// Uniform in 0..1, 1 excluded, without any relation between keys.
double uniform(std::uint64_t key);

}  // namespace orvane::numeric
