// Orvane_Volume: the light of Orvane_Light lights seen in the air, and distance fog.
//
// Where a ray runs through the cone or the sphere of a light, it is sampled from its far end
// towards its origin. At each sample each light adds
//
//     map * density * fade * phase,   phase = 1 + cos^2 of the angle between ray and light
//
// (the phase of J. W. Strutt's "On the light from the sky", 1871, up to a factor), map being the
// light's colour through its slide, soft edge and noise, and black where its depth map has shadow.
//
//     fade    point light     e^(-2 d / volume_decay)
//             spot light      1 / (100 d tan(half the cone's half angle)), which is not physical
//                             but lets a beam reach far; or (volume_decay / d)^2
//
// The light in the air is added to what lies behind without dimming it; fog alone does that. Its
// transparency over a length s is floor + (1 - floor) k^(s / (fog_end - fog_start)), k being 0.03
// before and behind the sampled stretch, and fog_floor (unless that is 0) at each step within.

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <new>

#include "frame/host.h"
#include "volumetric/intersection.h"
#include "volumetric/light_set.h"
#include "volumetric/maps.h"

extern "C" {

// The stretch of a ray within one light's volume.
struct RaySegment {
    miScalar near;  // distances along the ray
    miScalar far;   // FLT_MAX when the ray stays inside
    const VolumeLight* light;
};

void qv_InScatter(miColor* out, const RaySegment* segments, int count, const miVector* point,
                  miState* state, miScalar t);
void qv_DepthFade(const Orvane_Volume_params* params, miColor* colour, miScalar start,
                  miScalar length, miScalar base);

int Orvane_Volume_version() { return 1; }

void Orvane_Volume_init(miState* state, void* params, miBoolean* inst_init_req) {
    if (!state->options->trace)
        mi_fatal("%s FATAL: Orvane shader will not run with trace disabled", "Orvane Volume");
    if (!params) {
        *inst_init_req = miTRUE;
        return;
    }
    void** user = nullptr;
    mi_query(miQ_FUNC_USERPTR, state, miNULLTAG, &user);
    if (!user) return;
    *user = mi_mem_int_allocate("Orvane_Volume", __LINE__, sizeof(VolumeShared));
    if (!*user) return;
    auto* shared = new (*user) VolumeShared{};
    shared->depth_thread = -1;
    mi_init_lock(&shared->lock);
}

void Orvane_Volume_exit(miState* state, void* params) {
    if (!state->options->trace || !params) return;
    void** user = nullptr;
    mi_query(miQ_FUNC_USERPTR, state, miNULLTAG, &user);
    if (!user || !*user) return;
    auto* shared = static_cast<VolumeShared*>(*user);
    mi_delete_lock(&shared->lock);
    for (int i = 0; i < shared->light_count; ++i) release_maps(&shared->lights[i]);
    mi_mem_int_release("Orvane_Volume", __LINE__, shared->lights);
    mi_mem_int_release("Orvane_Volume", __LINE__, shared);
    *user = nullptr;
}
}

