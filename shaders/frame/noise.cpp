// Bias and gain: K. Perlin, "Hypertexture", 1989.

#include "frame/noise.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "frame/host.h"

namespace {

constexpr double kPi = 3.141592653589793, kRightAngle = 1.5707963267948966;

// The frequencies of so many octaves, 1 .. 2^30, are integers of 32 bits.
constexpr int kMostOctaves = 31;

void fade(miScalar* channel, miScalar target, long double t) {
    const auto blend = static_cast<miScalar>((1 - t) * *channel + t * target);
    if (std::isfinite(blend)) *channel = blend;
}

double shape(int type, double s) {
    switch (type) {
        case qv_LINEAR:
            return s;
        case qv_CIRCLE_OUT:
            return std::sqrt(1 - (s - 1) * (s - 1));
        case qv_CIRCLE_IN:
            return 1 - std::sqrt(1 - s * s);
        case qv_SINE_OUT:
            return std::cos(-kRightAngle + kRightAngle * s);
        case qv_SINE_IN:
            return std::cos(kRightAngle * s - kPi) + 1.0;
    }
    std::fprintf(stderr, "INVALID INTERPOLATION TYPE\n");
    std::exit(EXIT_SUCCESS);
}

// noise(frequency) moves its point on by this factor and looks there.
template <typename Noise>
double sum_octaves(int octaves, double amplitude, Noise noise) {
    double sum = 0;
    miInteger frequency = 1;
    for (int octave = 0; octave < std::min(octaves, kMostOctaves); ++octave) {
        if (octave > 0) frequency *= 2;
        const double n = noise(static_cast<miScalar>(frequency));
        sum += amplitude * (0.5 - n) / frequency;
    }
    return 0.5 + sum;
}

// The exponent of a bias: 1 for 1/2.
double exponent(double bias) { return std::log(bias) / std::log(0.5); }

}  // namespace

extern "C" {

void qv_ColorFade(miColor* color, miColor* target, double t) {
    fade(&color->r, target->r, t);
    fade(&color->g, target->g, t);
    fade(&color->b, target->b, t);
}

double qv_Interpolate(int type, double x0, double x1, double x, double y0, double y1) {
    const double s = x0 != x1 ? (x - x0) / (x1 - x0) : x < x0 ? 0 : 1;
    return (y1 - y0) * shape(type, s) + y0;
}

double qv_NoiseOctave3D(miVector* point, int octaves, double amplitude) {
    miVector p = *point;
    return sum_octaves(octaves, amplitude, [&p](miScalar frequency) {
        p = p * frequency;
        return mi_noise_3d(&p);
    });
}

double qv_NoiseOctave2D(double u, double v, int octaves, double amplitude) {
    auto x = static_cast<miScalar>(u), y = static_cast<miScalar>(v);
    return sum_octaves(octaves, amplitude, [&x, &y](miScalar frequency) {
        x *= frequency;
        y *= frequency;
        return mi_noise_2d(x, y);
    });
}

double qv_Bias(double t, double bias) { return std::pow(t, exponent(bias)); }

double qv_Gain(double t, double gain) {
    const double e = exponent(1 - gain);
    if (t < 0.001) return 0;
    if (t > 0.999) return 1;
    return t < 0.5 ? 0.5 * std::pow(2 * t, e) : 1 - 0.5 * std::pow(2 - 2 * t, e);
}

// From 34! on the product is a multiple of 2^32.
int qv_Factorial(int n) {
    if (n <= 0) return 0;
    std::uint32_t product = 1;
    for (std::uint32_t i = 2; i <= static_cast<std::uint32_t>(n) && product != 0; ++i) product *= i;
    return static_cast<std::int32_t>(product);
}

void qv_PerturbVector(miState* state, miVector* dir, double amount) {
    double samples[3];
    mi_sample(samples, nullptr, state, 3, nullptr);
    const auto moved = [amount](miScalar x, double sample) {
        return static_cast<miScalar>(x + (static_cast<miScalar>(sample) - 0.5) * amount);
    };
    *dir = {moved(dir->x, samples[0]), moved(dir->y, samples[1]), moved(dir->z, samples[2])};

    const double x = dir->x, y = dir->y, z = dir->z;
    const double len = std::sqrt(x * x + y * y + z * z);
    if (len == 0) return;
    const double scale = 1 / len;
    *dir = {static_cast<miScalar>(x * scale), static_cast<miScalar>(y * scale),
            static_cast<miScalar>(z * scale)};
}
}
