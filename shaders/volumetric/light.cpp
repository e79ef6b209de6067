// Orvane_Light: a point or spot light with a soft edge, linear attenuation, a projected slide
// and shadows of adjustable darkness.
//
//     light = color * intensity * edge * slide * fade * shadow
//
//     edge    1 inside the inner cone, falling linearly in the cosine to 0 at the outer cone
//     slide   the texture seen from the light: across the cone of a spot light, wrapped around
//             any other light
//     fade    1 up to atten_start, falling linearly to 0 at atten_end
//     shadow  shadow_factor + (1 - shadow_factor) * what passes the objects in between
//
// Alpha is scaled by intensity alone.

#include <algorithm>
#include <cmath>

#include "frame/host.h"
#include "volumetric/light_block.h"
#include "volumetric/map_projection.h"
#include "volumetric/slide.h"

extern "C" {

// What an instance knows of its light, at the instance's user pointer.
struct LightShape {
    miVector direction;     // internal space, unit length
    miInteger type;         // miLightType
    miScalar spread;        // cosine of the cone's half angle
    miScalar inner;         // cosine of the half angle that has full strength
    double slide_distance;  // where the cone's radius is 0.5; not finite for a cone without width
};

int Orvane_Light_version() { return 2; }

// Address of the running instance's user pointer.
static LightShape** light_shape(miState* state) {
    void** user = nullptr;
    mi_query(miQ_FUNC_USERPTR, state, miNULLTAG, &user);
    return reinterpret_cast<LightShape**>(user);
}

// Fills the cone that goes with a spread, soft over falloff degrees of its edge.
static void set_cone(LightShape* shape, miScalar spread, miScalar falloff) {
    shape->spread = spread;
    const double angle = arc_cosine(spread);
    const auto half = static_cast<miScalar>(angle * 57.2957795);
    const miScalar inner_degrees = std::max(half - falloff, 0.0f);
    shape->inner = static_cast<miScalar>(std::cos(inner_degrees * 0.017453292));
    const auto tangent = static_cast<miScalar>(std::tan(angle));
    shape->slide_distance = 0.5 / tangent;
}

void Orvane_Light_init(miState* state, void* params, miBoolean* inst_init_req) {
    if (!params) {
        *inst_init_req = miTRUE;
        return;
    }
    LightShape** user = light_shape(state);
    if (!user) return;
    *user =
        static_cast<LightShape*>(mi_mem_int_allocate("Orvane_Light", __LINE__, sizeof(LightShape)));
    LightShape* shape = *user;
    if (!shape) return;

    // Ask for the light's own description.
    miTag light = miNULLTAG;
    miScalar spread = 0;
    miVector dir = {0, 0, 0};
    mi_query(miQ_INST_ITEM, state, state->light_instance, &light);
    mi_query(miQ_LIGHT_TYPE, state, light, &shape->type);
    mi_query(miQ_LIGHT_SPREAD, state, light, &spread);
    mi_query(miQ_LIGHT_DIRECTION, state, light, &dir);
    set_cone(shape, spread, static_cast<Orvane_Light_params*>(params)->falloff);

    // Take its direction to internal space.
    if (is_zero(dir)) dir = {0, 0, -1};
    const miScalar* to_world = nullptr;
    if (mi_query(miQ_INST_LOCAL_TO_GLOBAL, state, state->light_instance, &to_world))
        mi_vector_transform(&dir, &dir, to_world);
    mi_vector_from_world(state, &dir, &dir);
    shape->direction = normalized(dir);
}

void Orvane_Light_exit(miState* state, void* params) {
    if (!params) return;
    LightShape** user = light_shape(state);
    if (!user || !*user) return;
    mi_mem_int_release("Orvane_Light", __LINE__, *user);
    *user = nullptr;
}

// Address of a parameter's value: what its shader says when it is connected, else the field.
static const void* evaluated(miState* state, const Orvane_Light_params* params, void* field) {
    const unsigned char* connected = state->shader->connected;
    const auto word = (static_cast<char*>(field) - reinterpret_cast<const char*>(params)) / 4;
    return connected && connected[word] == 1 ? mi_phen_eval(state, field) : field;
}

static miColor light_color(miState* state, Orvane_Light_params* params) {
    const miColor c = *static_cast<const miColor*>(evaluated(state, params, &params->color));
    const miScalar intensity =
        *static_cast<const miScalar*>(evaluated(state, params, &params->intensity));
    return {c.r * intensity, c.g * intensity, c.b * intensity, c.a * intensity};
}

// The slide of a spot light: its unit square holds the cone's circle.
static void project_planar(miColor* result, miState* state, const Orvane_Light_params* params,
                           const LightShape* shape) {
    if (!std::isfinite(shape->slide_distance)) return;
    miMatrix to_slide;
    miVector direction = shape->direction;
    qv_SetupMapProj(state, to_slide, &state->org, &direction, shape->slide_distance);
    miVector at;
    qv_SlideConvertToMapProj(to_slide, &state->org, &state->point, &at);

    const auto angle = static_cast<miScalar>(params->slide_rotation * 0.017453292519943295);
    filter_by_turned_slide(result, state, params->slide, at.x, at.y, angle, params->slide_scale,
                           params->slide_repeat);
}

// The slide of any other light: longitude and latitude around it.
static void project_spherical(miColor* result, miState* state, const Orvane_Light_params* params) {
    miVector dir = state->point - state->org;
    mi_vector_to_world(state, &dir, &dir);
    dir = normalized(dir);
    miScalar u, v;
    qv_ConvertToSphericMapProj(&dir, &u, &v);
    u -= params->slide_rotation / 360;
    filter_by_slide(result, state, params->slide, u, v);
}

// The cone's edge and the slide. miFALSE outside the cone.
static miBoolean shape_light(miColor* result, miState* state, const Orvane_Light_params* params,
                             const LightShape* shape) {
    if (shape->type != miLIGHT_SPOT) {
        if (params->slide) project_spherical(result, state, params);
        return miTRUE;
    }
    const miScalar d = dot(state->dir, shape->direction);
    if (d <= 0 || d < shape->spread) return miFALSE;
    // From here on d is at least spread, so that the difference below is never 0.
    if (d < shape->inner)
        scale_rgb(result, 1 - (d - shape->inner) / (shape->spread - shape->inner));
    if (params->slide) project_planar(result, state, params, shape);
    return miTRUE;
}

static miBoolean attenuate(miColor* result, const miState* state,
                           const Orvane_Light_params* params) {
    const auto distance = static_cast<miScalar>(state->dist);
    const miScalar start = params->atten_start, end = params->atten_end;
    if (distance >= end) return miFALSE;
    if (start < distance && std::fabs(end - start) > 0.0001)
        scale_rgb(result, 1 - (distance - start) / (end - start));
    return miTRUE;
}

static miBoolean shade(miColor* result, miState* state, miScalar factor) {
    miColor passing = {1, 1, 1, 1};
    const miBoolean lit = mi_trace_shadow(&passing, state);
    if (!lit || (passing.r < 1e-6 && passing.g < 1e-6 && passing.b < 1e-6)) {
        if (factor == 0) return miFALSE;
        scale_rgb(result, factor);
    } else {
        const miScalar rest = 1 - factor;
        filter_rgb(result, factor + rest * passing.r, factor + rest * passing.g,
                   factor + rest * passing.b);
    }
    return miTRUE;
}

// Gives the colour alone for any ray that is no light ray, so that other shaders can ask for it.
miBoolean Orvane_Light(miColor* result, miState* state, Orvane_Light_params* params) {
    *result = light_color(state, params);
    if (state->type != miRAY_LIGHT) return miTRUE;

    // An instance that could not be initialised gives no light.
    LightShape** user = light_shape(state);
    if (!user || !*user) return miFALSE;

    if (!shape_light(result, state, params, *user)) return miFALSE;
    if (params->attenuation && !attenuate(result, state, params)) return miFALSE;
    if (params->shadow && params->shadow_factor < 1)
        return shade(result, state, params->shadow_factor);
    return miTRUE;
}
}
