// The parameter block of Orvane_Light. Three shaders read it: the light itself, the volume
// (the beam settings) and the lens flare (star, glow and preset settings), so that each light
// carries everything that belongs to it.
//
// "Frame widths" are widths of the rendered image.
#pragma once

#include <cstddef>

#include "frame/types.h"

struct Orvane_Light_params {
    miInteger unused1;  // declared, never read

    // The light.
    miColor color;            // may be connected to a shader
    miScalar intensity;       // multiplies color; may be connected to a shader
    miBoolean shadow;         // trace shadows; also gives the beam its depth map
    miScalar shadow_factor;   // 0..1: what passes a full shadow; from 1 on no shadow is traced
    miBoolean attenuation;    // fade linearly from atten_start to atten_end
    miScalar atten_start;     // scene units
    miScalar atten_end;       // scene units: no light from here on
    miScalar falloff;         // degrees: width of the soft edge inside a spot light's cone
    miInteger unused2;        // declared, never read
    miInteger unused3;        // declared, never read
    miScalar volume_density;  // strength of the light in the air; above 0 the light has a beam

    // Its beam.
    miBoolean volume_noise;    // 1: noise in the beam
    miInteger noise_octaves;   // layers of that noise
    miScalar noise_frequency;  // cells per 10 map texels; x 5 per unit direction of point lights
    miScalar noise_amount;     // 0..1: how much the noise takes away
    miScalar noise_speed;      // cells per unit of frame time, spot lights only
    miScalar volume_decay;     // scene units: distance over which the light in the air decays
    miScalar depth_start;      // scene units from the light: nothing nearer shadows or scatters
    miBoolean volume_shadows;  // 1: a depth map even when shadow is off
    miInteger map_resolution;  // texels along each side of the depth and intensity maps

    // Its slide, and two more settings of the beam.
    miScalar slide_scale;      // size of the slide; 1 = a spot light's cone just fits in
    miScalar slide_rotation;   // degrees
    miInteger slide_repeat;    // 1: repeat a spot light's slide outside its square
    miBoolean exact_shadows;   // 1: where the depth map has shadow, sample the light itself
    miBoolean inverse_square;  // 1: a spot light's beam fades with the square of the distance
    miTag slide;               // colour texture that filters the light; 0 = none

    // Its diffraction star.
    miBoolean star_on;           // 1: the lens draws the star
    miInteger star_count;        // streaks, 0..100; each reaches to both sides
    miScalar star_width;         // frame widths: a streak's half width; its Gaussian has a fifth
    miScalar star_width_noise;   // relative variation of the widths
    miScalar star_length;        // scale of the pattern; the white middle ends at 0.054 times it
    miScalar star_length_noise;  // relative variation of the lengths
    miScalar star_rotation;      // degrees, counter-clockwise
    miScalar star_intensity;     // weight of the star in the flare
    miBoolean star_follow;       // 1: turns with the light around the centre of the frame
    miScalar star_noise_speed;   // change of both variations per unit of frame time

    // Its glow and its flare.
    miBoolean glow_on;             // 1: the lens draws a disc of color around the light
    miScalar glow_size;            // scene units at the light's depth: radius
    miScalar glow_intensity;       // weight of the glow
    miScalar glow_falloff;         // exponent V of the profile 1 - (r / radius)^V
    miScalar flare_intensity;      // weight of the preset's primitives
    miScalar flare_scale;          // multiplies the radii of circles and polygons
    miScalar flare_aspect;         // horizontal stretch of primitives and star, not 0
    miTag flare_preset;            // texture that carries the preset text; 0 = none
    miInteger flare_samples;       // least passes of visibility sampling; the lens writes it too
    miScalar flare_sample_radius;  // scene units: disc on the lens that the light is seen from
};

static_assert(sizeof(Orvane_Light_params) == 50 * 4);
static_assert(offsetof(Orvane_Light_params, color) == 1 * 4);
static_assert(offsetof(Orvane_Light_params, intensity) == 5 * 4);
static_assert(offsetof(Orvane_Light_params, volume_density) == 14 * 4);
static_assert(offsetof(Orvane_Light_params, slide) == 29 * 4);
static_assert(offsetof(Orvane_Light_params, star_on) == 30 * 4);
static_assert(offsetof(Orvane_Light_params, glow_on) == 40 * 4);
static_assert(offsetof(Orvane_Light_params, flare_sample_radius) == 49 * 4);
