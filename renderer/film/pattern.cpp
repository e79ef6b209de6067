// The pattern of the samples: a (0, 2)-net, the first two dimensions of Sobol's sequence.
#include "film/pattern.h"

#include <algorithm>
#include <cmath>

#include "numeric/sampling.h"

namespace orvane::film {

namespace {

// What keys are derived with for each purpose: any numbers that differ.
constexpr std::uint64_t kFrame = 0x6f7276616e65;
constexpr std::uint64_t kJitterX = 0x10000000001, kJitterY = 0x10000000002;
constexpr std::uint64_t kTime = 0x10000000003;

// Point number index of a net of 4^level points, at the middles of the net's finest rows and
// columns. Flipping digits moves point 0 from the corner to near the centre, a little beyond, so
// that the first four points leave no large part of the pixel on one side of them all.
Offset net_point(int level, std::uint32_t index) {
    const std::uint32_t half = level > 0 ? 1u << (2 * level - 1) : 0;
    std::uint32_t x = half ^ (half >> 3), y = x;
    std::uint32_t x_digit = half, y_digits = half;
    for (; index != 0; index >>= 1) {
        if (index & 1) {
            x ^= x_digit;
            y ^= y_digits;
        }
        x_digit >>= 1;
        y_digits ^= y_digits >> 1;
    }
    const float scale = std::ldexp(1.0f, -2 * level);
    return {(static_cast<float>(x) + 0.5f) * scale, (static_cast<float>(y) + 0.5f) * scale};
}

float below_one(double x) { return std::min(static_cast<float>(x), 0x1.fffffep-1f); }

}  // namespace

std::uint64_t pixel_key(int x, int y) {
    const std::uint64_t row = numeric::mix(kFrame, static_cast<std::uint64_t>(y));
    return numeric::mix(row, static_cast<std::uint64_t>(x));
}

std::uint64_t sample_key(std::uint64_t pixel, std::uint32_t number) {
    return numeric::mix(pixel, number);
}

Pattern::Pattern(int level, float jitter) : jitter_(jitter), cell_(std::ldexp(1.0f, -level)) {
    for (std::uint32_t index = 0; index < 1u << (2 * level); ++index)
        points_.push_back(net_point(level, index));
}

Offset Pattern::position(std::uint64_t sample, std::uint32_t number) const {
    const Offset point = points_[number];
    if (jitter_ == 0) return point;
    const auto move = [&](float base, std::uint64_t purpose) {
        const float corner = std::floor(base / cell_) * cell_;
        const double random = numeric::uniform(numeric::mix(sample, purpose)) * cell_;
        return below_one(corner + (1 - jitter_) * (base - corner) + jitter_ * random);
    };
    return {move(point.x, kJitterX), move(point.y, kJitterY)};
}

float sample_time(std::uint64_t pixel, std::uint32_t number) {
    return below_one(numeric::sample_1d(numeric::mix(pixel, kTime), number));
}

}  // namespace orvane::film
