// See flare_plain.h. The build compiles this file alone with all that the processor has.

#include "flare_plain.h"

#include <algorithm>
#include <cmath>

namespace plain {
namespace {

constexpr int kRays = 200;
constexpr double kTurn = 6.283185307179586;

struct Ray {
    miScalar cosine, sine, length;
};
Ray rays[kRays];

// What a shape hands to its profile.
struct Inside {
    miScalar r, dx, dy, R;
};

miScalar exponential(miScalar x) { return static_cast<miScalar>(std::exp(static_cast<double>(x))); }

miScalar sample(miState* state) {
    double s = 0;
    mi_sample(&s, nullptr, state, 1, nullptr);
    return static_cast<miScalar>(s);
}

miColor lerp(const miColor& a, const miColor& b, miScalar w) {
    return {a.r + w * (b.r - a.r), a.g + w * (b.g - a.g), a.b + w * (b.b - a.b), 0};
}

bool spectral_ring(miColor* out, const miColor& c, miScalar r, miScalar R) {
    const miColor black = {0, 0, 0, 0}, red = {c.r, 0, 0, 0}, yellow = {c.r, c.g, 0, 0},
                  green = {0, c.g, 0, 0}, cyan = {0, c.g, c.b, 0}, blue = {0, 0, c.b, 0},
                  magenta = {c.r, 0, c.b, 0};
    const miColor stops[] = {black, red, yellow, green, cyan, blue, magenta, black};
    constexpr miScalar kEdges[] = {1, 0.99f, 0.98f, 0.97f, 0.96f, 0.95f, 0.94f, 0.93f};
    for (int i = 1; i < 8; ++i)
        if (r > kEdges[i] * R) {
            *out = lerp(stops[i], stops[i - 1],
                        (r - kEdges[i] * R) / (kEdges[i - 1] * R - kEdges[i] * R));
            return true;
        }
    return false;
}

bool profile(miState* state, miColor* out, const miColor& col, const Inside& at, int mode,
             miScalar V) {
    if (at.r > at.R) return false;
    if (mode == 6) return spectral_ring(out, col, at.r, at.R);
    const miScalar t = at.r / at.R, h = V / 2;
    miScalar f = 0, s = 0;
    switch (mode) {
        case 1:
            f = 1 - t;
            break;
        case 2:
            f = t;
            break;
        case 3:
            f = 1 - std::pow(t, V);
            break;
        case 4:
            f = std::pow(t, V);
            break;
        case 5:
            if (t <= 1 - V) return false;
            f = t <= 1 - h ? (t - (1 - V)) / h : 1 - (t - (1 - h)) / h;
            break;
        case 7:
            f = (exponential(-t) * (0.2f - 0.2f * t) + exponential(-t * t / V) * (1 - t * t)) /
                1.2f;
            break;
        case 8:
            s = t;
            if (t != 0) s += 0.02f * (mi_noise_2d(50 * at.dx / t, 50 * at.dy / t) - 0.5f);
            f = exponential(-std::clamp(s, 0.0f, 1.0f)) - exponential(-1);
            break;
        case 9:
            f = t + 0.08f * (sample(state) - 0.5f);
            s = sample(state);
            f = std::sqrt(std::max(0.0f, f)) + 0.02f * (s - 0.5f);
            f = 1 - std::clamp(f, 0.0f, 1.0f);
            break;
        case 11:
            if (t < 1 - V) return false;
            s = sample(state);
            f = 1 - (t + 0.2f * V * (s - 0.5f) - (0.96f - V)) / (1.02f - (0.96f - V));
            break;
        case 14:
            f = t < V ? t / V : 1 - (t - V) / (1 - V);
            break;
        case 15:
            f = (1 - t) * exponential(-t * t / V);
            break;
    }
    *out = {col.r * f, col.g * f, col.b * f, 0};
    return true;
}

Inside in_circle(miScalar X, miScalar Y, const miScalar* centre, miScalar R, miScalar aspect) {
    const miScalar dx = (X - centre[0]) / aspect, dy = Y - centre[1];
    return {std::sqrt(dx * dx + dy * dy), dx, dy, R};
}

Inside in_polygon(miScalar X, miScalar Y, const miScalar* centre, miScalar R, miScalar rot,
                  int sides, miScalar aspect) {
    Inside at = in_circle(X, Y, centre, R, aspect);
    miScalar theta = std::atan2(at.dy, at.dx);
    if (theta < 0) theta += 6.2831854820251465f;
    const double segment = kTurn / sides;
    const double turned = static_cast<double>(theta) + segment / 2 + static_cast<double>(rot);
    at.r *= static_cast<miScalar>(std::cos(std::fmod(turned, segment) - segment / 2));
    return at;
}

// r is the strength of the strongest ray; 0 beside all of them.
Inside in_burst(miScalar X, miScalar Y, const miScalar* v, int first, int end, miScalar spread,
                miScalar aspect) {
    const miScalar rot = v[5], size = v[6], inner = v[7], outer = v[8];
    const miScalar x = (X - v[3]) / (size * aspect), y = (Y - v[4]) / size;
    const miScalar c = std::cos(rot), s = std::sin(rot);
    const miScalar dx = rot != 0 ? c * x + s * y : x, dy = rot != 0 ? -s * x + c * y : y;
    const miScalar distance = std::sqrt(dx * dx + dy * dy);
    miScalar best = 0;
    for (int j = first; j < end; ++j) {
        const Ray& ray = rays[j];
        if (ray.length < distance) continue;
        const miScalar d = std::abs(-ray.sine * dx + ray.cosine * dy) /
                               (ray.sine * ray.sine + ray.cosine * ray.cosine) / ray.length -
                           distance * spread;
        if (!(d < outer)) continue;
        miScalar f = 1 - distance / ray.length;
        if (d >= inner) f = f * (outer - d) / (outer - inner);
        if (f > best) best = f;
    }
    return {best, dx, dy, 1};
}

bool draw(miState* state, miColor* out, const FlarePrimitive& primitive, miScalar X, miScalar Y,
          miScalar aspect) {
    const miScalar* v = primitive.values;
    const auto whole = [v](int i) { return static_cast<int>(v[i]); };
    const miColor col = {v[0], v[1], v[2], 0};
    Inside at = {};
    switch (primitive.type) {
        case PRIMITIVE_CIRCLE:
            at = in_circle(X, Y, v + 3, v[5], aspect);
            return profile(state, out, col, at, whole(6), v[7]);
        case PRIMITIVE_CIRCLE_D:
            at = in_circle(X, Y, v + 3, v[7], aspect);
            return profile(state, out, col, at, whole(8), v[9]);
        case PRIMITIVE_NGON:
            at = in_polygon(X, Y, v + 3, v[5], v[6], whole(8), aspect);
            return profile(state, out, col, at, whole(9), v[10]);
        case PRIMITIVE_NGON_D:
            at = in_polygon(X, Y, v + 3, v[7], v[8], whole(10), aspect);
            return profile(state, out, col, at, whole(11), v[12]);
        case PRIMITIVE_SECTOR:
            at = in_burst(X, Y, v, 191 - whole(10), 191, v[9], aspect);
            return at.r > 0 && profile(state, out, col, at, whole(11), v[12]);
        case PRIMITIVE_RAYS:
            at = in_burst(X, Y, v, whole(10), whole(10) + whole(9), 0, aspect);
            return at.r > 0 && profile(state, out, col, at, whole(11), v[12]);
    }
    return false;
}

struct SpectralSample {
    double wavelength, r, g, b;
};
constexpr SpectralSample kSpectrum[] = {
    {4.2, 0, 0, 0.2},     {4.5, 0, 0, 0.6},  {5.0, 0, 0.25, 0.2},
    {5.2, -0.13, 0, 0},   {5.5, 0, 0.5, 0},  {5.8, 0.27, 0, 0},
    {6.0, 0.46, 0.25, 0}, {6.4, 0.27, 0, 0}, {6.6, 0.13, 0, 0},
};

miScalar sine(double x) { return static_cast<miScalar>(std::sin(x)); }

}  // namespace

void init_rays() {
    unsigned short angles[3] = {0xee31, 0x59f1, 0xa7b3}, lengths[3] = {0x9001, 0x7ca4, 0xbc71};
    for (Ray& ray : rays) {
        const auto angle = static_cast<miScalar>(kTurn * mi_erandom(angles));
        ray = {std::cos(angle), std::sin(angle),
               static_cast<miScalar>(0.1 + 0.9 * mi_erandom(lengths))};
    }
}

void draw_primitives(miState* state, miColor* out, const FlareLight* light, miScalar X,
                     miScalar Y) {
    *out = {0, 0, 0, 0};
    for (int i = 0; i < light->primitive_count; ++i) {
        miColor drawn;
        if (!draw(state, &drawn, light->primitives[i], X, Y, light->params->flare_aspect)) continue;
        *out = {out->r + drawn.r, out->g + drawn.g, out->b + drawn.b, 0};
    }
}

void draw_star(miColor* out, const FlareLight* light, miScalar X, miScalar Y) {
    const double dx = (static_cast<double>(X) - static_cast<double>(light->x)) /
                      static_cast<double>(light->params->flare_aspect);
    const double dy = static_cast<double>(Y) - static_cast<double>(light->y);
    const double ax = std::atan(dx / 100000), ay = std::atan(dy / 100000);
    for (int i = 0; i < light->params->star_count; ++i) {
        const double angle = light->streak_angle[i], w = light->streak_width[i];
        const auto c = static_cast<double>(static_cast<miScalar>(std::cos(angle)));
        const auto s = static_cast<double>(static_cast<miScalar>(std::sin(angle)));
        const double p = std::abs(dx * s - dy * c);
        if (!(p < 5 * w)) continue;
        const double along = static_cast<double>(sine(std::abs(ax * c + ay * s)));
        const double u = light->streak_frequency[i] * along + double{1e-20f};
        const auto across = static_cast<miScalar>(std::exp(-(p / w) * (p / w)));
        for (const SpectralSample& at : kSpectrum) {
            const auto x = static_cast<miScalar>(u / at.wavelength);
            const miScalar above = sine(x) * sine(102 * x);
            const miScalar below = 100 * x * sine(static_cast<miScalar>(1.02 * double{x}));
            const double amplitude = double{above} / double{below};
            const double value = double{static_cast<miScalar>(amplitude * amplitude) * across};
            out->r += static_cast<miScalar>(value * at.r);
            out->g += static_cast<miScalar>(value * at.g);
            out->b += static_cast<miScalar>(value * at.b);
        }
    }
}

}  // namespace plain
