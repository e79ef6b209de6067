// Streaks as a grating of 100 slits diffracts a point of light, at nine wavelengths:
//
//     I(x) = (sin x / x * sin(100 b) / (100 sin b))^2,  b = 1.02 x,  x = u / wavelength
//
// (M. Born and E. Wolf, "Principles of Optics", the grating), with the slits' spacing 1.02 times
// their width. Across a streak the light falls off as a Gaussian.

#include "flare/star.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

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

using Spectrum = std::array<miScalar, std::size(kSpectrum)>;

// Of single precision like their arguments. One operation for all wavelengths at a time keeps the
// sines from waiting for each other.
Spectrum sines(double scale, const Spectrum& x) {
    Spectrum sine;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const auto argument = static_cast<miScalar>(scale * double{x[i]});
        sine[i] = static_cast<miScalar>(std::sin(double{argument}));
    }
    return sine;
}

// Each product is of single precision, too. Those near 1e-40 decide whether the centre of a streak,
// at u = 1e-20, is bright: they must not be flushed to zero.
Spectrum intensities(double u) {
    Spectrum x, intensity;
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = static_cast<miScalar>(u / kSpectrum[i].wavelength);
    const Spectrum slit = sines(1, x), grating = sines(102, x), between = sines(1.02, x);
    for (std::size_t i = 0; i < x.size(); ++i) {
        const miScalar above = slit[i] * grating[i], below = 100 * x[i] * between[i];
        const double amplitude = double{above} / double{below};
        intensity[i] = static_cast<miScalar>(amplitude * amplitude);
    }
    return intensity;
}

void add_streak(miColor* out, double u, miScalar strength) {
    const Spectrum intensity = intensities(u);
    for (std::size_t i = 0; i < intensity.size(); ++i) {
        const miScalar value = intensity[i] * strength;
        if (!std::isfinite(value)) continue;  // u without bounds has no pattern
        out->r += static_cast<miScalar>(double{value} * kSpectrum[i].r);
        out->g += static_cast<miScalar>(double{value} * kSpectrum[i].g);
        out->b += static_cast<miScalar>(double{value} * kSpectrum[i].b);
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
        const double u = light->streak_frequency[i] * double{along} + double{kTiny};
        add_streak(out, u, static_cast<miScalar>(std::exp(-(p / w) * (p / w))));
    }
}
}