namespace {

constexpr int kMostSamples = 1'000'000;  // of one ray

// Whether the running thread is building a light set.
thread_local bool is_building = false;

struct Building {
    Building() { is_building = true; }
    ~Building() { is_building = false; }  // also when the render ends meanwhile
};

// A ray on its way through the lights.
struct March {
    const Orvane_Volume_params* params;
    const VolumeShared* shared;
    miState* state;
    RaySegment* segments;
    int count;             // of segments
    miScalar nearest;      // where the first volume begins
    miScalar far, span;    // the stretch that is sampled, and its length
    miScalar travelled;    // length of the path before this ray
    miScalar through_air;  // what the noise leaves
    miVector drift;        // of the noise
};

bool fog_is_on(const Orvane_Volume_params* params) { return params->fog == miTRUE; }

// A state to build a light set from. Nothing in it tells which ray came first, so that the maps
// are the same whichever did: what stays is the frame, the thread and the medium.
miState neutral(const miState* state) {
    miState s = {};
    s.camera = state->camera;
    s.options = state->options;
    s.global_lock = state->global_lock;
    s.host = state->host;
    s.shader = state->shader;
    s.thread = state->thread;
    s.in_medium = state->in_medium;
    s.volume = state->volume;
    s.refraction_volume = state->volume;
    s.environment = state->camera->environment;
    s.type = miRAY_EYE;
    s.dir = {0, 0, -1};
    s.ior = s.ior_in = 1;
    return s;
}

// Builds the light set unless it is there. miFALSE when the render ends meanwhile. The block as it
// stands is asked, not one whose connected parameters were evaluated for this ray, so that the maps
// are the same whichever ray came first.
miBoolean make_ready(VolumeShared* shared, miState* state, const Orvane_Volume_params* params) {
    if (shared->setup_done) return miTRUE;
    mi_lock(shared->lock);
    if (!shared->setup_done) {
        const Building building;
        miState tracing = neutral(state);
        const miFunction* function = state->shader;
        if (function && function->connected)
            params = static_cast<const Orvane_Volume_params*>(function->parameters);
        qv_SetupLights(shared, &tracing, params);
        ++shared->setup_done;
    }
    mi_unlock(shared->lock);
    return !mi_par_aborted();
}

miScalar path_before(const miState* state) {
    miScalar sum = 0;
    for (const miState* parent = state->parent; parent; parent = parent->parent)
        sum += static_cast<miScalar>(parent->dist);
    return sum;
}

int intersect(const miState* state, const VolumeLight& light, RaySegment* segment) {
    segment->light = &light;
    return light.kind == VOLUME_CONE
               ? qv_ConeIntersection(&state->org, &state->dir, &light.origin, &light.direction,
                                     light.outer_angle, &segment->near, &segment->far)
               : qv_SphereIntersection(&state->org, &state->dir, &light.origin, light.extent,
                                       &segment->near, &segment->far);
}

// Collects the volumes that the ray enters before its end, and how far they reach.
void find_segments(March* march, miScalar end) {
    march->nearest = end;
    march->far = 0;
    for (int i = 0; march->segments && i < march->shared->light_count; ++i) {
        RaySegment* segment = &march->segments[march->count];
        if (!intersect(march->state, march->shared->lights[i], segment) || !(segment->near < end))
            continue;
        ++march->count;
        march->nearest = std::min(march->nearest, segment->near);
        march->far = std::max(march->far, segment->far);
    }
}

// What the air's noise leaves at a point.
miScalar noise_at(const March& march, miVector point) {
    const Orvane_Volume_params* params = march.params;
    mi_point_to_world(march.state, &point, &point);
    const miScalar scale = params->noise_scale;
    if (scale != 0) point = {point.x / scale, point.y / scale, point.z / scale};
    return 1 - qv_FractalNoise(&point, params->noise_octaves, 1) * params->noise_amount;
}

void set_up_noise(March* march) {
    march->through_air = 1;
    if (march->params->noise != miTRUE) return;
    const miState* state = march->state;
    const miScalar moved = state->camera->frame_time * march->params->noise_speed;
    if (march->params->noise_per_sample == 0)
        march->through_air = noise_at(*march, state->org + state->dir * (march->nearest + moved));
    else
        march->drift = state->dir * moved;
}

// Whether the light changes so much from one sample to the next that more are due between them.
bool changes(const miColor& now, const miColor& before) {
    if (now.r < 1e-6 && now.g < 1e-6 && now.b < 1e-6)
        return before.r > 0.01 || before.g > 0.01 || before.b > 0.01;
    const auto differs = [](miScalar a, miScalar b) {
        return std::abs(a - b) > 0.01 * static_cast<double>(a);
    };
    return differs(now.r, before.r) || differs(now.g, before.g) || differs(now.b, before.b);
}

void add(miColor* to, const miColor& c, miScalar weight, miScalar other = 1) {
    to->r += c.r * weight * other;
    to->g += c.g * weight * other;
    to->b += c.b * weight * other;
    to->a += c.a * weight * other;
}

// Fog of a colour that is no number leaves what lies behind it as it is.
void blend_rgb(miColor* c, const miColor& fog, miScalar transparency) {
    const auto blend = [transparency](miScalar* behind, miScalar over) {
        const miScalar sum = transparency * *behind + (1 - transparency) * over;
        if (std::isfinite(sum)) *behind = sum;
    };
    blend(&c->r, fog.r);
    blend(&c->g, fog.g);
    blend(&c->b, fog.b);
}

// Adds the light of one step, which reaches from t away from the camera. Returns the t of the last
// sample taken; *before is the light there.
miScalar add_step(const March& march, miColor* result, miScalar t, miScalar step, miColor* before) {
    miState* state = march.state;
    miVector p = state->org + state->dir * t;
    const Orvane_Volume_params* params = march.params;
    miScalar n = march.through_air;
    if (params->noise == miTRUE && params->noise_per_sample == miTRUE)
        n = noise_at(march, p + march.drift);

    miColor c;
    qv_InScatter(&c, march.segments, march.count, &p, state, t);
    if (changes(c, *before)) {
        const miScalar s = 0.25f * step, weight = s * n;
        const miVector quarter = state->dir * s;
        add(result, c, weight);
        for (int i = 0; i < 3; ++i) {
            p = p + quarter;
            t += s;
            qv_InScatter(&c, march.segments, march.count, &p, state, t);
            add(result, c, weight);
        }
    } else {
        add(result, c, step, n);
    }
    *before = c;
    return t;
}

// The number of steps of a stretch: step_length each as nearly as whole steps allow, at least
// three. A stretch or a step without length has none.
int steps(const March& march, miScalar* step) {
    const miScalar ratio = march.span / march.params->step_length;
    if (!(march.span > 0) || !std::isfinite(ratio)) return 0;
    *step = ratio < 3 ? march.span / 3
                      : march.span / std::trunc(std::min<miScalar>(ratio, kMostSamples));
    if (!(*step > 0)) return 0;
    return static_cast<int>(march.span / *step + 0.01);
}

// Of fog over a length, base being a fog base of the block. What is no number, as fog without
// depth may give, counts as endless fog.
miScalar transparency(const Orvane_Volume_params* params, miScalar base, miScalar length) {
    const double fading = std::pow(static_cast<double>(base), -static_cast<double>(length));
    const double floor = std::isfinite(params->fog_floor) ? params->fog_floor : 0;
    const auto f = static_cast<miScalar>(floor + (1 - floor) * fading);
    return std::isfinite(f) ? f : static_cast<miScalar>(floor);
}

// Adds the lit air from the far end of the stretch to its near end, and the fog in between.
void add_stretch(const March& march, miColor* result) {
    const Orvane_Volume_params* params = march.params;
    miScalar step = 0;
    const int count = steps(march, &step);
    const bool fog = fog_is_on(params);
    const miScalar clear = fog ? transparency(params, march_fog_base(params), step) : 1;
    miColor before = {0, 0, 0, 0};
    for (int k = 1; k <= count; ++k) {
        // The last sample is on the border of the nearest volume, whatever rounding says.
        const auto at = static_cast<miScalar>(march.far - static_cast<double>(k) / count *
                                                              static_cast<double>(march.span));
        const miScalar t = add_step(march, result, std::max(at, march.nearest), step, &before);
        if (fog && t + march.travelled > params->fog_start)
            blend_rgb(result, params->fog_color, clear);
    }
}

// 0..1; what is no number becomes 0.
miScalar clamped(miScalar x) { return x > 0 ? std::min(x, 1.0f) : 0; }

void shade(March* march, miColor* result) {
    const Orvane_Volume_params* params = march->params;
    const miState* state = march->state;
    const bool fog = fog_is_on(params);
    if (fog) march->travelled = path_before(state);
    const miScalar end = state->dist == 0 ? FLT_MAX : static_cast<miScalar>(state->dist);
    find_segments(march, end);
    const miScalar base = fog ? fog_base(params) : 0;
    if (march->count == 0) {
        if (fog) qv_DepthFade(params, result, march->travelled, end, base);
        return;
    }

    set_up_noise(march);
    march->far = std::min(march->far, end);
    march->span = march->far - march->nearest;
    if (params->max_length < march->span) {
        march->span = params->max_length;
        march->far = march->nearest + params->max_length;
    }
    if (fog && end > march->far)
        qv_DepthFade(params, result, march->travelled + march->far, end - march->far, base);
    add_stretch(*march, result);
    *result = {clamped(result->r), clamped(result->g), clamped(result->b), clamped(result->a)};
    if (fog && march->nearest > 0)
        qv_DepthFade(params, result, march->travelled, march->nearest, base);
}

struct Texel {
    int i, j;
};

Texel texel_seen_from(const VolumeLight& light, const miVector& point, miVector to_light,
                      miState* state) {
    Texel at;
    if (light.kind == VOLUME_CONE) {
        qv_ConvertToPlanarMapProj(&light, &point, &at.i, &at.j);
    } else {
        miVector out = -to_light;
        mi_vector_to_world(state, &out, &out);
        convert_to_spheric_texel(&light, &out, &at.i, &at.j);
    }
    return {std::clamp(at.i, 0, light.map_resolution - 1),
            std::clamp(at.j, 0, light.map_resolution - 1)};
}

// What the light itself sends to a point in the shadow of its depth map. Uses up the state's point,
// normals, volume and pri.
bool sample_exactly(const VolumeLight& light, const miVector& point, const miVector& to_light,
                    miState* state, miColor* colour) {
    state->point = point;
    state->normal = state->normal_geom = to_light;
    state->volume = miNULLTAG;
    state->pri = nullptr;
    state->pri_index = 0;
    miColor sum = {0, 0, 0, 0}, one;
    int samples = 0;
    while (mi_sample_light(&one, nullptr, nullptr, state, light.instance, &samples)) {
        sum.r += one.r;
        sum.g += one.g;
        sum.b += one.b;
    }
    if (samples <= 0) return false;
    const auto n = static_cast<miScalar>(samples);
    *colour = {sum.r / n, sum.g / n, sum.b / n, 0};
    return true;
}

// How the light thins with the distance.
miScalar fade(const VolumeLight& light, miScalar distance) {
    if (light.kind == VOLUME_SPHERE)
        return static_cast<miScalar>(std::exp(-2.0 * distance / light.volume_decay)) *
               light.volume_density;
    if (light.inverse_square == miTRUE) {
        const miScalar ratio = distance / light.volume_decay;
        return light.volume_density / (ratio * ratio);
    }
    return static_cast<miScalar>(light.volume_density / (light.spread_per_length * distance));
}

miScalar attenuation(const VolumeLight& light, miScalar distance) {
    if (light.atten_end < distance) return 0;
    if (!(light.atten_start < distance)) return 1;
    return 1 - (distance - light.atten_start) / (light.atten_end - light.atten_start);
}

// Adds what one light scatters towards the ray at a point within its volume.
void scatter(miColor* out, const VolumeLight& light, const miVector& point, miState* state) {
    miVector to_light = light.origin - point;
    const miScalar distance = length(to_light);
    if (distance != 0)
        to_light = {to_light.x / distance, to_light.y / distance, to_light.z / distance};
    if (!(distance > light.depth_start)) return;
    const Texel at = texel_seen_from(light, point, to_light, state);

    miColor colour = light.inten[at.i][at.j];
    const bool shadowed = light.has_depth && !(distance < light.depth[at.i][at.j]);
    if (shadowed &&
        (light.exact_shadows != miTRUE || !sample_exactly(light, point, to_light, state, &colour)))
        return;

    miScalar weight = fade(light, distance);
    if (light.attenuation == miTRUE && !shadowed) weight *= attenuation(light, distance);
    const miScalar cosine = dot(state->dir, to_light);
    weight *= 1 + cosine * cosine;
    if (!std::isfinite(weight)) return;
    out->r += colour.r * weight;
    out->g += colour.g * weight;
    out->b += colour.b * weight;
}

}  // namespace

