// The sixteen radial profiles, of which 12 and 13 draw nothing.

#include <algorithm>
#include <cmath>
#include <iterator>

#include "flare/primitives.h"

namespace {

miScalar exponential(miScalar x) { return static_cast<miScalar>(std::exp(static_cast<double>(x))); }

// A quasi-random number in 0..1.
miScalar sample(miState* state) {
    double s = 0;
    mi_sample(&s, nullptr, state, 1, nullptr);
    return static_cast<miScalar>(s);
}

miScalar clamped(miScalar x) { return std::min(std::max(x, 0.0f), 1.0f); }

miScalar ring_at_rim(miScalar t, miScalar V) {
    const miScalar h = V / 2;
    return t <= 1 - h ? (t - (1 - V)) / h : 1 - (t - (1 - h)) / h;
}

miScalar noisy_glow(miScalar t, miScalar dx, miScalar dy) {
    if (t != 0) t += 0.02f * (mi_noise_2d(50 * dx / t, 50 * dy / t) - 0.5f);
    return exponential(-clamped(t)) - exponential(-1);
}

miScalar grainy_falloff(miState* state, miScalar t) {
    const miScalar s1 = sample(state), s2 = sample(state);
    const miScalar u = std::max(0.0f, t + 0.08f * (s1 - 0.5f));
    return 1 - clamped(std::sqrt(u) + 0.02f * (s2 - 0.5f));
}

miScalar grainy_ring(miState* state, miScalar t, miScalar V) {
    const miScalar begin = 0.96f - V;
    return 1 - (t + 0.2f * V * (sample(state) - 0.5f) - begin) / (1.02f - begin);
}

// At V = 1 the falling side has no width: the peak stands on the rim.
miScalar tent(miScalar t, miScalar V) {
    if (t < V) return t / V;
    return V == 1 ? 1 : 1 - (t - V) / (1 - V);
}

// What col is multiplied by; not a number where nothing is drawn.
miScalar factor(miState* state, miScalar t, miScalar dx, miScalar dy, int mode, miScalar V) {
    switch (mode) {
        case 0:
            return 1;
        case 1:
            return 1 - t;
        case 2:
            return t;
        case 3:
            return 1 - std::pow(t, V);
        case 4:
            return std::pow(t, V);
        case 5:
            return t <= 1 - V ? NAN : ring_at_rim(t, V);
        case 7:
            return (exponential(-t) * (0.2f - 0.2f * t) + exponential(-t * t / V) * (1 - t * t)) /
                   1.2f;
        case 8:
            return noisy_glow(t, dx, dy);
        case 9:
            return grainy_falloff(state, t);
        case 10:
            return t < 1 - V ? NAN : 1;
        case 11:
            return t < 1 - V ? NAN : grainy_ring(state, t, V);
        case 14:
            return tent(t, V);
        case 15:
            return (1 - t) * exponential(-t * t / V);
    }
    return NAN;
}

struct Stop {
    miScalar from, to;  // fractions of R
    bool r, g, b;       // which channels of the colour the outer edge has
};

// Seven bands from the outer edge inwards; each goes from the colour of the next one's outer
// edge, the last from black.
constexpr Stop kSpectrum[] = {
    {0.99f, 1.00f, false, false, false}, {0.98f, 0.99f, true, false, false},
    {0.97f, 0.98f, true, true, false},   {0.96f, 0.97f, false, true, false},
    {0.95f, 0.96f, false, true, true},   {0.94f, 0.95f, false, false, true},
    {0.93f, 0.94f, true, false, true},
};

miColor stop_colour(const Stop* stop, const miColor& col) {
    if (stop == std::end(kSpectrum)) return {0, 0, 0, 0};
    return {stop->r ? col.r : 0, stop->g ? col.g : 0, stop->b ? col.b : 0, 0};
}

miBoolean spectral_ring(miColor* out, const miColor& col, miScalar r, miScalar R) {
    for (const Stop* band = kSpectrum; band != std::end(kSpectrum); ++band) {
        if (!(r > band->from * R)) continue;
        const miColor inner = stop_colour(band + 1, col), outer = stop_colour(band, col);
        const miScalar w = (r - band->from * R) / (band->to * R - band->from * R);
        out->r = inner.r + w * (outer.r - inner.r);
        out->g = inner.g + w * (outer.g - inner.g);
        out->b = inner.b + w * (outer.b - inner.b);
        return miTRUE;
    }
    return miFALSE;
}

}  // namespace

extern "C" {

miBoolean primitiveProfile(miState* state, miColor* out, miColor col, miScalar r, miScalar dx,
                           miScalar dy, miScalar R, int mode, miScalar V) {
    if (!(r <= R)) return miFALSE;
    if (mode == 6) return spectral_ring(out, col, r, R);
    const miScalar t = R == 0 ? 0 : r / R;
    const miScalar f = factor(state, t, dx, dy, mode, V);
    if (!std::isfinite(f)) return miFALSE;
    out->r = col.r * f;
    out->g = col.g * f;
    out->b = col.b * f;
    if (mode == 0 || mode == 10) out->a = col.a;
    return miTRUE;
}
}
