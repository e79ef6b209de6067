// Cylindric: a lens that unrolls a cylinder around the camera into a panorama.
//
// Columns are equal steps of the angle about the camera's vertical axis, rows are equal steps of
// height on the cylinder's wall at the distance of the view plane:
//
//     direction = (sin angle * focal, height, -cos angle * focal)
//     angle     = fov / 2 * x      x, y = -1..1 across the frame
//     height    = aperture / aspect / 2 * y
//
// Its rays are reflections to the renderer: objects must be visible to secondary rays, and a
// trace depth of 1 is needed at least.

#include <cmath>

#include "frame/host.h"

extern "C" {

struct Cylindric_params {
    miScalar fov;  // degrees across the width of the frame
};
static_assert(sizeof(Cylindric_params) == 4);

int Cylindric_version() { return 1; }

// Place -1..1 across the frame. Halves are whole pixels: the middle of an odd resolution lies half
// a pixel off the frame's. A frame of one pixel is all middle.
static miScalar place(miScalar raster, miInteger resolution) {
    const auto half = static_cast<miScalar>(resolution / 2);
    return half == 0 ? 0 : (raster - half) / half;
}

static miVector direction(const miState* state, miScalar fov) {
    const miCamera& camera = *state->camera;
    const double angle =
        0.017453292519943295 * fov * 0.5 * place(state->raster_x, camera.x_resolution);
    miVector dir = normalized(
        {static_cast<miScalar>(std::sin(angle)), 0, static_cast<miScalar>(-std::cos(angle))});
    dir.x *= camera.focal;
    dir.z *= camera.focal;
    dir.y = camera.aperture / camera.aspect * place(state->raster_y, camera.y_resolution) * 0.5f;
    return normalized(dir);
}

miBoolean Cylindric(miColor* result, miState* state, Cylindric_params* params) {
    miVector dir = direction(state, params->fov);
    mi_vector_from_camera(state, &dir, &dir);
    miVector origin = {0, 0, 0};
    mi_point_from_camera(state, &state->point, &origin);

    // The ray leaves no surface.
    state->pri = nullptr;
    state->pri_index = 0;
    return mi_trace_reflection(result, state, &dir);
}
}
