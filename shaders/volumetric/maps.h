// The maps of a light in a volume, see light_set.h.
#pragma once

#include "volumetric/light_set.h"

// Whether the state is that of a depth ray: then its length went into the map.
miBoolean catch_depth(VolumeShared* shared, const miState* state);

// The texel of a spherical map that a unit direction in world space falls on, perhaps the one
// beyond the last: the largest whole numbers not above u N + 0.5 and v N + 0.5, (u, v) being what
// qv_ConvertToSphericMapProj tells.
void convert_to_spheric_texel(const VolumeLight* light, miVector* dir, int* i, int* j);

extern "C" {

// Sets the frame of a cone's map: its matrices and light_in_map. direction, origin, extent and
// half_res are there.
void qv_SetupPlanarDepthMap(VolumeLight* light, miState* state);

// Fill every texel of the intensity map: the light's colour times slide, soft edge and noise. An
// abort leaves the rest of the map as it is.
void qv_BuildPlanarIntenMap(VolumeLight* light, miState* state);
void qv_BuildSphericIntenMap(VolumeLight* light, miState* state);

// Traces the depth map. Its rays pass through the scene's volume, whose shader catches their
// lengths (catch_depth). Uses up the state's point, normals and pri; its levels come back. An
// abort leaves the rest of the map as it is.
void qv_BuildDepthMap(VolumeShared* shared, VolumeLight* light, miState* state);

// The texel that a point of internal space falls on as seen from the light of a cone, perhaps
// outside the map; (-1, -1) for points that are not on the map's side of the light.
void qv_ConvertToPlanarMapProj(const VolumeLight* light, const miVector* point, int* i, int* j);

// Unit direction, in world space, of the centre of texel (i, j) of a spherical map.
void qv_ConvertFromSphericMapProj(const VolumeLight* light, int i, int j, miVector* dir);

// 0.5 plus layers of noise, each half as strong as the one before. The scale of the look-ups
// accumulates: point x 1, 2, 8, 64, ... Without layers 0.5. At most 128 are looked up, which is all
// that a float can tell.
miScalar qv_FractalNoise(const miVector* point, int octaves, miScalar amplitude);
}
