// The parameter block of the outside material, soft_material: the 49 words that begin the
// block of every material built on it or on the mi_mtl_ functions.
#pragma once

#include <cstddef>

#include "frame/types.h"

enum miHighlight : miInteger {
    miHIGHLIGHT_NONE = 0,  // and every value that is not named here
    miHIGHLIGHT_PHONG = 2,
    miHIGHLIGHT_BLINN = 3,
};

struct soft_material_params {
    miInteger model;             // miHighlight
    miColor ambient;             // what the illumination starts with, times ambience
    miColor diffuse;             // weighted by each light's colour and cosine
    miColor specular;            // weighted by the highlight
    miScalar ambience[3];        // multiplies ambient: r, g, b
    miScalar static_blur;        // 0..1: widens highlights, see mi_mtl_static_blur
    miScalar exponent;           // of the highlight, above 0
    miScalar transparency;       // 0..1; the result's alpha is 1 - transparency
    miScalar reflectivity;       // 0..1
    miScalar ior;                // index of refraction; 0 = 1
    miBoolean no_shadow;         // casts no shadow
    miScalar fresnel;            // 0..1: how far reflectivity rises to 1 at grazing angles
    miBoolean environment_only;  // reflections show the environment only
    miInteger i_light;           // these lights give diffuse and specular light
    miInteger n_light;
    miTag light[1];
    miInteger i_diffuse_light;  // these give diffuse light only
    miInteger n_diffuse_light;
    miTag diffuse_light[1];
    miTag diffuse_map;            // colour texture; multiplies ambient and diffuse
    miTag specular_map;           // colour texture; multiplies specular
    miTag transparency_map;       // colour texture; its mean multiplies transparency
    miTag reflectivity_map;       // colour texture; its mean multiplies reflectivity
    miTag bump_map;               // colour texture; its mean is a height
    miScalar bump_strength;       // height in scene units of a texture value of 1
    miInteger texture_space;      // index of the texture coordinates that the maps use
    miVector texture_scale;       // multiplies the coordinates; a component of 0 counts as 1
    miVector texture_offset;      // added after the scaling
    miScalar texture_rotation;    // degrees, of u and v after scale and offset
    miBoolean tint_reflection;    // reflections are multiplied by specular, as of metal
    miBoolean tint_transparency;  // refractions and shadows are multiplied by diffuse
    miInteger reserved[3];        // 0
};

static_assert(sizeof(soft_material_params) == 49 * 4);
static_assert(offsetof(soft_material_params, ambience) == 13 * 4);
static_assert(offsetof(soft_material_params, exponent) == 17 * 4);
static_assert(offsetof(soft_material_params, environment_only) == 23 * 4);
static_assert(offsetof(soft_material_params, light) == 26 * 4);
static_assert(offsetof(soft_material_params, diffuse_light) == 29 * 4);
