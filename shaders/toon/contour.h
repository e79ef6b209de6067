// The contour functions: a lens shader finds the lines of a drawing without a separate pass.
//
// For each eye sample the lens has a small square grid of rays traced into a store, one store a
// render thread. The materials that the rays hit record what was seen; a contour function then
// looks at the whole neighbourhood and decides the colour. The store knows nothing of lines: what
// materials record beyond the hit is up to the lens and the materials. Shaders of other libraries
// may use it, too.
//
// Samples are numbered row by row from the lower left: (i, j), both from -radius to radius, has the
// number (j + radius) * width + i + radius. Points, normals and directions are in internal space.
#pragma once

#include "frame/host.h"

extern "C" {

struct zel_ct_store;

// Decides the colour of a sample. *result holds what the centre ray has seen. params are those of
// the lens. store is NULL when neither the centre nor a corner was recorded.
typedef miBoolean (*zel_ct_contour_fn)(miColor* result, miState* state, void* params,
                                       zel_ct_store* store);

// Fills org and dir of all samples but the centre. The centre has been traced by then.
typedef void (*zel_ct_dir_fn)(miState* state, void* params, zel_ct_store* store);

enum zel_ct_class : miInteger {
    zel_ct_RING = 0,    // traced when the centre or a corner was recorded
    zel_ct_CORNER = 1,  // always traced
    zel_ct_CENTRE = 2,
};

// Made zero-filled by its owner. The arrays have count elements each.
struct zel_ct_store {
    miInteger radius;
    miInteger width;    // 2 radius + 1
    miInteger count;    // width * width
    miInteger centre;   // number of the middle sample
    miInteger current;  // sample whose ray is being traced
    miVector* point;
    miScalar* dot_nd;
    miVector* normal;
    miVector* normal_geom;
    double* depth;  // distance along the viewing axis
    miColor* color;
    miUint* label;  // 0 = nothing was recorded
    miVector* motion;
    char* user;  // count records of user_size bytes; NULL when that is 0
    miInteger user_size;
    miVector* org;
    miVector* dir;
    zel_ct_contour_fn contour;
    zel_ct_dir_fn dir_fn;
    const char* tag;  // tells a store from other user data by its address
    miInteger flags;  // bit 0: a sample of this grid was recorded
    miInteger* mask;  // zel_ct_class
};

// Makes a store ready. dir may be NULL: then samples are spread evenly over one pixel. A radius
// below 1 counts as 0: the store has the centre alone. miFALSE, after a warning, without a contour
// function or without memory; what was allocated stays for zel_ct_exit.
miBoolean zel_ct_init(zel_ct_store* store, int radius, int user_size, zel_ct_contour_fn contour,
                      zel_ct_dir_fn dir);

// Releases a store's arrays, not the store itself. It may be initialised again.
void zel_ct_exit(zel_ct_store* store);

// Traces the grid of the state's eye sample and returns the contour function's answer. To be called
// by lens shaders; leaves the store as the state's user data.
miBoolean zel_ct_sample(miColor* result, miState* state, void* params, zel_ct_store* store);

// Whether a ray belongs to a grid.
miBoolean zel_ct_ray(miState* state);

// Records the state's hit, the colour seen there and a record of the store's user_size (or NULL,
// which leaves the old one) for the current sample; what was recorded for it before is replaced.
// miFALSE, and nothing is recorded, when the ray belongs to no grid.
miBoolean zel_ct_set(miState* state, miColor* color, void* user);

// Direction in internal space of the eye ray through a place of the picture in pixels, of unit
// length. Shifts of the view plane and orthographic cameras are not taken into account.
void zel_ct_raster_dir(miState* state, miVector* dir, miScalar x, miScalar y);
}
