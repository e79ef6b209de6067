// Orvane_Lens: adds the flares of the scene's lights to what the lens sees.
//
// Once per instance each light is sampled from the camera for how much of it is visible,
// projected on the screen and faded at the frame's edge, and its preset and star are prepared.
// Each eye ray is traced as usual; then the glows that nothing hides, the preset primitives and
// the star of every light at the ray's place on the screen are added or screened over it. A light
// that is covered while a frame is rendered keeps its flare: it is judged as a whole.
//
// Screen units: the frame is 1 wide and 1 / aspect high, centred on (0, 0).

#include <algorithm>
#include <cmath>

#include "flare/flare_light.h"
#include "flare/primitives.h"
#include "flare/star.h"
#include "frame/color.h"
#include "frame/host.h"
#include "volumetric/verify_light.h"

extern "C" {

struct Orvane_Lens_params {
    miInteger spare1;   // declared, never read
    miInteger spare2;   // declared, never read
    miInteger i_light;  // lights that flare: instances of Orvane_Light lights
    miInteger n_light;
    miTag light[1];
    miScalar preset_blend;      // between the two ends of a preset's blended values, 0..1
    miScalar flare_value;       // multiplies the flare's HSV value
    miScalar flare_saturation;  // multiplies the flare's HSV saturation
    miScalar edge_margin;       // how far outside the frame lights flare, in frame sizes
    miBoolean flare_only;       // the flare alone on black
    miBoolean screen_blend;     // screened over the picture instead of added
};
static_assert(sizeof(Orvane_Lens_params) == 11 * 4);

int Orvane_Lens_version() { return 1; }
}

