// The mi_mtl_ functions but mi_mtl_textures: the pieces that soft_material, and every material
// built on its block, is made of.
//
// A surface is lit (ambient, diffuse, highlight), then blended with what it reflects, then with
// what lies behind it:
//
//     lit = ambient ambience + sum over lights of light (diffuse cosine + specular highlight)
//     reflected = (1 - k) lit + k seen      k = r + (1 - r) fresnel (1 - |cosine|)^5
//     result = (1 - t) reflected + t behind
//
// with r the reflectivity, t the transparency and the rise of k after Schlick ("An Inexpensive
// BRDF Model for Physically-based Rendering", 1994). Each weight is held within 0..1.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

#include "frame/host.h"
#include "soft/sane.h"

namespace orvane::soft {

using Highlight = miScalar (*)(miScalar exponent, miState* state, miVector* dir);

static const soft_material_params* block_of(const void* block) {
    return static_cast<const soft_material_params*>(block);
}

static miScalar index_or_one(miScalar ior) { return ior > 0 && std::isfinite(ior) ? ior : 1; }

// Index of the medium around the object that the ray is about to leave: the one that it came
// through where it entered. 1 for a ray that started inside.
static miScalar index_around(const miState* state) {
    for (const miState* hit = state->parent; hit; hit = hit->parent)
        if (hit->instance == state->instance && !hit->inside) return index_or_one(hit->ior_in);
    return 1;
}

// The elements of a light array whose storage is `storage` bytes into the block; they may lie
// behind the 49 words.
static std::span<const miTag> lights_of(const void* params, std::size_t storage, miInteger index,
                                        miInteger count) {
    if (index < 0 || count <= 0) return {};
    const void* first = static_cast<const std::byte*>(params) + storage;
    return {static_cast<const miTag*>(first) + index, static_cast<std::size_t>(count)};
}

static Highlight highlight_of(const soft_material_params* material) {
    switch (material->model) {
        case miHIGHLIGHT_PHONG:
            return mi_phong_specular;
        case miHIGHLIGHT_BLINN:
            return mi_blong_specular;
        default:
            return nullptr;
    }
}

static void add_weighted(miColor* sum, miScalar weight, const miColor& a, const miColor& b) {
    sum->r += weight * a.r * b.r;
    sum->g += weight * a.g * b.g;
    sum->b += weight * a.b * b.b;
}

static void add_lights(miColor* sum, miState* state, std::span<const miTag> lights,
                       const soft_material_params* material, Highlight highlight) {
    const miColor diffuse = finite(material->diffuse), specular = finite(material->specular);
    const miScalar exponent = material->exponent > 0 ? material->exponent : 1;
    for (const miTag light : lights) {
        miColor color;
        miVector dir;
        miScalar dot_nl;
        if (!mi_trace_light(&color, &dir, &dot_nl, state, light)) continue;
        add_weighted(sum, dot_nl, diffuse, color);
        if (highlight) add_weighted(sum, highlight(exponent, state, &dir), specular, color);
    }
}

static miScalar reflectivity_towards(const miState* state, const soft_material_params* material) {
    const miScalar k = unit(material->reflectivity);
    const miScalar grazing = 1 - unit(std::fabs(state->dot_nd));
    const miScalar square = grazing * grazing;
    return k + (1 - k) * unit(material->fresnel) * (square * square * grazing);
}

// What the surface mirrors. A ray that is too deep to be traced shows the environment. The ray
// stays in the medium that it came through.
static bool see_reflected(miColor* seen, miState* state, bool environment_only) {
    miVector dir;
    mi_reflection_dir(&dir, state);
    return (!environment_only && mi_trace_reflection(seen, state, &dir)) ||
           mi_trace_environment(seen, state, &dir);
}

// What lies behind the surface; under total internal reflection, what lies within. A ray that
// is too deep to be traced shows the environment.
static bool see_through(miColor* seen, miState* state, miScalar ior_in, miScalar ior_out) {
    miVector dir = state->dir;
    const bool straight = ior_in == ior_out;
    const bool total = !straight && !mi_refraction_dir(&dir, state, ior_in, ior_out);
    if (total) mi_reflection_dir(&dir, state);

    const miScalar inside = state->ior, behind = state->refraction_ior;
    state->ior = ior_in;
    state->refraction_ior = ior_out;
    const bool answered = (straight ? mi_trace_transparent(seen, state)
                           : total  ? mi_trace_reflection(seen, state, &dir)
                                    : mi_trace_refraction(seen, state, &dir)) ||
                          mi_trace_environment(seen, state, &dir);
    state->ior = inside;
    state->refraction_ior = behind;
    return answered;
}

static miColor tint_of(miBoolean tinted, const miColor& color) {
    return tinted ? finite(color) : miColor{1, 1, 1, 1};
}

}  // namespace orvane::soft

