// Where a ray runs through a light's volume: the sphere around a point light, the infinite cone
// of a spot light.
//
// Points and directions share one space. Distances are in lengths of the ray's direction; FLT_MAX
// stands for a ray that never leaves. A result of 1 means that the ray passes through the volume
// from *t_near to *t_far, neither of them negative; with 0 both have no meaning.
#pragma once

#include "frame/types.h"

extern "C" {

// Real roots of a x^2 + b x + c, unsorted, without the cancellation of the textbook formula.
// Returns how many were written, 0 to 2; roots holds two. A double root counts as two, and a
// linear equation has one.
int qv_QuadraticRoots(double a, double b, double c, double* roots);

int qv_SphereIntersection(const miVector* org, const miVector* dir, const miVector* centre,
                          miScalar radius, miScalar* t_near, miScalar* t_far);

// The one-sided cone at apex around the unit vector axis; half_angle in radians, below pi / 2.
// Its mirror nappe behind the apex does not count.
int qv_ConeIntersection(const miVector* org, const miVector* dir, const miVector* apex,
                        const miVector* axis, miScalar half_angle, miScalar* t_near,
                        miScalar* t_far);
}
