// Rays and light volumes.
//
// The cone is cut by the plane through the ray and the apex: the ray meets the cone where it meets
// one of the two lines that the plane cuts out of it (D. Eberly, "Intersection of a Line and a
// Cone", treats the same figure algebraically).

#include "volumetric/intersection.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

#include "frame/vector.h"

namespace {

miScalar tangent(miScalar angle) { return std::tan(angle); }

// Angle between two unit vectors.
miScalar angle_between(miVector a, miVector b) {
    return std::acos(std::clamp(dot(a, b), -1.0f, 1.0f));
}

// Where the ray meets a line through the apex, w being the way from the ray's origin to the apex.
// A ray parallel to the line meets it infinitely far ahead or behind.
miScalar meeting(miVector dir, miVector line, miVector w) {
    const miVector p = cross(dir, line), q = cross(w, line);
    const miScalar sine = length(p), along = dot(q, p);
    const miScalar denominator = sine * sine;
    if (denominator == 0) return along >= 0 ? FLT_MAX : -FLT_MAX;
    return along / denominator;
}

enum class Place { Outside, Inside, MirrorNappe };

Place place_of(miVector w, miVector axis, miScalar half_angle) {
    const miScalar angle = angle_between(axis, normalized(w));
    if (angle < half_angle) return Place::MirrorNappe;
    return std::abs(3.141592653589793 - angle) < half_angle ? Place::Inside : Place::Outside;
}

// Whether a point, seen from the apex, is on the cone and not on its mirror nappe.
bool ahead_of_apex(miVector from_apex, miVector axis) {
    return dot(axis, from_apex) / length(from_apex) > 0;
}

}  // namespace

extern "C" {

int qv_QuadraticRoots(double a, double b, double c, double* roots) {
    roots[0] = roots[1] = 0;
    const double discriminant = b * b - 4.0 * a * c;
    if (discriminant < 0) return 0;
    double s = static_cast<float>(std::sqrt(discriminant));
    if (b < 0) s = -s;
    const double q = -0.5 * (b + s);
    int count = 0;
    if (a != 0) roots[count++] = q / a;
    if (q != 0) roots[count++] = c / q;
    return count;
}

int qv_SphereIntersection(const miVector* org, const miVector* dir, const miVector* centre,
                          miScalar radius, miScalar* t_near, miScalar* t_far) {
    const miScalar a = dot(*dir, *dir);
    const miScalar b = 2 * dot(*dir, *org - *centre);
    const miScalar c =
        dot(*org, *org) + dot(*centre, *centre) - 2 * dot(*org, *centre) - radius * radius;
    double roots[2];
    if (qv_QuadraticRoots(a, b, c, roots) != 2) return 0;
    *t_near = static_cast<miScalar>(std::min(roots[0], roots[1]));
    *t_far = static_cast<miScalar>(std::max(roots[0], roots[1]));
    if (*t_far < 0) return 0;
    if (*t_near < 0) *t_near = 0;
    return 1;
}

int qv_ConeIntersection(const miVector* org, const miVector* dir, const miVector* apex,
                        const miVector* axis, miScalar half_angle, miScalar* t_near,
                        miScalar* t_far) {
    // Lean the plane through ray and apex away from the axis; too far, and it misses the cone.
    const miVector w = *apex - *org;
    miVector n = normalized(cross(*dir, w));
    miScalar lean = dot(*axis, n);
    if (lean > 0) {
        n = -n;
        lean = -lean;
    }
    const miScalar beta = std::atan2(-lean, std::sqrt(std::max(0.0f, 1 - lean * lean)));
    if (!(beta < half_angle)) return 0;

    // Meet the two lines in which it cuts the cone.
    miVector u = cross(*axis, n);
    const miVector m = normalized(cross(u, *axis));
    u = normalized(u);
    const miScalar tb = tangent(beta), ta = tangent(half_angle);
    const miScalar k = std::sqrt(std::max(0.0f, ta * ta - tb * tb));
    const miVector middle = *axis + m * tb;
    *t_near = meeting(*dir, normalized(middle + u * k), w);
    *t_far = meeting(*dir, normalized(middle - u * k), w);
    if (*t_far < *t_near) std::swap(*t_near, *t_far);

    // Which of the crossings bound the stretch inside depends on where the ray begins.
    switch (place_of(w, *axis, half_angle)) {
        case Place::MirrorNappe:
            if (*t_near < 0 || *t_far < 0) return 0;
            *t_near = *t_far;
            *t_far = FLT_MAX;
            return 1;
        case Place::Inside:
            if (*t_near >= 0) {
                *t_far = *t_near;
            } else if (*t_far < 0) {
                *t_far = FLT_MAX;
            }
            *t_near = 0;
            return 1;
        case Place::Outside:
            break;
    }
    if (*t_near < 0 && *t_far > 0) {
        *t_near = *t_far;
        *t_far = FLT_MAX;
    }
    return ahead_of_apex(*org + *dir * *t_near - *apex, *axis) && *t_far > 0;
}
}
