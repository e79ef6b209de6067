// zel_strauss: metals, plastics and glasses by smoothness, metalness and transparency.
//
// The model is that of Strauss ("A Realistic Lighting Model for Computer Animators", 1990). For
// light L from the direction with cosine n.l, of smoothness s, metalness m, transparency t:
//
//     diffuse  = f C L,  f = (1 - s^3) (1 - t) (n.l) (1 - m s)
//     specular = (v.r)^h rj ((1 - m) L + m C L),  h = 3 / (1 - s)
//     rj = min(1, rn + (rn + kj) F(a) G^2)
//
// a is the angle of the light in right angles, F a Fresnel and G a shadowing function. It departs
// from the publication in rn, which is 1 - f instead of (1 - t) s^3, and in G, which is squared at
// the viewing angle b, counted from the ray's direction (so beyond a right angle), instead of
// G(a) G(b).
//
// A smoothness of 1 or more, or none that is a number, counts as 1: the highlight has shrunk to a
// point and is not drawn. Neither is that of a light for which rj is minus infinity or not a
// number, as it may be at the poles of F (kf = 0, 1/2, 1) and G. Channels of the result that would
// not be finite are 0.

#include <algorithm>
#include <cmath>

#include "frame/surface.h"
#include "materials/depth.h"
#include "materials/finite.h"

extern "C" {

struct zel_strauss_params {
    soft_material_params material;
    miColor color;
    miScalar smoothness;  // 0 rough .. 1 mirror
    miScalar metalness;   // 0..1: how far highlights and reflections take the colour
    miScalar transparency;
    miScalar ior;  // takes the place of the block's
    miScalar reflectivity;
    miInteger ambient;  // 1: adds color x ambience x (1 - smoothness)
    miScalar kj;        // constant off the specular direction
    miScalar kf;        // of the Fresnel function F
    miScalar ks;        // of the shadowing function G
};
static_assert(sizeof(zel_strauss_params) == 62 * 4);

int zel_strauss_version() { return 2; }

void zel_strauss_init(miState*, void* params, miBoolean*) {
    if (!params) mi_info("%s initializing\n", "strauss");
}
}

