// Streaks as a grating of 100 slits diffracts a point of light, at nine wavelengths:
//
//     I(x) = (sin x / x * sin(100 b) / (100 sin b))^2,  b = 1.02 x,  x = u / wavelength
//
// (M. Born and E. Wolf, "Principles of Optics", the grating), with the slits' spacing 1.02 times
// their width. Across a streak the light falls off as a Gaussian.

#include "flare/star.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr miScalar kTiny = 1e-20f;

struct SpectralSample {
    double wavelength;  // hundreds of nanometres
    double r, g, b;     // weight in each channel
};
constexpr SpectralSample kSpectrum[] = {
    {4.2, 0, 0, 0.2},     {4.5, 0, 0, 0.6},  {5.0, 0, 0.25, 0.2},
    {5.2, -0.13, 0, 0},   {5.5, 0, 0.5, 0},  {5.8, 0.27, 0, 0},
    {6.0, 0.46, 0.25, 0}, {6.4, 0.27, 0, 0}, {6.6, 0.13, 0, 0},
};

int streaks(const Orvane_Light_params* params) {
    return std::clamp<int>(params->star_count, 0, kMostStreaks);
}

// Products near 1e-40 decide whether the centre of a streak, at u = 1e-20, is bright: they must
// not be flushed to zero.
double intensity(double u, double wavelength) {
    const double x = u / wavelength;
    const auto slit = static_cast<miScalar>(std::sin(x));
    const auto grating = static_cast<miScalar>(std::sin(102 * x));
    const auto between = static_cast<miScalar>(std::sin(1.02 * x));
    const miScalar above = slit * grating;
    const auto below = static_cast<miScalar>(100 * x * static_cast<double>(between));
    const double amplitude = static_cast<double>(above) / static_cast<double>(below);
    return amplitude * amplitude;
}

void add_streak(miColor* out, double u, double strength) {
    for (const SpectralSample& sample : kSpectrum) {
        const double value = intensity(u, sample.wavelength) * strength;
        if (!std::isfinite(value)) continue;  // u without bounds has no pattern
        out->r += static_cast<miScalar>(value * sample.r);
        out->g += static_cast<miScalar>(value * sample.g);
        out->b += static_cast<miScalar>(value * sample.b);
    }
}

}  // namespace

extern "C" {

void buildStarTables(FlareLight* light, int index, miState* state) {
    const Orvane_Light_params* params = light->params;
    const int n = streaks(params);
    const bool at_centre = std::abs(light->x) < kTiny && std::abs(light->y) < kTiny;
    const miScalar polar = at_centre ? 0 : std::atan2(light->y, light->x);
    const auto follow = static_cast<double>(static_cast<miUint>(params->star_follow));
    const bool varies_length = std::abs(params->star_length_noise) > 1e-6f;
    const bool varies_width = std::abs(params->star_width_noise) > 1e-6f;
    const miScalar time =
        state->camera->frame_time * params->star_noise_speed + static_cast<miScalar>(index);
    for (int i = 0; i < n; ++i) {
        double& frequency = light->streak_frequency[i];
        double& width = light->streak_width[i];
        light->streak_angle[i] =
            i * 6.283185307179586 / n + follow * static_cast<double>(polar) +
            static_cast<double>(params->star_rotation) * 3.141592653589793 / 180;
        light->streak_cosine[i] = static_cast<miScalar>(std::cos(light->streak_angle[i]));
        light->streak_sine[i] = static_cast<miScalar>(std::sin(light->streak_angle[i]));
        frequency = 100 / static_cast<double>(params->star_length) * 3141.592653589793;
        width = static_cast<double>(params->star_width) / 5;
        if (!varies_length && !varies_width) continue;

        // One noise value serves both.
        const double noise =
            static_cast<double>(mi_noise_2d(time, static_cast<miScalar>(i * 3.141592653589793)));
        if (varies_length)
            frequency += (noise - 0.5) * static_cast<double>(params->star_length_noise) * frequency;
        if (varies_width)
            width += (noise - 0.5) * static_cast<double>(params->star_width_noise) * width;
    }
}

void drawStar(miColor* out, const FlareLight* light, miScalar X, miScalar Y) {
    const double dx = (static_cast<double>(X) - static_cast<double>(light->x)) /
                      static_cast<double>(light->params->flare_aspect);
    const double dy = static_cast<double>(Y) - static_cast<double>(light->y);
    const double ax = std::atan(dx / 100000), ay = std::atan(dy / 100000);
    const int n = streaks(light->params);
    for (int i = 0; i < n; ++i) {
        const double w = light->streak_width[i];
        const double c = light->streak_cosine[i], s = light->streak_sine[i];
        const double p = std::abs(dx * s - dy * c);
        if (!(p < 5 * w)) continue;
        const auto along = static_cast<miScalar>(std::sin(std::abs(ax * c + ay * s)));
        const double u = light->streak_frequency[i] * static_cast<double>(along) + 1e-20;
        const auto across = static_cast<miScalar>(std::exp(-(p / w) * (p / w)));
        add_streak(out, u, static_cast<double>(across));
    }
}
}
