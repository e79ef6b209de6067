// What tells the toon lens that there is a line: tests over the nine samples of a neighbourhood.
//
// Samples are numbered as in contour.h; 4 is the centre. records are the samples' zel_toon_record.
#pragma once

#include "toon/contour.h"
#include "toon/toon_material.h"

constexpr int kGrid = 9;
constexpr int kCentre = 4;

enum zel_toon_class : int {
    zel_toon_NO_SAMPLES = 0,
    zel_toon_EMPTY = 1,      // some sample sees nothing that takes part
    zel_toon_DIFFERENT = 2,  // none is empty, some sees another object than the centre
    zel_toon_SAME = 3,       // all see the centre's object
};

extern "C" {

// The sample nearest to the camera, of equals the last; -1 when all are empty.
int zel_toon_nearest(const zel_ct_store* store);

int zel_toon_classify(const zel_ct_store* store);

// miTRUE unless some sample groups itself with another one that is nearer to it in depth than
// limit.
miBoolean zel_toon_group_test(const zel_ct_store* store, miScalar limit);

// Whether the normals bend: the sum of the samples' normals weighted by a Laplacian kernel, its
// components' magnitudes added, divided by 27, reaches limit.
miBoolean zel_toon_normal_contrast(const miVector* normals, miScalar limit);

// Whether some sample's r, g or b differs from the centre's by more than limit.
miBoolean zel_toon_color_contrast(const miColor* colors, miScalar limit);

// Whether some sample has another shading zone than the centre.
miBoolean zel_toon_zone_contrast(const zel_toon_record* records);

// Whether transparent and opaque samples meet.
miBoolean zel_toon_transp_contrast(const zel_toon_record* records);
}

static inline const zel_toon_record* records_of(const zel_ct_store* store) {
    return reinterpret_cast<const zel_toon_record*>(store->user);
}
