// cam_proj_tex: a texture that throws an image onto the scene from a projector, like slides, or a
// camera in reverse.
//
// The projector stands at from, looks at to and may be rolled about that axis. In its space, where
// it looks along -z, a point p lands on the image at
//
//     u = p.x / |p.z| / (2 aspect tan(fov / 2)) + 1/2     v = p.y / |p.z| / (2 tan(fov / 2)) + 1/2
//
// |p.z| mirrors what lies behind the projector to its front. Sideways the angle is limited to
// aspect * fov / 2 as well, which for an aspect below 1 is narrower than the image.
//
// Outside of the image it is black and answers miFALSE, so that its caller can show something else.

#include <cmath>
#include <cstdlib>

#include "frame/host.h"

extern "C" {

struct cam_proj_tex_params {
    miTag texture;         // the image
    miInteger unused[28];  // declared, never read
    miVector from;         // internal space: where the projector stands
    miVector to;           // and looks
    miScalar roll;         // degrees
    miScalar fov;          // degrees, up and down
    miScalar aspect;       // width / height of the image
    miBoolean both_sides;  // surfaces that face away show it too
};
static_assert(sizeof(cam_proj_tex_params) == 39 * 4);

// What an instance knows of its projector.
struct Projector {
    miScalar half_width_angle, half_height_angle;  // radians; what is inside is less
    miScalar u_scale, v_scale;                     // image widths and heights per tangent
    miMatrix to_projector;                         // from internal space
    const void* params;                            // the instance's block: the key
    Projector* next;
};

int cam_proj_tex_version() { return 2; }

static constexpr double kPi = 3.141592653589793;

// All instances; changed by init and exit alone, which no render thread runs beside.
static Projector* projectors = nullptr;

static void release_projectors() {
    while (projectors) {
        Projector* next = projectors->next;
        std::free(projectors);
        projectors = next;
    }
}

static miVector unless_zero(miVector v, miVector otherwise) {
    return normalized(is_zero(v) ? otherwise : v);
}

// From internal space to that of a projector: x to its right, y up, looking along -z.
static void set_frame(miMatrix to_projector, const cam_proj_tex_params* params) {
    const miVector& from = params->from;
    const miVector d = unless_zero(from - params->to, {0, 0, -1});
    const miVector r = unless_zero({d.z, 0, -d.x}, {1, 0, 0});
    const miVector s = cross(d, r);

    const miMatrix axes = {r.x, s.x, d.x, 0, r.y, s.y, d.y, 0, r.z, s.z, d.z, 0, 0, 0, 0, 1};
    miMatrix roll;
    mi_matrix_rotate(roll, 0, 0, static_cast<miScalar>(params->roll * kPi / 180.0));
    mi_matrix_ident(to_projector);
    to_projector[12] = -from.x;
    to_projector[13] = -from.y;
    to_projector[14] = -from.z;
    mi_matrix_prod(to_projector, to_projector, axes);
    mi_matrix_prod(to_projector, to_projector, roll);
}

// A negative fov or aspect turns the image over, and so does a fov above 180 degrees, which covers
// all there is. At 180 a plane cannot hold the image: everything shows its middle.
static void set_image(Projector* projector, double fov, double aspect) {
    const double tangent = std::tan(kPi * fov / 360);
    projector->half_width_angle = static_cast<miScalar>(std::fabs(kPi * aspect * fov / 360));
    projector->half_height_angle = static_cast<miScalar>(std::fabs(kPi * fov / 360));
    projector->u_scale = static_cast<miScalar>(1 / (2 * aspect * tangent));
    projector->v_scale = static_cast<miScalar>(1 / (2 * tangent));
}

void cam_proj_tex_init(miState*, cam_proj_tex_params* params, miBoolean* inst_init_req) {
    if (!params) {
        *inst_init_req = miTRUE;
        release_projectors();  // of a render that had no time to end
        return;
    }
    auto* projector = static_cast<Projector*>(std::malloc(sizeof(Projector)));
    if (!projector) mi_fatal("cam_proj_tex: unable to allocate instance cache");
    *projector = {};
    set_frame(projector->to_projector, params);
    set_image(projector, params->fov, params->aspect);
    projector->params = params;

    Projector** end = &projectors;
    while (*end) end = &(*end)->next;
    *end = projector;
}

void cam_proj_tex_exit(miState*, void* params) {
    if (!params) release_projectors();
}

static const Projector* find(const void* params) {
    const Projector* at = projectors;
    while (at && at->params != params) at = at->next;
    return at;
}

// The projector of a call. A block with connected parameters comes as a copy; the instance's own
// is then that of the shader.
static const Projector* projector_of(const miState* state, const void* params) {
    const Projector* found = find(params);
    return found || !state->shader ? found : find(state->shader->parameters);
}

// Angle off the axis, sideways or upwards: both of magnitudes.
static miScalar off_axis(miScalar offset, miScalar depth) {
    const double tangent = std::fabs(offset) / std::fabs(depth);
    return static_cast<miScalar>(std::atan(tangent));
}

static miScalar on_image(miScalar angle, miScalar offset, miScalar scale) {
    const double tangent = std::tan(double{angle});
    return static_cast<miScalar>((offset < 0 ? -tangent : tangent) * scale + 0.5);
}

// Ends the render for an instance that was not initialised. Parameters that are no numbers, or
// that put the projector or its frame beyond all numbers, throw no image.
miBoolean cam_proj_tex(miColor* result, miState* state, cam_proj_tex_params* params) {
    const Projector* projector = projector_of(state, params);
    if (!projector) mi_fatal("cam_proj_tex: invalid instance cache");
    *result = {0, 0, 0, 0};

    // Sort out what faces away and what is outside of the angles; no number is inside.
    if (!params->both_sides) {
        miVector n;
        mi_vector_transform(&n, &state->normal, projector->to_projector);
        if (!(n.z > 0)) return miFALSE;
    }
    miVector q;
    mi_point_transform(&q, &state->point, projector->to_projector);
    const miScalar ax = off_axis(q.x, q.z), ay = off_axis(q.y, q.z);
    if (!(ax < projector->half_width_angle && ay < projector->half_height_angle)) return miFALSE;

    miVector coord = {on_image(ax, q.x, projector->u_scale), on_image(ay, q.y, projector->v_scale),
                      q.z};
    if (!(coord.x >= 0 && coord.x <= 1) || std::isnan(coord.y)) return miFALSE;
    mi_lookup_color_texture(result, state, params->texture, &coord);
    return miTRUE;
}
}
