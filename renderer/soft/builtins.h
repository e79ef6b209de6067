// The parameter blocks of the built-in shaders besides soft_material, as soft.mi declares them.
#pragma once

#include "frame/host.h"

extern "C" {

struct soft_constant_params {
    miColor color;  // alpha included
};

struct soft_texture_params {
    miTag texture;      // the map
    miColor gain;       // multiplies r, g, b
    miInteger space;    // texture space of the hit; -1 = the coordinates that were asked for
    miVector scale;     // multiplies the coordinates; a component of 0 counts as 1
    miVector offset;    // added after the scaling
    miScalar rotation;  // degrees, from u towards v, after scale and offset
};

struct soft_checker_params {
    miColor even, odd;  // alpha included; even is the square with a corner at the origin
    miInteger space;    // as in soft_texture_params
    miBoolean solid;    // cubes in object space instead of squares in texture space
    miVector scale;     // squares per unit; a component of 0 counts as 1
    miVector offset;    // in squares
};

struct soft_environment_params {
    miTag texture;      // latitude-longitude picture; 0 = the three colours
    miScalar rotation;  // degrees about the world's y axis
    miScalar intensity;
    miColor zenith;   // straight up
    miColor horizon;  // sideways
    miColor ground;   // straight down
};

struct soft_light_params {
    miColor color;
    miScalar intensity;  // at distance 1 when there is a falloff
    miBoolean shadow;    // the light is blocked by what is in between
    miScalar falloff;    // power of the distance that the light is divided by
    miScalar inner;      // spots: cosine of the inner cone, within which the light is full
};

static_assert(sizeof(soft_constant_params) == 4 * 4);
static_assert(sizeof(soft_texture_params) == 13 * 4);
static_assert(sizeof(soft_checker_params) == 16 * 4);
static_assert(sizeof(soft_environment_params) == 15 * 4);
static_assert(sizeof(soft_light_params) == 8 * 4);

int soft_material_version();
int soft_constant_version();
int soft_texture_version();
int soft_checker_version();
int soft_environment_version();
int soft_light_version();

miBoolean soft_constant(miColor* result, miState* state, soft_constant_params* params);
miBoolean soft_texture(miColor* result, miState* state, soft_texture_params* params);
miBoolean soft_checker(miColor* result, miState* state, soft_checker_params* params);
miBoolean soft_environment(miColor* result, miState* state, soft_environment_params* params);
miBoolean soft_light(miColor* result, miState* state, soft_light_params* params);
}
