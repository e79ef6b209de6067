// Frames, intensity maps and depth maps of the lights in a volume.

#include "volumetric/maps.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "volumetric/map_projection.h"
#include "volumetric/slide.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kTurn = 6.283185307179586;
constexpr int kMostOctaves = 128;  // the frequency of the next is infinite: it adds nothing
constexpr double kBias = 0.05;     // scene units by which depths are short, against self-shadowing

miVector transformed(miVector p, const miMatrix m) {
    return {p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12],
            p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13],
            p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14]};
}

// The largest whole number not above x. Numbers beyond a billion, which are on no map, stop there.
int floor_to_int(miScalar x) {
    if (!(x > -1e9f)) return -1000000000;
    if (x > 1e9f) return 1000000000;
    const int i = static_cast<int>(x);
    return i - (x < static_cast<miScalar>(i));
}

// Angle of (x, y) in turns, -0.5..0.5, to 1.7e-6: the polynomial of M. Abramowitz and I. Stegun,
// "Handbook of Mathematical Functions", 4.4.47. Not a number for (0, 0).
miScalar rough_turns(miScalar y, miScalar x) {
    const miScalar ax = std::abs(x), ay = std::abs(y);
    const miScalar a = std::min(ax, ay) / std::max(ax, ay), s = a * a;
    const miScalar series =
        (((0.0208351f * s - 0.0851330f) * s + 0.1801410f) * s - 0.3302995f) * s + 0.9998660f;
    miScalar turns = a * series * 0.159154943f;
    if (ay > ax) turns = 0.25f - turns;
    if (x < 0) turns = 0.5f - turns;
    return y < 0 ? -turns : turns;
}

// Truncates x, which is not negative; false when an error of x as large as margin may change that.
bool sure_floor(miScalar x, miScalar margin, int* i) {
    *i = static_cast<int>(x);
    const miScalar beyond = x - static_cast<miScalar>(*i);
    return beyond > margin && beyond < 1 - margin;
}

void apply_noise(miColor* texel, const VolumeLight* light, miVector place) {
    scale_rgb(texel, 1 - qv_FractalNoise(&place, light->noise_octaves, 1) * light->noise_amount);
}

// 1 inside the inner circle of a planar map, falling to 0 at the outer one.
miScalar soft_edge(miScalar rho, miScalar inner, miScalar outer) {
    if (rho > outer) return 0;
    return rho > inner ? 1 - (rho - inner) / (outer - inner) : 1;
}

miColor planar_texel(const VolumeLight* light, miState* state, int i, int j, miScalar inner) {
    miColor texel = light->color;
    const auto n = static_cast<double>(light->map_resolution);
    if (light->slide)
        filter_by_turned_slide(&texel, state, light->slide,
                               static_cast<miScalar>((i + 0.5) / n - 0.5),
                               static_cast<miScalar>((j + 0.5) / n - 0.5), light->slide_rotation,
                               light->slide_scale, light->slide_repeat);

    // Corners of texels, not their centres, measure the edge.
    const miScalar c = light->half_res;
    const miScalar x = c - static_cast<miScalar>(i), y = c - static_cast<miScalar>(j);
    const miScalar rho = std::sqrt(x * x + y * y);
    scale_rgb(&texel, soft_edge(rho, inner, c));

    if (light->volume_noise == miTRUE && rho <= c) {
        const double cells = light->noise_frequency;
        apply_noise(&texel, light,
                    {static_cast<miScalar>(i * cells / 10.0),
                     light->noise_speed * state->camera->frame_time,
                     static_cast<miScalar>(j * cells / 10.0)});
    }
    return texel;
}

miColor spheric_texel(const VolumeLight* light, miState* state, int i, int j) {
    miColor texel = light->color;
    const auto n = static_cast<double>(light->map_resolution);
    if (light->slide)
        filter_by_slide(&texel, state, light->slide,
                        static_cast<miScalar>((i + 0.5) / n - light->slide_rotation / kTurn),
                        static_cast<miScalar>((j + 0.5) / n));
    if (light->volume_noise == miTRUE) {
        miVector dir;
        qv_ConvertFromSphericMapProj(light, i, j, &dir);
        apply_noise(&texel, light, dir * (light->noise_frequency * 5));
    }
    return texel;
}

// Calls work(i, j) for the texels of a map, row by row. A row may take long: whether the render was
// aborted is asked within it, too.
template <typename Work>
void for_each_texel(const VolumeLight* light, Work work) {
    for (int i = 0; i < light->map_resolution; ++i)
        for (int j = 0; j < light->map_resolution; ++j) {
            if (j % 16 == 0 && mi_par_aborted()) return;
            work(i, j);
        }
}

// Unit direction from the light to the centre of a texel.
miVector texel_direction(const VolumeLight* light, int i, int j) {
    miVector dir;
    if (light->kind == VOLUME_SPHERE) {
        qv_ConvertFromSphericMapProj(light, i, j, &dir);
        return dir;
    }
    const miVector centre = {static_cast<miScalar>(i) + 0.5f, 0, static_cast<miScalar>(j) + 0.5f};
    return normalized(transformed(centre, light->from_map) - light->origin);
}

void trace_depth(const VolumeLight* light, miState* state, int i, int j) {
    miVector dir = texel_direction(light, i, j);
    light->depth[i][j] = FLT_MAX;
    state->point = light->origin + dir * light->depth_start;
    state->normal = state->normal_geom = dir;
    state->pri = nullptr;
    state->pri_index = 0;
    miColor unused;
    mi_trace_reflection(&unused, state, &dir);
}

}  // namespace

