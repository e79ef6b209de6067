// Lights: samples of them, as their light shaders see the illuminated point.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "numeric/sampling.h"
#include "trace/cast.h"
#include "trace/frame.h"

namespace orvane::trace {
namespace {

using Area = scene::Light::Area;

// Keeps the keys of lights apart from those of the rays that leave the same state.
constexpr std::uint64_t kLights = std::uint64_t{1} << 32;

struct Sampled {
    const world::Light* light = nullptr;
    const world::Instance* instance = nullptr;
    int count = 1;  // samples
};

bool find(miState* state, miTag tag, Sampled* sampled) {
    const world::Database& items = frame_of(state).world.database();
    sampled->instance = items.get<world::Instance>(tag, miITEM_INSTANCE);
    if (!sampled->instance) return false;
    sampled->light = items.get<world::Light>(sampled->instance->item, miITEM_LIGHT);
    if (!sampled->light || !sampled->light->shader) return false;
    const scene::Light& source = *sampled->light->source;
    if (source.area == Area::None) return true;
    const int depth = state->reflection_level + state->refraction_level;
    const auto& samples =
        source.low_level > 0 && depth >= source.low_level ? source.low_samples : source.samples;
    sampled->count = std::max(samples[0], 1) * std::max(samples[1], 1);
    return true;
}

miVector to_vector(const scene::Vec3& v) { return {v.x, v.y, v.z}; }

// Two unit vectors that are perpendicular to a unit vector and to each other.
void across(const miVector& axis, miVector* u, miVector* v) {
    const miVector helper = std::abs(axis.x) < 0.7f ? miVector{1, 0, 0} : miVector{0, 1, 0};
    *u = normalized(cross(helper, axis));
    *v = cross(axis, *u);
}

// A point of the light's area relative to its origin, in the light's own space, uniform by area.
miVector on_area(const scene::Light& light, float s, float t) {
    constexpr float turn = 2 * std::numbers::pi_v<float>;
    miVector u, v;
    switch (light.area) {
        case Area::Rectangle:
            return to_vector(light.area_u) * (s - 0.5f) + to_vector(light.area_v) * (t - 0.5f);
        case Area::Disc: {
            across(normalized(to_vector(light.area_u)), &u, &v);
            const float r = light.area_radius * std::sqrt(s);
            return u * (r * std::cos(turn * t)) + v * (r * std::sin(turn * t));
        }
        case Area::Sphere: {
            const float z = 1 - 2 * s, r = std::sqrt(std::max(0.0f, 1 - z * z));
            return miVector{r * std::cos(turn * t), r * std::sin(turn * t), z} * light.area_radius;
        }
        case Area::Cylinder: {
            const miVector axis = to_vector(light.area_u);
            across(normalized(axis), &u, &v);
            return axis * (2 * s - 1) +
                   (u * std::cos(turn * t) + v * std::sin(turn * t)) * light.area_radius;
        }
        case Area::None:
            break;
    }
    return {};
}

// Where sample number of the light stands, in world space. The same sample of a point of the
// picture always takes the same places.
miVector position(const Sampled& sampled, const miState* state, int number) {
    miVector at = sampled.light->origin;
    if (sampled.light->source->area != Area::None) {
        const auto [s, t] =
            numeric::sample_2d(numeric::mix(state->sample_key, kLights + sampled.instance->tag),
                               static_cast<std::uint32_t>(number));
        at = at + on_area(*sampled.light->source, static_cast<float>(s), static_cast<float>(t));
    }
    mi_point_transform(&at, &at, sampled.instance->local_to_world.getValue());
    return at;
}

// The segment from the light to the point; a directional light stands outside the scene.
bool aim(const Sampled& sampled, miState* light, int number) {
    if (sampled.light->type == miLIGHT_DIRECTIONAL) {
        miVector dir = sampled.light->direction;
        if (is_zero(dir)) dir = {0, 0, -1};
        mi_vector_transform(&dir, &dir, sampled.instance->local_to_world.getValue());
        light->dir = normalized(dir);
        light->dist =
            static_cast<double>(frame_of(light).structure.radius() + length(light->point) + 1);
        light->org = light->point - light->dir * static_cast<float>(light->dist);
        return !is_zero(light->dir);
    }
    light->org = position(sampled, light, number);
    const miVector way = light->point - light->org;
    const float dist = length(way);
    if (!(dist > 0) || !std::isfinite(dist)) return false;
    light->dir = way * (1 / dist);
    light->dist = static_cast<double>(dist);
    return true;
}

// One sample; dir and dot_nl are set whenever it is lit.
miBoolean take(const Sampled& sampled, int number, miState* state, miColor* color, miVector* dir,
               miScalar* dot_nl) {
    miState light = spawn(state, miRAY_LIGHT, {}, {});
    light.sample_key = state->sample_key;  // all samples of a light share one sequence
    light.light_instance = sampled.instance->tag;
    if (!aim(sampled, &light, number)) return miFALSE;
    *dir = -light.dir;
    *dot_nl = std::min(dot(*dir, state->normal), 1.0f);
    if (*dot_nl < 0) return miFALSE;
    *color = {};
    return world::call(sampled.light->shader, color, &light);
}

float brightness(const miColor& c) { return std::abs(c.r) + std::abs(c.g) + std::abs(c.b); }

}  // namespace
}  // namespace orvane::trace