namespace {

constexpr const char* kName = "Orvane Lens";
constexpr int kThreads = 96;
constexpr int kMostPasses = 1'000'000;  // of sampling a light's visibility, settled or not
constexpr int kMostDraws = 100;         // for one point on the lens

struct LensInstance {
    miInteger count;     // lights in use
    FlareLight* lights;  // room for all lights of the list
};

miScalar luminance(const miColor& c) { return 0.299f * c.r + 0.587f * c.g + 0.114f * c.b; }

// A point of the disc on the lens over which visibility is sampled; its centre without a radius.
miVector on_lens(miState* state, miScalar radius) {
    if (!(radius > 0)) return {0, 0, 0};
    for (int i = 0; i < kMostDraws; ++i) {
        double s[2] = {0.5, 0.5};
        mi_sample(s, nullptr, state, 2, nullptr);
        const miScalar a = (2 * static_cast<miScalar>(s[0]) - 1) * radius;
        const miScalar b = (2 * static_cast<miScalar>(s[1]) - 1) * radius;
        if (a * a + b * b <= radius * radius) return {a, b, 0};
    }
    return {0, 0, 0};
}

// What a light sends to the state's point, averaged over its samples.
miColor sampled(miState* state, miTag light) {
    miColor sum = {0, 0, 0, 0}, one;
    int samples = 0;
    while (mi_sample_light(&one, nullptr, nullptr, state, light, &samples)) {
        sum.r += one.r;
        sum.g += one.g;
        sum.b += one.b;
    }
    if (samples > 1) scale_rgb(&sum, 1 / static_cast<miScalar>(samples));
    return sum;
}

// The mean light that reaches the lens, over passes until they settle.
miColor visible_colour(const Orvane_Light_params* params, miTag light, const miState* from) {
    miState state = *from;
    state.pri = nullptr;
    state.pri_index = 0;
    miVector axis = {0, 0, -1};
    mi_vector_from_camera(&state, &state.normal, &axis);
    state.normal_geom = state.normal;

    miColor total = {0, 0, 0, 0}, average = total;
    miScalar before = 0, now = 0;
    int passes = 0;
    do {
        before = now;
        miVector place = on_lens(&state, params->flare_sample_radius);
        mi_point_from_camera(&state, &state.point, &place);
        const miColor one = sampled(&state, light);
        total = {total.r + one.r, total.g + one.g, total.b + one.b, 0};
        ++passes;
        const auto n = static_cast<miScalar>(passes);
        average = {total.r / n, total.g / n, total.b / n, 0};
        now = luminance(average);
    } while (params->flare_samples > 1 && passes < kMostPasses && !mi_par_aborted() &&
             (passes < params->flare_samples || std::abs(now - before) > 0.001f));
    return average;
}

// Full strength up to the frame's edge, none at the margin; excess is how far a light lies beyond
// the edge.
miScalar edge_fade(miScalar excess, miScalar margin) {
    return excess > 0 && excess < margin ? 1 - excess / margin : 1;
}

// Where a light stands on the screen; false behind the camera or too far outside the frame.
bool project(const Orvane_Lens_params* params, const miVector& p, miState* state, FlareLight* light,
             miScalar* fade) {
    if (!(p.z < 0)) return false;
    const miCamera& camera = *state->camera;
    const miScalar zoom = camera.focal / camera.aperture;
    light->x = (-p.x / p.z) * zoom;
    light->y = (-p.y / p.z) * zoom;
    light->depth = -p.z;
    const miScalar ex = std::abs(light->x) - 0.5f;
    const miScalar ey = std::abs(light->y * camera.aspect) - 0.5f;
    if (ex > params->edge_margin || ey > params->edge_margin) return false;
    *fade = edge_fade(ex, params->edge_margin) * edge_fade(ey, params->edge_margin);
    return true;
}

void read_preset(const Orvane_Lens_params* params, FlareLight* light) {
    light->primitive_count = 0;
    light->primitives = nullptr;
    if (light->params->flare_preset == 0) return;
    light->primitive_count = parsePrimitivePic(light->params->flare_preset, &light->primitives);
    if (light->primitive_count > 0) placePrimitives(light, params->preset_blend);
}

// Fills the record of light number index of the list; false when the light does not flare.
bool set_up_light(const Orvane_Lens_params* params, int index, miTag instance, FlareLight* light,
                  miState* state) {
    miVector origin, direction;
    int type = 0;
    if (!qv_VerifyLight(state, instance, &origin, &direction, &type, &light->params)) return false;
    Orvane_Light_params* of_light = light->params;
    mi_point_to_camera(state, &origin, &origin);

    // Other shaders that read the light's block see this, too.
    if (of_light->flare_sample_radius > 0) of_light->flare_samples = 1000;
    light->colour = visible_colour(of_light, instance, state);
    const miScalar brightness = luminance(light->colour);
    light->visible = std::isfinite(brightness) && brightness != 0;

    miScalar fade = 1;
    if (!project(params, origin, state, light, &fade)) return false;
    buildStarTables(light, index, state);
    if (of_light->glow_on == miTRUE)
        light->glow_radius =
            of_light->glow_size * state->camera->focal / light->depth / state->camera->aperture;
    read_preset(params, light);
    scale_rgb(&light->colour, fade);
    light->glow_colour = of_light->color;
    return true;
}

void set_up_lens(const Orvane_Lens_params* params, LensInstance* lens, miState* state) {
    constexpr int kMost = 0x7fffffff / static_cast<int>(sizeof(FlareLight));
    if (params->n_light > 0 && params->n_light <= kMost)
        lens->lights = static_cast<FlareLight*>(mi_mem_int_allocate(
            "Orvane_Lens", __LINE__, params->n_light * static_cast<int>(sizeof(FlareLight))));
    const miTag* light = params->light;
    light += params->i_light;
    for (int j = 0; lens->lights && j < params->n_light; ++j)
        if (set_up_light(params, j, light[j], &lens->lights[lens->count], state)) ++lens->count;
}

// The glow is hidden by what the ray has hit in front of the light.
void add_glows(miState* state, miColor* result, const LensInstance* lens, miScalar X, miScalar Y,
               miScalar dist) {
    for (int i = 0; i < lens->count; ++i) {
        const FlareLight& light = lens->lights[i];
        if (light.params->glow_on != miTRUE || !(dist > light.depth || dist == 0)) continue;
        miColor g;
        if (!drawCircle(state, &g, light.glow_colour, X, Y, light.x, light.y, light.glow_radius, 3,
                        light.params->glow_falloff, 1))
            continue;
        scale_rgb(&g, light.params->glow_intensity);
        *result = {result->r + g.r, result->g + g.g, result->b + g.b, result->a};
    }
}

void add_weighted(miColor* sum, const miColor& drawn, const miColor& colour, miScalar weight) {
    sum->r += drawn.r * colour.r * weight;
    sum->g += drawn.g * colour.g * weight;
    sum->b += drawn.b * colour.b * weight;
}

// All primitives and stars at a place on the screen.
miColor flare_at(miState* state, const Orvane_Lens_params* params, const LensInstance* lens,
                 miScalar X, miScalar Y) {
    miColor flare = {0, 0, 0, 0};
    for (int i = 0; i < lens->count; ++i) {
        const FlareLight& light = lens->lights[i];
        if (light.visible != 1) continue;
        if (light.primitive_count > 0) {
            miColor drawn;
            drawPrimitives(state, &drawn, &light, X, Y, state->thread);
            add_weighted(&flare, drawn, light.colour, light.params->flare_intensity);
        }
        if (light.params->star_on == miTRUE) {
            miColor drawn = {0, 0, 0, 0};
            drawStar(&drawn, &light, X, Y);
            add_weighted(&flare, drawn, light.colour, light.params->star_intensity);
        }
    }
    if (params->flare_saturation != 1 || params->flare_value != 1) {
        orv_hsv hsv = orv_rgb_to_hsv(flare);
        hsv.s *= params->flare_saturation;
        hsv.v *= params->flare_value;
        flare = orv_hsv_to_rgb(hsv);
    }
    return flare;
}

void blend(miColor* result, const miColor& flare, const Orvane_Lens_params* params) {
    const auto over = [params](miScalar below, miScalar added) {
        return params->screen_blend ? below + (1 - below) * added : below + added;
    };
    result->r = over(result->r, flare.r);
    result->g = over(result->g, flare.g);
    result->b = over(result->b, flare.b);
    const miScalar cover = luminance(flare);
    result->a = params->flare_only ? cover : 1 - (1 - cover) * (1 - result->a);
}

}  // namespace