namespace {

constexpr double kRightAngle = 1.5707963267948966;

// What is the same for all lights of a hit.
struct Surface {
    miColor color;       // textured
    miScalar metalness;  // m
    miScalar matte;      // (1 - s^3) (1 - t)
    miScalar subdued;    // 1 - m s
    double sharpness;    // h; not finite where there are no highlights
    miScalar shadowing;  // G^2
    miScalar kj, kf;
};

// 1 / x^2
miScalar pole(miScalar x) { return 1 / (x * x); }

miScalar fresnel(miScalar x, miScalar kf) {
    return (pole(x - kf) - pole(kf)) / (pole(1 - kf) - pole(kf));
}

miScalar shadowing(miScalar x, miScalar ks) {
    return (pole(1 - ks) - pole(x - ks)) / (pole(1 - ks) - pole(ks));
}

// The angle of a cosine in right angles. Rounding may have taken the cosine beyond 1.
miScalar right_angles(miScalar cosine) {
    return static_cast<miScalar>(std::acos(double{std::clamp(cosine, -1.0f, 1.0f)}) / kRightAngle);
}

miScalar smoothness_of(const zel_strauss_params* params) {
    return params->smoothness < 1 ? params->smoothness : 1;
}

Surface make_surface(const miState* state, const zel_strauss_params& work) {
    const miScalar s = smoothness_of(&work), m = work.metalness;
    const miScalar g = shadowing(-right_angles(state->dot_nd), work.ks);
    return {work.color,
            m,
            (1 - s * s * s) * (1 - work.transparency),
            1 - m * s,
            3.0 / (1 - s),
            g * g,
            work.kj,
            work.kf};
}

void add(miColor* to, miScalar weight, const miColor& c) {
    to->r += weight * c.r;
    to->g += weight * c.g;
    to->b += weight * c.b;
}

// Adds weight * ((1 - m) * plain + m * colored).
void add_metallic(miColor* to, miScalar weight, miScalar m, const miColor& plain,
                  const miColor& colored) {
    to->r += weight * ((1 - m) * plain.r + m * colored.r);
    to->g += weight * ((1 - m) * plain.g + m * colored.g);
    to->b += weight * ((1 - m) * plain.b + m * colored.b);
}

// How strong the highlight of a light is whose diffuse weight is f.
miScalar highlight(const miState* state, const Surface& surface, const miVector& dir,
                   miScalar dot_nl, miScalar f) {
    const miVector& n = state->normal;
    const miVector mirrored = n * (2 * dot(dir, n)) - dir;
    const miScalar cosine = -dot(mirrored, state->dir);
    if (!(cosine > 0) || !std::isfinite(surface.sharpness)) return 0;

    const miScalar rn = 1 - f;
    const miScalar rj =
        rn + (rn + surface.kj) * fresnel(right_angles(dot_nl), surface.kf) * surface.shadowing;
    const double limited = rj > 1 ? 1 : finite_or_0(rj);
    return static_cast<miScalar>(std::pow(double{cosine}, surface.sharpness) * limited);
}

// Adds the light of a list whose element k lies at index + k; highlights to shine unless it is
// NULL.
void add_lights(miColor* result, miColor* shine, miState* state, const Surface& surface,
                const miTag* light, miInteger index, miInteger count) {
    for_each_light(state, light, index, count,
                   [&](const miColor& color, miVector dir, miScalar dot_nl, miTag) {
                       miColor colored = color;
                       filter_rgb(&colored, surface.color.r, surface.color.g, surface.color.b);
                       const miScalar f = surface.matte * dot_nl * surface.subdued;
                       if (f > 0) add(result, f, colored);
                       if (shine)
                           add_metallic(shine, highlight(state, surface, dir, dot_nl, f),
                                        surface.metalness, color, colored);
                   });
}

// Sets result to diffuse and ambient light and shine to the highlights. The light arrays are those
// of params, which may lie behind its block; all else is taken from work.
void illuminate(miColor* result, miColor* shine, miState* state, const zel_strauss_params& work,
                const soft_material_params* params) {
    *shine = *result = {0, 0, 0, 0};
    if (work.ambient == 1) {
        const miScalar* ambience = work.material.ambience;
        *result = work.color;
        filter_rgb(result, ambience[0], ambience[1], ambience[2]);
        scale_rgb(result, 1 - smoothness_of(&work));
    }
    const Surface surface = make_surface(state, work);
    add_lights(result, shine, state, surface, params->light, params->i_light, params->n_light);
    add_lights(result, nullptr, state, surface, params->diffuse_light, params->i_diffuse_light,
               params->n_diffuse_light);
    result->a = 1;
}

void reflect(miColor* result, miState* state, const zel_strauss_params& work) {
    if (!(work.reflectivity > 0)) return;
    scale_rgb(result, 1 - work.reflectivity);
    if (!may_reflect(state)) return;

    const miScalar behind = state->ior, m = work.metalness;
    state->ior = state->ior_in;
    miVector dir;
    miColor seen;
    mi_reflection_dir(&dir, state);
    if (mi_trace_reflection(&seen, state, &dir)) {
        const miColor& c = work.color;
        result->r += work.reflectivity * ((1 - m) * seen.r + m * c.r * seen.r);
        result->g += work.reflectivity * ((1 - m) * seen.g + m * c.g * seen.g);
        result->b += work.reflectivity * ((1 - m) * seen.b + m * c.b * seen.b);
    }
    state->ior = behind;
}

// Looks behind the surface, without an environment; or back from it under total internal
// reflection. Leaves state one refraction level higher up and, under total internal reflection,
// with the index of refraction of the side that the ray came from.
miBoolean see_through(miColor* seen, miState* state, miScalar ior_in, miScalar ior_out) {
    miVector dir;
    --state->refraction_level;
    if (!mi_refraction_dir(&dir, state, ior_in, ior_out)) {
        state->ior = state->ior_in;
        mi_reflection_dir(&dir, state);
        return mi_trace_reflection(seen, state, &dir);
    }
    const miTag environment = state->environment;
    state->environment = miNULLTAG;
    const miBoolean answered = ior_in == ior_out ? mi_trace_transparent(seen, state)
                                                 : mi_trace_refraction(seen, state, &dir);
    state->environment = environment;
    return answered;
}

void refract(miColor* result, miState* state, const zel_strauss_params& work, miScalar ior_in,
             miScalar ior_out) {
    const miScalar t = work.transparency;
    if (!(t > 0)) return;
    scale_rgb(result, 1 - t);
    result->a *= 1 - t;
    miColor seen;
    if (state->options->no_secondary || !see_through(&seen, state, ior_in, ior_out)) return;
    result->r += work.color.r * t * seen.r;
    result->g += work.color.g * t * seen.g;
    result->b += work.color.b * t * seen.b;
    result->a += t * seen.a;
}

}  // namespace

extern "C" {

// Answers miFALSE to a shadow ray where it casts no shadow.
miBoolean zel_strauss(miColor* result, miState* state, zel_strauss_params* params) {
    zel_strauss_params work = *params;
    if (state->type != miRAY_SHADOW) work.material.ior = params->ior;
    soft_material_params block = work.material;
    work.material.ambient = work.material.diffuse = work.material.specular = params->color;
    work.material.transparency = params->transparency;
    work.material.reflectivity = params->reflectivity;
    miBegun begun = {.answer = miFALSE};
    if (!begin_material(result, state, &work.material, &block, miSHARP, &begun))
        return begun.answer;
    work.color = work.material.diffuse;
    work.transparency = work.material.transparency;
    work.reflectivity = work.material.reflectivity;

    miColor shine;
    illuminate(result, &shine, state, work, &params->material);
    reflect(result, state, work);
    refract(result, state, work, begun.ior_in, begun.ior_out);
    keep_finite(&shine);
    add(result, 1, shine);
    result->a = static_cast<miScalar>(result->a + mean(shine));
    keep_finite(result);
    return miTRUE;
}
}