extern "C" {

// The light that all lights scatter towards the ray at a point of it, t from its origin. A light
// whose settings make its strength infinite there gives none.
void qv_InScatter(miColor* out, const RaySegment* segments, int count, const miVector* point,
                  miState* state, miScalar t) {
    *out = {0, 0, 0, 0};
    for (int i = 0; i < count; ++i)
        if (segments[i].near <= t && t <= segments[i].far)
            scatter(out, *segments[i].light, *point, state);
}

// Lays fog over colour along a stretch that begins at start on the path from the camera, base being
// a fog base of the block. Alpha stays. Fog whose end is its start is a wall.
void qv_DepthFade(const Orvane_Volume_params* params, miColor* colour, miScalar start,
                  miScalar length, miScalar base) {
    const miScalar end = start + length;
    if (!(params->fog_start < end)) return;
    if (start < params->fog_start) length = end - params->fog_start;
    blend_rgb(colour, params->fog_color, transparency(params, base, length));
}

miBoolean Orvane_Volume(miColor* result, miState* state, Orvane_Volume_params* params) {
    if (!state->options->trace) return miFALSE;
    if (state->type > miRAY_REFRACT) return miTRUE;
    void** user = mi_shader_info(state);
    if (!user || !*user) return miFALSE;  // no memory for the instance
    auto* shared = static_cast<VolumeShared*>(*user);
    if (catch_depth(shared, state)) return miTRUE;

    // A depth ray of another volume sees no colour; and two threads that build two volumes must
    // not wait for each other.
    if (is_building) return miTRUE;
    if (!make_ready(shared, state, params)) return miFALSE;

    March march = {};
    march.params = params;
    march.shared = shared;
    march.state = state;
    if (shared->light_count > 0)
        march.segments = static_cast<RaySegment*>(mi_mem_int_allocate(
            "Orvane_Volume", __LINE__, shared->light_count * static_cast<int>(sizeof(RaySegment))));
    shade(&march, result);
    mi_mem_int_release("Orvane_Volume", __LINE__, march.segments);
    return miTRUE;
}
}
