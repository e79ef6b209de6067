// dusty: soft_material with dust on what faces up.
//
// The dust covers a surface whose normal has the cosine c to world +y by
//
//     dust = amount * falloff^(ln c / ln 1/2) * (1 - noise_amount + noise_amount * n)
//
// where c is above 0: amount on top, falloff * amount at c = 1/2. n is a fractal noise of the point
// in object space. The power is Perlin's bias ("Hypertexture", 1989) with its arguments exchanged.
// Dust is matte and opaque: it takes from transparency in shadows, but not from alpha. Where c is
// above 0 the bump map bends the normal twice: here, and once more in soft_material.
//
// Dust that is no finite number is none.

#include <cmath>

#include "frame/host.h"
#include "frame/noise.h"

extern "C" {

struct dusty_params {
    soft_material_params material;
    miScalar amount;        // multiplies the dust
    miScalar noise_amount;  // 0..1: how far noise takes the dust away
    miBoolean use_noise;    // 1: noise
    miScalar noise_scale;   // multiplies the point
    miScalar falloff;       // 0..1: dust where c = 1/2
    miColor dust_color;
    miInteger octaves;  // of the noise
};
static_assert(sizeof(dusty_params) == (49 + 10) * 4);

int dusty_version() { return 2; }
}

namespace {

miScalar facing_up(miState* state) {
    miVector normal;
    mi_vector_to_world(state, &normal, &state->normal);
    return normal.y;
}

double noise_factor(miState* state, const dusty_params* params) {
    miVector p;
    mi_point_to_object(state, &p, &state->point);
    p = p * params->noise_scale;
    const double n = qv_NoiseOctave3D(&p, params->octaves, 1.0);
    return qv_Interpolate(qv_LINEAR, 0, 1, n, 1 - params->noise_amount, 1.0);
}

double dust_at(miState* state, const dusty_params* params, miScalar c) {
    double dust = qv_Bias(params->falloff, c) * params->amount;
    if (params->use_noise == 1) dust *= noise_factor(state, params);
    return std::isfinite(dust) ? dust : 0;
}

}  // namespace

extern "C" {

miBoolean dusty(miColor* result, miState* state, dusty_params* params) {
    const miScalar c = facing_up(state);
    if (!(c > 0)) return soft_material(result, state, params);
    const bool shadow = state->type == miRAY_SHADOW;
    if (shadow && !mi_mtl_is_casting_shadow(state, params)) return miTRUE;

    const double dust = dust_at(state, params, c);
    soft_material_params work = params->material;
    mi_mtl_textures(state, &work, params, &state->normal, &state->dot_nd);
    mi_mtl_static_blur(state, &work);
    if (shadow) {
        work.transparency = static_cast<miScalar>((1 - dust) * work.transparency);
        qv_ColorFade(&work.diffuse, &params->dust_color, dust);
        return mi_mtl_compute_shadow(result, &work);
    }

    // Blend the material with a matte one of dust.
    soft_material(result, state, params);
    work.specular = {0, 0, 0, 0};
    work.transparency = work.reflectivity = 0;
    work.ambient = work.diffuse = params->dust_color;
    miColor lit = {0, 0, 0, 0};
    mi_mtl_illumination(&lit, state, &work, params, 0.0, 0.0);
    qv_ColorFade(result, &lit, dust);
    return miTRUE;
}
}