extern "C" {

void Orvane_Lens_init(miState* state, Orvane_Lens_params* params, miBoolean* inst_init_req) {
    if (!params) {
        initRayTable();
        *inst_init_req = miTRUE;
        return;
    }
    void** user = nullptr;
    auto* lens = static_cast<LensInstance*>(
        mi_mem_int_allocate("Orvane_Lens", __LINE__, static_cast<int>(sizeof(LensInstance))));
    if (!lens || !mi_query(miQ_FUNC_USERPTR, state, 0, &user)) {
        mi_mem_int_release("Orvane_Lens", __LINE__, lens);
        return;
    }
    set_up_lens(params, lens, state);
    *user = lens;
    mi_info("%s: Initialized instance at %p\n", kName, static_cast<void*>(lens));
}

void Orvane_Lens_exit(miState* state, Orvane_Lens_params* params) {
    void** user = params ? mi_shader_info(state) : nullptr;
    if (!user || !*user) return;
    auto* lens = static_cast<LensInstance*>(*user);
    for (int i = 0; i < lens->count; ++i)
        mi_mem_int_release("Orvane_Lens", __LINE__, lens->lights[i].primitives);
    mi_mem_int_release("Orvane_Lens", __LINE__, lens->lights);
    mi_mem_int_release("Orvane_Lens", __LINE__, lens);
    *user = nullptr;
    mi_info("%s: Released instance at %p\n", kName, static_cast<void*>(lens));
}

// Without an instance, when there was no memory for it, it is a plain lens.
miBoolean Orvane_Lens(miColor* result, miState* state, Orvane_Lens_params* params) {
    void** user = nullptr;
    const LensInstance* lens = nullptr;
    if (mi_query(miQ_FUNC_USERPTR, state, 0, &user)) lens = static_cast<const LensInstance*>(*user);
    if (state->thread < 0 || state->thread >= kThreads) return miFALSE;
    if (params->flare_only)
        *result = {0, 0, 0, 0};
    else
        mi_trace_eye(result, state, &state->org, &state->dir);
    if (!lens || lens->count == 0) return miTRUE;

    miVector d;
    mi_vector_to_camera(state, &d, &state->dir);
    const miScalar zoom = state->camera->focal / state->camera->aperture;
    const miScalar X = (-d.x / d.z) * zoom, Y = (-d.y / d.z) * zoom;
    add_glows(state, result, lens, X, Y, static_cast<miScalar>(state->dist));
    blend(result, flare_at(state, params, lens, X, Y), params);
    return miTRUE;
}
}
