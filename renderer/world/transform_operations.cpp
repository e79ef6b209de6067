// Between the spaces of a scene. Internal space is world space.

#include "frame/host.h"
#include "world/render.h"

using namespace orvane::world;

namespace {

const Instance* object_of(const miState* state) {
    return current_render()->world.database().get<Instance>(state->instance, miITEM_INSTANCE);
}

const miScalar* to_camera() { return current_render()->world.world_to_camera().getValue(); }
const miScalar* from_camera() { return current_render()->world.camera_to_world().getValue(); }

// A normal goes with the transpose of the matrix of the opposite direction.
miVector by_transpose(const miVector& n, const Imath::M44f& m) {
    return {n.x * m[0][0] + n.y * m[0][1] + n.z * m[0][2],
            n.x * m[1][0] + n.y * m[1][1] + n.z * m[1][2],
            n.x * m[2][0] + n.y * m[2][1] + n.z * m[2][2]};
}

// A vector that its shader has just written one component at a time would be waited for.
void copy(miVector* out, const miVector* in) {
    if (out != in) *out = *in;
}

}  // namespace

extern "C" {

void mi_point_to_world(miState*, miVector* out, miVector* in) { copy(out, in); }
void mi_point_from_world(miState*, miVector* out, miVector* in) { copy(out, in); }
void mi_vector_to_world(miState*, miVector* out, miVector* in) { copy(out, in); }
void mi_vector_from_world(miState*, miVector* out, miVector* in) { copy(out, in); }

void mi_point_to_camera(miState*, miVector* out, miVector* in) {
    mi_point_transform(out, in, to_camera());
}
void mi_point_from_camera(miState*, miVector* out, miVector* in) {
    mi_point_transform(out, in, from_camera());
}
void mi_vector_to_camera(miState*, miVector* out, miVector* in) {
    mi_vector_transform(out, in, to_camera());
}
void mi_vector_from_camera(miState*, miVector* out, miVector* in) {
    mi_vector_transform(out, in, from_camera());
}

void mi_point_to_object(miState* state, miVector* out, miVector* in) {
    if (const Instance* object = object_of(state))
        mi_point_transform(out, in, object->world_to_local.getValue());
    else
        *out = *in;
}
void mi_point_from_object(miState* state, miVector* out, miVector* in) {
    if (const Instance* object = object_of(state))
        mi_point_transform(out, in, object->local_to_world.getValue());
    else
        *out = *in;
}
void mi_vector_to_object(miState* state, miVector* out, miVector* in) {
    if (const Instance* object = object_of(state))
        mi_vector_transform(out, in, object->world_to_local.getValue());
    else
        *out = *in;
}
void mi_vector_from_object(miState* state, miVector* out, miVector* in) {
    if (const Instance* object = object_of(state))
        mi_vector_transform(out, in, object->local_to_world.getValue());
    else
        *out = *in;
}
void mi_normal_to_object(miState* state, miVector* out, miVector* in) {
    const Instance* object = object_of(state);
    *out = object ? by_transpose(*in, object->local_to_world) : *in;
}
void mi_normal_from_object(miState* state, miVector* out, miVector* in) {
    const Instance* object = object_of(state);
    *out = object ? by_transpose(*in, object->world_to_local) : *in;
}
}
