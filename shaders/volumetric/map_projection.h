// How directions from a light become coordinates on its slide: a plane across the cone of a
// spot light, longitude and latitude around any other light.
#pragma once

#include <algorithm>
#include <cmath>

#include "frame/host.h"

// Angle of a cosine in radians, 0..pi. A cosine that rounding has pushed beyond 1 or -1 counts
// as 1 or -1.
static inline double arc_cosine(double cosine) {
    return std::atan2(std::sqrt(std::max(0.0, 1 - cosine * cosine)), cosine);
}

// Axes and centre of a plane across a spot light's beam, in internal space. The axes have unit
// length in world space.
struct MapFrame {
    miVector x;       // along the width
    miVector y;       // normal, towards the light; 0 for a light without direction
    miVector z;       // along the height
    miVector centre;  // where the light's axis meets the plane
};

// Builds the frame of the plane at the given distance, in units of direction's length in world
// space, from origin along direction (both in internal space).
//
// x is level and z is the slope. For a light that shines towards world height 0 they stand upright
// as seen from the light, x to the right and z up; for one that shines away from it both are
// reversed; a level light counts as shining up. A light at height 0 leaves x open and counts as
// upright; a vertical light gets the world axes x and -z when it shines down, x and z when up.
void set_up_map_frame(miState* state, MapFrame* frame, miVector* origin, miVector* direction,
                      double distance);

// Matrices that take a point to its products with the axes of a frame, and that move it.
void rotation_to(const MapFrame& frame, miMatrix matrix);
void translation(miMatrix matrix, miVector by);

extern "C" {

// Fills matrix to take points of internal space to the coordinates (x, y, z) of that frame,
// relative to its centre.
void qv_SetupMapProj(miState* state, miMatrix matrix, miVector* origin, miVector* direction,
                     double distance);

// Where the line from the light at origin through point meets the plane: uv = (x, z, 0) in the
// coordinates of matrix, (0, 0) being the slide's centre. (-1, -1, -1) when the line does not
// run towards the plane.
void qv_SlideConvertToMapProj(miMatrix matrix, miVector* origin, miVector* point, miVector* uv);

// Texture coordinates in 0..1 of a unit direction in world space: u is 1 along +z and
// falls with the longitude towards +x; v rises from 0 at -y to 1 at +y.
void qv_ConvertToSphericMapProj(miVector* dir, miScalar* u, miScalar* v);
}