using namespace orvane::trace;

extern "C" {

miBoolean mi_sample_light(miColor* color, miVector* dir, miScalar* dot_nl, miState* state,
                          miTag light, int* samples) {
    Sampled sampled;
    if (!find(state, light, &sampled)) return miFALSE;
    while (*samples < sampled.count) {
        const int number = (*samples)++;
        miVector towards;
        miScalar cosine;
        miColor arriving;
        if (!take(sampled, number, state, &arriving, &towards, &cosine)) continue;
        *color = arriving;
        if (dir) *dir = towards;
        if (dot_nl) *dot_nl = cosine;
        return miTRUE;
    }
    return miFALSE;
}

// The colour is the mean of all samples; direction and cosine are means weighted by brightness,
// so that their product with the colour is that of the samples.
miBoolean mi_trace_light(miColor* color, miVector* dir, miScalar* dot_nl, miState* state,
                         miTag light) {
    Sampled sampled;
    if (!find(state, light, &sampled)) return miFALSE;
    miVector towards;
    miScalar cosine;
    if (sampled.count == 1) {
        miColor arriving;
        if (!take(sampled, 0, state, &arriving, &towards, &cosine)) return miFALSE;
        *color = arriving;
        if (dir) *dir = towards;
        if (dot_nl) *dot_nl = cosine;
        return miTRUE;
    }
    miColor sum{};
    miVector direction{};
    float cosines = 0, weights = 0;
    int lit = 0;
    for (int number = 0; number < sampled.count; ++number) {
        miColor arriving;
        if (!take(sampled, number, state, &arriving, &towards, &cosine)) continue;
        ++lit;
        const float weight = brightness(arriving) + 1e-20f;
        sum = {sum.r + arriving.r, sum.g + arriving.g, sum.b + arriving.b, sum.a + arriving.a};
        direction = direction + towards * weight;
        cosines += cosine * weight;
        weights += weight;
    }
    if (lit == 0) return miFALSE;
    const float share = 1 / static_cast<float>(sampled.count);
    *color = {sum.r * share, sum.g * share, sum.b * share, sum.a * share};
    if (dir) *dir = normalized(direction);
    if (dot_nl) *dot_nl = cosines / weights;
    return miTRUE;
}

miScalar mi_phong_specular(miScalar exponent, miState* state, miVector* dir) {
    const miVector &d = state->dir, &n = state->normal;
    const miScalar cosine = std::min(dot(d - n * (2 * dot(d, n)), normalized(*dir)), 1.0f);
    return cosine > 0 ? std::pow(cosine, exponent) : 0;
}

miScalar mi_blong_specular(miScalar exponent, miState* state, miVector* dir) {
    const miVector half_way = normalized(normalized(*dir) - state->dir);
    const miScalar cosine = std::min(dot(half_way, state->normal), 1.0f);
    return cosine > 0 ? std::pow(cosine, exponent) : 0;
}
}
