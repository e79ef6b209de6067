// Building the light set of a volume, once per instance.

#include "volumetric/light_set.h"

#include <cmath>

#include "volumetric/map_projection.h"
#include "volumetric/maps.h"

namespace {

constexpr double kFaintest = 0.03;  // transparency of the fog at its end

void* allocate(int count, std::size_t size) {
    if (count < 1) return nullptr;
    return mi_mem_int_allocate("Orvane_Volume", __LINE__, mi_mem_size(count, size));
}

void release(void* p) { mi_mem_int_release("Orvane_Volume", __LINE__, p); }

template <class Texel>
void release_rows(Texel** rows, int n) {
    for (int i = 0; rows && i < n; ++i) release(rows[i]);
    release(rows);
}

// N rows of N texels; NULL when there is no memory.
template <class Texel>
Texel** allocate_rows(int n) {
    auto** rows = static_cast<Texel**>(allocate(n, sizeof(Texel*)));
    for (int i = 0; rows && i < n; ++i) {
        rows[i] = static_cast<Texel*>(allocate(n, sizeof(Texel)));
        if (rows[i]) continue;
        release_rows(rows, i);
        return nullptr;
    }
    return rows;
}

// base for which base^-length is k at the end of the fog.
miScalar base_for(const Orvane_Volume_params* params, double k) {
    return static_cast<miScalar>(
        std::exp(std::log(k) / static_cast<double>(params->fog_start - params->fog_end)));
}

// Room for one more record.
VolumeLight* grow(VolumeShared* shared) {
    auto* lights = static_cast<VolumeLight*>(
        mi_mem_int_reallocate("Orvane_Volume", __LINE__, shared->lights,
                              mi_mem_size(shared->light_count + 1, sizeof(VolumeLight))));
    if (!lights) return nullptr;
    shared->lights = lights;
    lights[shared->light_count] = {};
    return &lights[shared->light_count];
}

void copy_settings(VolumeLight* light, const Orvane_Light_params* from, const miState* state) {
    light->color = from->color;
    scale_rgb(&light->color, from->intensity);
    light->attenuation = from->attenuation;
    light->atten_start = from->atten_start;
    light->atten_end = from->atten_end;
    light->has_depth = (from->shadow == miTRUE || from->volume_shadows == miTRUE) &&
                       state->options->shadow == miSHADOW_ON;
    light->volume_density = from->volume_density;
    light->volume_noise = from->volume_noise;
    light->noise_octaves = from->noise_octaves;
    light->noise_frequency = from->noise_frequency;
    light->noise_amount = from->noise_amount;
    light->noise_speed = from->noise_speed;
    light->volume_decay = from->volume_decay;
    light->depth_start = from->depth_start;
    light->volume_shadows = from->volume_shadows;
    light->map_resolution = from->map_resolution;
    light->slide_scale = from->slide_scale;
    light->slide_rotation = static_cast<miScalar>(from->slide_rotation * 0.017453292519943295);
    light->slide_repeat = from->slide_repeat;
    light->exact_shadows = from->exact_shadows;
    light->inverse_square = from->inverse_square;
    light->slide = from->slide;
}

bool query_spread(miState* state, miTag instance, miScalar* spread) {
    miTag item = miNULLTAG;
    return mi_query(miQ_INST_ITEM, state, instance, &item) &&
           mi_query(miQ_LIGHT_SPREAD, state, item, spread);
}

void set_cone(VolumeLight* light, miVector direction, miScalar spread, miScalar falloff) {
    light->kind = VOLUME_CONE;
    light->direction = normalized(direction);
    light->outer_angle = static_cast<miScalar>(arc_cosine(spread));
    light->inner_angle = static_cast<miScalar>(light->outer_angle - falloff * 0.017453292);
    light->half_res = static_cast<miScalar>(light->map_resolution) * 0.5f;
    light->extent = light->half_res / std::tan(light->outer_angle);
    const auto tangent = static_cast<miScalar>(std::tan(0.5 * light->outer_angle));
    light->spread_per_length = tangent * 100.0;
}

void set_sphere(VolumeLight* light) {
    light->kind = VOLUME_SPHERE;
    light->half_res = static_cast<miScalar>(light->map_resolution) * 0.5f;
    light->extent = 3.0f * light->volume_decay;
}

// Whether there is a map: a cone needs some width and less than half of all directions.
bool allocate_maps(VolumeLight* light) {
    const miScalar angle = light->outer_angle;
    if (!std::isfinite(light->extent) ||
        (light->kind == VOLUME_CONE && !(angle > 0 && angle < 1.5707963f)))
        return false;
    light->depth = allocate_rows<miScalar>(light->map_resolution);
    light->inten = allocate_rows<miColor>(light->map_resolution);
    return light->depth && light->inten;
}

void build_maps(VolumeShared* shared, VolumeLight* light, miState* state) {
    if (light->kind == VOLUME_CONE) {
        qv_SetupPlanarDepthMap(light, state);
        qv_BuildPlanarIntenMap(light, state);
    } else {
        qv_BuildSphericIntenMap(light, state);
    }
    if (light->has_depth) qv_BuildDepthMap(shared, light, state);
}

// Adds a light that has a beam. false ends the set-up: a record that is not complete by then is
// not counted.
bool add_light(VolumeShared* shared, miState* state, miTag instance) {
    miVector origin, direction;
    int type = 0;
    Orvane_Light_params* block = nullptr;
    if (!qv_VerifyLight(state, instance, &origin, &direction, &type, &block) ||
        (type != miLIGHT_POINT && type != miLIGHT_SPOT) || !(block->volume_density > 0))
        return true;

    VolumeLight* light = grow(shared);
    if (!light) return false;
    light->instance = instance;
    light->origin = origin;
    copy_settings(light, block, state);
    if (type == miLIGHT_SPOT) {
        miScalar spread = 0;
        if (!query_spread(state, instance, &spread)) return false;
        set_cone(light, direction, spread, block->falloff);
    } else {
        set_sphere(light);
    }

    if (mi_par_aborted()) return false;
    const bool has_maps = allocate_maps(light);
    if (has_maps) build_maps(shared, light, state);
    const bool aborted = mi_par_aborted();
    if (has_maps && !aborted)
        ++shared->light_count;
    else
        release_maps(light);
    return !aborted;
}

}  // namespace

miScalar fog_base(const Orvane_Volume_params* params) { return base_for(params, kFaintest); }

// A floor below 0 counts as 0.
miScalar march_fog_base(const Orvane_Volume_params* params) {
    return base_for(params, params->fog_floor > 0 ? params->fog_floor : kFaintest);
}

void release_maps(VolumeLight* light) {
    release_rows(light->depth, light->map_resolution);
    release_rows(light->inten, light->map_resolution);
    light->depth = nullptr;
    light->inten = nullptr;
}

extern "C" {

void qv_SetupLights(VolumeShared* shared, miState* state, const Orvane_Volume_params* params) {
    if (params->fog == miTRUE) {
        shared->fog_base = fog_base(params);
        shared->march_fog_base = march_fog_base(params);
    }
    shared->lights = nullptr;
    shared->light_count = 0;
    const miTag* light = params->light;
    light += params->i_light;
    for (int k = 0; k < params->n_light; ++k)
        if (light[k] != miNULLTAG && !add_light(shared, state, light[k])) return;
}
}