using namespace orvane::soft;

void mi_mtl_refraction_index(miState* state, void* params, miScalar* ior_in, miScalar* ior_out) {
    const miScalar own = index_or_one(block_of(params)->ior);
    *ior_in = state->inside ? own : index_or_one(state->ior_in);
    *ior_out = state->inside ? index_around(state) : own;
    state->refraction_ior = *ior_out;
}

miBoolean mi_mtl_is_casting_shadow(miState*, void* params) {
    return block_of(params)->no_shadow ? miFALSE : miTRUE;
}

void mi_mtl_static_blur(miState*, void* work) {
    auto* material = static_cast<soft_material_params*>(work);
    const miScalar sharp = 1 - unit(material->static_blur);
    // An exponent below 1 is wide enough.
    if (sharp < 1 && !(material->exponent < 1))
        material->exponent = std::max(1.0f, finite(material->exponent) * sharp * sharp);
}

// Colours and exponent are those of work, the light arrays those of params.
miBoolean mi_mtl_illumination(miColor* result, miState* state, void* work, void* params, double,
                              double) {
    const auto* material = block_of(work);
    const auto* block = block_of(params);
    result->r = finite(material->ambient.r * material->ambience[0]);
    result->g = finite(material->ambient.g * material->ambience[1]);
    result->b = finite(material->ambient.b * material->ambience[2]);
    result->a = 1 - unit(material->transparency);
    add_lights(
        result, state,
        lights_of(params, offsetof(soft_material_params, light), block->i_light, block->n_light),
        material, highlight_of(material));
    add_lights(result, state,
               lights_of(params, offsetof(soft_material_params, diffuse_light),
                         block->i_diffuse_light, block->n_diffuse_light),
               material, nullptr);
    *result = finite(*result);
    return miTRUE;
}

// A reflectivity of 1 replaces result by exactly what is seen. Where nothing is seen, or the
// options forbid to look, the reflection is black. Alpha stays. Returns whether anything was seen.
miBoolean mi_mtl_reflection(miColor* result, miState* state, void* work) {
    const auto* material = block_of(work);
    const miScalar k = reflectivity_towards(state, material);
    if (k <= 0) return miFALSE;

    miColor seen = {};
    const bool answered = !state->options->no_secondary &&
                          see_reflected(&seen, state, material->environment_only != miFALSE);
    if (!answered) seen = {};
    const miColor tint = tint_of(material->tint_reflection, material->specular);
    scale_rgb(result, 1 - k);
    add_weighted(result, k, seen, tint);
    *result = finite(*result);
    return answered ? miTRUE : miFALSE;
}

// The surface covers what lies behind it by 1 - transparency, whether the alpha that comes in
// says so already (that of mi_mtl_illumination) or is 1: something opaque behind the surface
// gives an alpha of 1, nothing behind it one of 1 - transparency. Returns whether anything was
// seen.
miBoolean mi_mtl_refraction(miColor* result, miState* state, void* work, double ior_in,
                            double ior_out) {
    const auto* material = block_of(work);
    const miScalar t = unit(material->transparency);
    if (t <= 0) return miFALSE;

    scale_rgb(result, 1 - t);
    result->a = std::min(result->a, 1 - t);
    if (state->options->no_secondary) return miFALSE;

    miColor seen = {};
    const miScalar in = index_or_one(static_cast<miScalar>(ior_in));
    const miScalar out = index_or_one(static_cast<miScalar>(ior_out));
    if (!see_through(&seen, state, in, out)) return miFALSE;
    add_weighted(result, t, seen, tint_of(material->tint_transparency, material->diffuse));
    result->a += t * seen.a;
    *result = finite(*result);
    return miTRUE;
}

// Light of less than a millionth counts as blocked.
miBoolean mi_mtl_compute_shadow(miColor* result, void* work) {
    const auto* material = block_of(work);
    const miColor tint = tint_of(material->tint_transparency, material->diffuse);
    const miScalar t = unit(material->transparency);
    filter_rgb(result, t * tint.r, t * tint.g, t * tint.b);
    *result = finite(*result);

    const miScalar most =
        std::max({std::fabs(result->r), std::fabs(result->g), std::fabs(result->b)});
    if (most >= 1e-6f) return miTRUE;
    result->r = result->g = result->b = 0;
    return miFALSE;
}
