// What a volume instance knows of its lights: where each stands, the volume that it fills, and two
// maps of N x N texels: the colour that leaves it in each direction and the distance to what it
// meets first. Spot lights have a planar map across their cone, point lights a spherical one.
//
// Map coordinates of a spot light: x and z run across the plane of the map from 0 to N, texel
// (i, j) covering i <= x < i + 1 and j <= z < j + 1; y is the height above the plane towards the
// light. Rows of both maps are indexed by i, the places in a row by j. On a sphere i follows the
// longitude and j the latitude.
#pragma once

#include <atomic>

#include "frame/host.h"
#include "volumetric/verify_light.h"
#include "volumetric/volume_block.h"

enum VolumeKind : miInteger {
    VOLUME_CONE = 0,    // spot light, planar map
    VOLUME_SPHERE = 1,  // point light, spherical map
};

struct VolumeLight {
    miTag instance;
    miInteger kind;        // VolumeKind
    miVector direction;    // of a cone: unit length, internal space
    miVector origin;       // internal space
    miScalar inner_angle;  // radians: the outer one less the falloff, maybe below 0
    miScalar outer_angle;  // radians: the cone's half angle
    miColor color;         // times intensity
    miVector light_in_map;
    miScalar half_res;  // N / 2
    miScalar extent;    // cone: distance of the map's plane; sphere: radius, 3 x volume_decay
    miMatrix from_map;  // map coordinates to internal space
    miMatrix to_map;
    miScalar** depth;  // scene units from the light, FLT_MAX where nothing is met
    miColor** inten;

    // From the light's parameter block.
    miBoolean attenuation;
    miScalar atten_start, atten_end;
    miBoolean has_depth;  // depth holds distances
    miScalar volume_density;
    miBoolean volume_noise;
    miInteger noise_octaves;
    miScalar noise_frequency, noise_amount, noise_speed;
    miScalar volume_decay, depth_start;
    miBoolean volume_shadows;
    miInteger map_resolution;  // N
    miScalar slide_scale;
    miScalar slide_rotation;  // radians
    miInteger slide_repeat;
    miBoolean exact_shadows, inverse_square;
    miTag slide;

    double spread_per_length;  // of a cone: 100 tan(outer_angle / 2), by which its light thins
};

// The record of a volume instance. Only the thread that builds the light set writes to it after
// its initialisation; the atomic fields are those that others may look at meanwhile.
struct VolumeShared {
    VolumeLight* lights;
    VolumeLight* depth_light;           // whose depth map is traced
    miScalar fog_base, march_fog_base;  // of the block that the lights were taken from
    miInteger light_count;
    std::atomic<miInteger> depth_pass;    // 1 while a depth map is traced
    miInteger depth_row, depth_col;       // its texel
    std::atomic<miInteger> setup_done;    // 0 until the light set is built
    std::atomic<miInteger> depth_thread;  // which thread traces it, -1 = none
    miLock lock;                          // for building
};
static_assert(sizeof(std::atomic<miInteger>) == 4);

// Transparency of a block's fog over a length s: base^-s, base being the first of these outside of
// the march and the second within. Each ray asks its own block, in which connected parameters have
// been evaluated.
miScalar fog_base(const Orvane_Volume_params* params);
miScalar march_fog_base(const Orvane_Volume_params* params);

// Frees a light's maps, if it has any.
void release_maps(VolumeLight* light);

extern "C" {

// Fills the fog and the lights of a volume: those of its list that are Orvane_Light point or spot
// lights with a volume_density above 0. Left out are also lights whose maps cannot be: no
// memory, a resolution below 1, a cone of no width or of half a sphere and more, a sphere without
// end. An abort of the render, or a light that does not tell its spread, ends it: the lights before
// stay.
void qv_SetupLights(VolumeShared* shared, miState* state, const Orvane_Volume_params* params);
}
