// How directions from a light become coordinates on its slide.

#include "volumetric/map_projection.h"

// The level axis that points to the right as seen along -y, y being a unit vector.
static miVector upright_axis(miVector y) {
    const miVector level = cross({0, 1, 0}, y);
    return normalized(length(level) > 1e-6f ? level : cross(y, {0, 0, y.y}));
}

void set_up_map_frame(miState* state, MapFrame* frame, miVector* origin, miVector* direction,
                      double distance) {
    miVector dir, org;
    mi_vector_to_world(state, &dir, direction);
    mi_point_to_world(state, &org, origin);
    const miVector y = normalized(-dir);
    miVector centre = org + dir * static_cast<miScalar>(distance);

    // Turn the axes by the light's foot, the point at height 0 below or above it: x is y x the way
    // from the centre to the foot. Written out, the distance cancels, and with it the rounding
    // that would turn distant planes against near ones.
    const miVector level = {-dir.z * org.y, 0, dir.x * org.y};
    miVector x, z;
    if (!(length(level) > 1e-6f * length(dir) * length(org))) {
        x = upright_axis(y);
        z = normalized(cross(y, x));
    } else {
        x = normalized(level);
        z = normalized(cross(x, y));
        miVector& reversed = y.y <= 0 ? x : z;
        reversed = -reversed;
    }

    mi_vector_from_world(state, &frame->x, &x);
    miVector normal = y;
    mi_vector_from_world(state, &frame->y, &normal);
    mi_vector_from_world(state, &frame->z, &z);
    mi_point_from_world(state, &frame->centre, &centre);
}

// Each axis fills a column: a point's products with the axes are its coordinates.
void rotation_to(const MapFrame& frame, miMatrix matrix) {
    mi_matrix_ident(matrix);
    const miVector axes[3] = {frame.x, frame.y, frame.z};
    for (int column = 0; column < 3; ++column) {
        matrix[column] = axes[column].x;
        matrix[4 + column] = axes[column].y;
        matrix[8 + column] = axes[column].z;
    }
}

void translation(miMatrix matrix, miVector by) {
    mi_matrix_ident(matrix);
    matrix[12] = by.x;
    matrix[13] = by.y;
    matrix[14] = by.z;
}

extern "C" {

void qv_SetupMapProj(miState* state, miMatrix matrix, miVector* origin, miVector* direction,
                     double distance) {
    MapFrame frame;
    set_up_map_frame(state, &frame, origin, direction, distance);

    // Measure from the centre.
    rotation_to(frame, matrix);
    miMatrix shift;
    translation(shift, -frame.centre);
    mi_matrix_prod(matrix, shift, matrix);
}

void qv_SlideConvertToMapProj(miMatrix matrix, miVector* origin, miVector* point, miVector* uv) {
    miVector a, b;
    mi_point_transform(&a, origin, matrix);
    mi_point_transform(&b, point, matrix);
    const miVector d = b - a;
    if (d.y < 0) {
        const miScalar t = -b.y / d.y;
        *uv = {b.x + t * d.x, b.z + t * d.z, 0};
    } else {
        *uv = {-1, -1, -1};
    }
}

void qv_ConvertToSphericMapProj(miVector* dir, miScalar* u, miScalar* v) {
    const double x = dir->x, z = dir->z;
    // Longitudes from -pi to pi give 1.5 to 0.5.
    *u = static_cast<miScalar>(1 - std::atan2(x, z) / 6.283185307179586);
    if (*u > 1) *u -= 1;
    *v = static_cast<miScalar>(1 - arc_cosine(dir->y) / 3.141592653589793);
}
}
