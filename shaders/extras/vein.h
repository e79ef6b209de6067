// Thin veins on a surface, as cptn_nemo and static_cling draw them.
//
// They run where a fractal noise n of the point in object space passes its middle, 1/2:
//
//     vein  |n - 1/2| < t                t = thickness / (10 complexity)
//     edge  t <= |n - 1/2| < t + w       w = glow / 2
//
// What is not a number is no vein; neither, with a complexity of 0, is a thickness of 0 or less.
#pragma once

#include <cmath>

#include "frame/host.h"
#include "frame/noise.h"

struct vein_params {
    miScalar scaling;      // multiplies the point
    miScalar sharpness;    // 0..1: takes from the values along the edge
    miScalar thickness;    // half the width of a vein, in tenths of the noise, of one octave
    miScalar speed;        // drift along object z per unit of frame time; none below 0
    miScalar glow;         // twice the width of the edge, in the noise
    miInteger complexity;  // octaves of the noise
};
static_assert(sizeof(vein_params) == 6 * 4);

enum vein_zone { vein_INSIDE, vein_EDGE, vein_OUTSIDE };

struct vein_place {
    vein_zone zone;
    double beyond;  // the vein's border: 0 .. width in the edge
    double width;   // of the edge
};

static inline vein_place find_vein(miState* state, const vein_params& params) {
    miVector p;
    mi_point_to_object(state, &p, &state->point);
    p = p * params.scaling;
    if (params.speed > 0) p.z += state->camera->frame_time * params.speed;
    const double distance = std::abs(qv_NoiseOctave3D(&p, params.complexity, 1.0) - 0.5);

    const double border = params.thickness / (10 * static_cast<miScalar>(params.complexity));
    const double width = 0.5f * params.glow;
    const vein_zone zone = distance < border           ? vein_INSIDE
                           : distance < border + width ? vein_EDGE
                                                       : vein_OUTSIDE;
    return {zone, distance - border, width};
}

// A value that goes from at_vein to at_end across the edge, all of it taken down by sharpness.
static inline double across_edge(const vein_place& place, const vein_params& params, double at_vein,
                                 double at_end) {
    return qv_Interpolate(qv_SINE_OUT, 0, place.width, place.beyond, at_vein, at_end) *
           (1 - params.sharpness);
}
