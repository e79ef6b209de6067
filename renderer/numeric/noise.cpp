// Gradient noise (K. Perlin, "Improving Noise", 2002) over a hashed lattice: each lattice point
// has a direction, its corner of the cell contributes the dot product of that direction with the
// way to it, and the corners are blended by the quintic fade t^3 (6 t^2 - 15 t + 10).
//
// Departs from the paper in its lattice hash, which never repeats visibly, and in the mapping of
// the blend n, which is scaled to -1..1, to 1/2 + n (3 - n^2) / 4: plain noise seldom comes near
// its ends, so the cubic spreads it without a clamp, and is flat where it meets 0 and 1.

#include "numeric/noise.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace orvane::numeric {
namespace {

// The largest blends that the gradients below allow, at or near the middle of a cell.
constexpr float kLargest2d = 1.0f;
constexpr float kLargest3d = 1.0363538f;

struct alignas(16) Gradient {
    float x, y, z;
};

// The middles of a cube's edges; the last four repeat, opposite in pairs, for a count of 16.
constexpr Gradient kGradients3d[16] = {
    {1, 1, 0}, {-1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, {1, 0, 1}, {-1, 0, 1}, {1, 0, -1}, {-1, 0, -1},
    {0, 1, 1}, {0, -1, 1}, {0, 1, -1}, {0, -1, -1}, {1, 1, 0}, {-1, 1, 0}, {0, -1, 1}, {0, -1, -1},
};

// Eight directions of the same length.
constexpr float kDiagonal = 1.41421356f;
constexpr Gradient kGradients2d[8] = {
    {1, 1, 0},         {-1, 1, 0},         {1, -1, 0},        {-1, -1, 0},
    {kDiagonal, 0, 0}, {-kDiagonal, 0, 0}, {0, kDiagonal, 0}, {0, -kDiagonal, 0},
};

// An argument split into the two lattice coordinates around it, hashed, and the way to the first.
struct Axis {
    std::uint32_t first, second;
    float offset, fade;
};

// Spreads a lattice coordinate over all bits; seed differs between the axes.
std::uint32_t hash(std::uint32_t coordinate, std::uint32_t seed) {
    const std::uint32_t h = coordinate * 0x9e3779b1u + seed;
    return (h ^ (h >> 15)) * 0x85ebca77u;
}

Axis split(float x, std::uint32_t seed) {
    auto whole = static_cast<std::int32_t>(x);
    whole -= x < static_cast<float>(whole);
    const float t = x - static_cast<float>(whole);
    const auto coordinate = static_cast<std::uint32_t>(whole);
    return {hash(coordinate, seed), hash(coordinate + 1, seed), t,
            t * t * t * (t * (t * 6 - 15) + 10)};
}

constexpr std::uint32_t kSeedX = 0, kSeedY = 0x68e31da4u, kSeedZ = 0xb5297a4du;

// A lattice point's direction from its coordinates' hashes combined: the top bits, best mixed.
std::uint32_t top_bits(std::uint32_t combined, int count) {
    return ((combined ^ (combined >> 16)) * 0xc2b2ae3du) >> (32 - count);
}

float corner(std::uint32_t combined, float x, float y, float z) {
    const Gradient& g = kGradients3d[top_bits(combined, 4)];
    return g.x * x + g.y * y + g.z * z;
}

float corner(std::uint32_t combined, float x, float y) {
    const Gradient& g = kGradients2d[top_bits(combined, 3)];
    return g.x * x + g.y * y;
}

float blend(float t, float a, float b) { return a + t * (b - a); }

// Maps -1..1 to 0..1; the clamp is for the last bit of rounding.
float spread(float n) {
    n = std::clamp(n, -1.0f, 1.0f);
    return 0.5f + n * (3 - n * n) * 0.25f;
}

// Whether a lattice coordinate fits an integer. Floats beyond are whole numbers far apart, which
// stand for any other: they are replaced by 0.
bool fits(float x) { return std::abs(x) < 0x1p30f; }

}  // namespace

float noise_3d(float x, float y, float z) {
    if (!(fits(x) && fits(y) && fits(z))) {
        if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) return 0.5f;
        return noise_3d(fits(x) ? x : 0, fits(y) ? y : 0, fits(z) ? z : 0);
    }

    // Blend the four edges along x, then the pairs along y, then along z.
    const Axis ax = split(x, kSeedX), ay = split(y, kSeedY), az = split(z, kSeedZ);
    const auto edge = [&](std::uint32_t yz, float oy, float oz) {
        return blend(ax.fade, corner(ax.first ^ yz, ax.offset, oy, oz),
                     corner(ax.second ^ yz, ax.offset - 1, oy, oz));
    };
    const auto face = [&](std::uint32_t hz, float oz) {
        return blend(ay.fade, edge(ay.first ^ hz, ay.offset, oz),
                     edge(ay.second ^ hz, ay.offset - 1, oz));
    };
    const float n = blend(az.fade, face(az.first, az.offset), face(az.second, az.offset - 1));
    return spread(n * (1 / kLargest3d));
}

float noise_2d(float x, float y) {
    if (!(fits(x) && fits(y))) {
        if (!std::isfinite(x) || !std::isfinite(y)) return 0.5f;
        return noise_2d(fits(x) ? x : 0, fits(y) ? y : 0);
    }

    const Axis ax = split(x, kSeedX), ay = split(y, kSeedY);
    const auto edge = [&](std::uint32_t hy, float oy) {
        return blend(ax.fade, corner(ax.first ^ hy, ax.offset, oy),
                     corner(ax.second ^ hy, ax.offset - 1, oy));
    };
    const float n = blend(ay.fade, edge(ay.first, ay.offset), edge(ay.second, ay.offset - 1));
    return spread(n * (1 / kLargest2d));
}

}  // namespace orvane::numeric
