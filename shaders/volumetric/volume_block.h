// The parameter block of Orvane_Volume.
#pragma once

#include <cstddef>

#include "frame/types.h"

struct Orvane_Volume_params {
    miScalar fog_start;  // scene units along the path from the camera: no fog before
    miScalar fog_end;    // scene units: here 0.03 of what lies behind the fog is left
    miScalar
        fog_floor;  // 0..1: what the densest fog leaves, before, within and behind the beams each
    miColor fog_color;  // alpha unused
    miInteger unused1;  // declared, never read
    miInteger i_light;  // lights seen in the air: instances of Orvane_Light lights
    miInteger n_light;
    miTag light[1];
    miScalar step_length;        // scene units between the samples of a ray
    miScalar max_length;         // scene units: longest stretch of a ray that is sampled
    miBoolean noise;             // 1: noise in the air
    miInteger noise_octaves;     // layers of that noise
    miScalar noise_scale;        // scene units: size of its features; 0 = 1
    miScalar noise_amount;       // 0..1: how much the noise takes away
    miScalar noise_speed;        // scene units along the ray per unit of frame time
    miBoolean fog;               // 1: distance fog
    miInteger unused2;           // declared, never read
    miInteger unused3;           // declared, never read
    miBoolean noise_per_sample;  // 1: noise at every sample; 0: once a ray
};
static_assert(sizeof(Orvane_Volume_params) == 22 * 4);
static_assert(offsetof(Orvane_Volume_params, light) == 10 * 4);
static_assert(offsetof(Orvane_Volume_params, noise_per_sample) == 21 * 4);