// A ray that goes on behind a transparent surface comes here before the ray that led to it, so that
// the first surface stays in the map.
miBoolean catch_depth(VolumeShared* shared, const miState* state) {
    if (shared->depth_pass != 1 || shared->depth_thread != state->thread) return miFALSE;
    const VolumeLight* light = shared->depth_light;
    light->depth[shared->depth_row][shared->depth_col] =
        state->dist == 0
            ? FLT_MAX
            : static_cast<miScalar>(state->dist - kBias + static_cast<double>(light->depth_start));
    return miTRUE;
}

// Exact angles take three times as long as all else that a sample of a point light needs, and are
// seldom called for: rough ones tell the texel unless they end near its border.
void convert_to_spheric_texel(const VolumeLight* light, miVector* dir, int* i, int* j) {
    constexpr miScalar kError = 4e-6f;
    const auto n = static_cast<miScalar>(light->map_resolution);
    const miScalar sine = std::sqrt(std::max(0.0f, (1 - dir->y) * (1 + dir->y)));
    miScalar u = 1 - rough_turns(dir->x, dir->z), v = 1 - 2 * rough_turns(sine, dir->y);
    if (u > 1) u -= 1;
    const bool on_map = u > kError && u < 1 - kError && v >= 0 && v <= 1;
    if (on_map && sure_floor(u * n + 0.5f, kError * n, i) &&
        sure_floor(v * n + 0.5f, kError * n, j))
        return;
    qv_ConvertToSphericMapProj(dir, &u, &v);
    *i = floor_to_int(u * n + 0.5f);
    *j = floor_to_int(v * n + 0.5f);
}

extern "C" {

void qv_SetupPlanarDepthMap(VolumeLight* light, miState* state) {
    MapFrame frame;
    set_up_map_frame(state, &frame, &light->origin, &light->direction, light->extent);
    const miScalar half = light->half_res;
    rotation_to(frame, light->to_map);

    // From the map: its middle to 0, the axes of the frame, its place.
    miMatrix shift;
    mi_matrix_invert(light->from_map, light->to_map);
    light->from_map[12] = frame.centre.x;
    light->from_map[13] = frame.centre.y;
    light->from_map[14] = frame.centre.z;
    translation(shift, {-half, 0, -half});
    mi_matrix_prod(light->from_map, shift, light->from_map);

    // And back.
    translation(shift, -frame.centre);
    mi_matrix_prod(light->to_map, shift, light->to_map);
    light->to_map[12] += half;
    light->to_map[14] += half;
    light->light_in_map = transformed(light->origin, light->to_map);
}

void qv_BuildPlanarIntenMap(VolumeLight* light, miState* state) {
    const miScalar inner = light->extent * std::tan(light->inner_angle);
    for_each_texel(
        light, [&](int i, int j) { light->inten[i][j] = planar_texel(light, state, i, j, inner); });
}

void qv_BuildSphericIntenMap(VolumeLight* light, miState* state) {
    for_each_texel(light,
                   [&](int i, int j) { light->inten[i][j] = spheric_texel(light, state, i, j); });
}

void qv_BuildDepthMap(VolumeShared* shared, VolumeLight* light, miState* state) {
    shared->depth_light = light;
    shared->depth_thread = state->thread;
    shared->depth_pass = 1;

    // One level is left, for the depth ray itself: what it hits sees no mirror images.
    const miInteger reflection_level = state->reflection_level;
    const miInteger refraction_level = state->refraction_level;
    state->reflection_level = state->options->reflection_depth - 1;
    state->refraction_level = state->options->refraction_depth - 1;
    for_each_texel(light, [&](int i, int j) {
        shared->depth_row = i;
        shared->depth_col = j;
        trace_depth(light, state, i, j);
    });

    shared->depth_thread = -1;
    shared->depth_pass = 0;
    state->reflection_level = reflection_level;
    state->refraction_level = refraction_level;
}

void qv_ConvertToPlanarMapProj(const VolumeLight* light, const miVector* point, int* i, int* j) {
    *i = *j = -1;
    const miVector q = transformed(*point, light->to_map), d = q - light->light_in_map;
    if (!(d.y < 0)) return;
    const miScalar t = -q.y / d.y;
    *i = floor_to_int(q.x + t * d.x);
    *j = floor_to_int(q.z + t * d.z);
}

void qv_ConvertFromSphericMapProj(const VolumeLight* light, int i, int j, miVector* dir) {
    const double theta = kPi / light->map_resolution * (j + 0.5);
    const double phi = kTurn / light->map_resolution * (i + 0.5);
    const auto sin_theta = static_cast<miScalar>(std::sin(theta));
    const auto cos_theta = static_cast<miScalar>(std::cos(theta));
    const auto sin_phi = static_cast<miScalar>(std::sin(phi));
    const auto cos_phi = static_cast<miScalar>(std::cos(phi));
    *dir = normalized({-sin_theta * sin_phi, -cos_theta, sin_theta * cos_phi});
}

miScalar qv_FractalNoise(const miVector* point, int octaves, miScalar amplitude) {
    miVector q = *point;
    double sum = 0;
    miScalar frequency = 1;
    for (int octave = 0; octave < std::min(octaves, kMostOctaves); ++octave) {
        q = q * frequency;
        sum += (0.5 - static_cast<double>(mi_noise_3d(&q))) * static_cast<double>(amplitude) /
               static_cast<double>(frequency);
        frequency *= 2;
    }
    return static_cast<miScalar>(sum + 0.5);
}
}
