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
constexpr int kMostPasses = 1'000'000;  // of visibility sampling that does not settle
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
    miVector dir;
    miScalar dot_nl;
    int samples = 0;
    while (mi_sample_light(&one, &dir, &dot_nl, state, light, &samples)) {
        sum.r += one.r;
        sum.g += one.g;
        sum.b += one.b;
    }
    const auto n = static_cast<miScalar>(std::max(samples, 1));
    return {sum.r / n, sum.g / n, sum.b / n, 0};
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
    } while (params->flare_samples > 1 && !mi_par_aborted() &&
             (passes < params->flare_samples ||
              (passes < kMostPasses && std::abs(now - before) > 0.001f)));
    return average;
}

// Full strength up to the frame's edge, none at the margin; excess is how far a light lies beyond
// the edge.
miScalar edge_fade(miScalar excess, miScalar margin) {
    return excess > 0 && excess < margin ? 1 - excess / margin : 1;
}

// Where a light stands on the screen; false behind the camera or too far outside the frame.
bool project(const Orvane_Lens_params* params, const miVector& p, miState* state, FlareLight* light,
             miScalar fade[2]) {
    if (!(p.z < 0)) return false;
    const miCamera& camera = *state->camera;
    const miScalar zoom = camera.focal / camera.aperture;
    light->x = (-p.x / p.z) * zoom;
    light->y = (-p.y / p.z) * zoom;
    light->depth = -p.z;
    const miScalar ex = std::abs(light->x) - 0.5f;
    const miScalar ey = std::abs(light->y * camera.aspect) - 0.5f;
    if (ex > params->edge_margin || ey > params->edge_margin) return false;
    fade[0] = edge_fade(ex, params->edge_margin);
    fade[1] = edge_fade(ey, params->edge_margin);
    return true;
}

void read_preset(const Orvane_Lens_params* params, FlareLight* light) {
    light->primitive_count = 0;
    light->primitives = nullptr;
    if (light->params->flare_preset == 0) return;
    light->primitive_count = parsePrimitivePic(light->params->flare_preset, &light->primitives);
    if (light->primitive_count > 0) placePrimitives(light, params->preset_blend);
}

// Adds to a colour's channel what leaves it a number: settings as large as floats go, or presets
// with colours that are none, do not reach the picture.
void add_finite(miScalar* to, miScalar added) {
    if (std::isfinite(*to + added)) *to += added;
}

void add_weighted(miColor* sum, const miColor& drawn, const miColor& colour, miScalar weight) {
    add_finite(&sum->r, drawn.r * colour.r * weight);
    add_finite(&sum->g, drawn.g * colour.g * weight);
    add_finite(&sum->b, drawn.b * colour.b * weight);
}

void adjust(miColor* flare, const Orvane_Lens_params* params) {
    orv_hsv hsv = orv_rgb_to_hsv(*flare);
    hsv.s *= params->flare_saturation;
    hsv.v *= params->flare_value;
    const miColor adjusted = orv_hsv_to_rgb(hsv);
    *flare = {0, 0, 0, 0};
    add_weighted(flare, adjusted, {1, 1, 1, 1}, 1);
}

void blend(miColor* result, const miColor& flare, const Orvane_Lens_params* params) {
    const auto lay_over = [params](miScalar* below, miScalar added) {
        add_finite(below, params->screen_blend ? (1 - *below) * added : added);
    };
    lay_over(&result->r, flare.r);
    lay_over(&result->g, flare.g);
    lay_over(&result->b, flare.b);
    const miScalar cover = luminance(flare);
    const miScalar alpha = params->flare_only ? cover : 1 - (1 - cover) * (1 - result->a);
    if (std::isfinite(alpha)) result->a = alpha;
}

}  // namespace

extern "C" {

// Fills the record of light number index of the list; miFALSE when the light does not flare.
miBoolean setupFlareLight(const Orvane_Lens_params* params, int index, miTag light_tag,
                          FlareLight* light, miState* state) {
    miVector origin, direction;
    int type = 0;
    if (!qv_VerifyLight(state, light_tag, &origin, &direction, &type, &light->params))
        return miFALSE;
    Orvane_Light_params* of_light = light->params;
    mi_point_to_camera(state, &origin, &origin);

    // Other shaders that read the light's block see this, too.
    if (of_light->flare_sample_radius > 0) of_light->flare_samples = 1000;
    light->colour = visible_colour(of_light, light_tag, state);
    const miScalar brightness = luminance(light->colour);
    light->visible = std::isfinite(brightness) && brightness != 0;

    miScalar fade[2];
    if (!project(params, origin, state, light, fade)) return miFALSE;
    buildStarTables(light, index, state);
    if (of_light->glow_on == miTRUE)
        light->glow_radius =
            of_light->glow_size * state->camera->focal / light->depth / state->camera->aperture;
    read_preset(params, light);
    scale_rgb(&light->colour, fade[0]);
    scale_rgb(&light->colour, fade[1]);
    light->glow_colour = of_light->color;
    return miTRUE;
}

// Finds the lights that flare. Without memory for them the lens shows none.
void initLensInstance(const Orvane_Lens_params* params, LensInstance* instance, miState* state) {
    *instance = {0, nullptr};
    if (params->n_light > 0)
        instance->lights = static_cast<FlareLight*>(mi_mem_int_allocate(
            "Orvane_Lens", __LINE__, mi_mem_size(params->n_light, sizeof(FlareLight))));
    const miTag* light = params->light;
    light += params->i_light;
    for (int j = 0; instance->lights && j < params->n_light; ++j)
        if (setupFlareLight(params, j, light[j], &instance->lights[instance->count], state))
            ++instance->count;
}

void releaseLensInstance(miState* state) {
    void** user = mi_shader_info(state);
    if (!user || !*user) return;
    auto* instance = static_cast<LensInstance*>(*user);
    for (int i = 0; i < instance->count; ++i)
        mi_mem_int_release("Orvane_Lens", __LINE__, instance->lights[i].primitives);
    mi_mem_int_release("Orvane_Lens", __LINE__, instance->lights);
    mi_mem_int_release("Orvane_Lens", __LINE__, instance);
    *user = nullptr;
    mi_info("%s: Released instance at %p\n", kName, static_cast<void*>(instance));
}

// The glow is hidden by what the ray has hit in front of the light.
void drawGlows(miState* state, miColor* result, const LensInstance* instance, miScalar X,
               miScalar Y, miScalar dist) {
    for (int i = 0; i < instance->count; ++i) {
        const FlareLight& light = instance->lights[i];
        if (light.params->glow_on != miTRUE || !(dist > light.depth || dist == 0)) continue;
        miColor g;
        if (!drawCircle(state, &g, light.glow_colour, X, Y, light.x, light.y, light.glow_radius, 3,
                        light.params->glow_falloff, 1))
            continue;
        add_weighted(result, g, {1, 1, 1, 1}, light.params->glow_intensity);
    }
}

// All primitives and stars at a place on the screen.
void flareColor(miState* state, miColor* flare, const LensInstance* instance,
                const Orvane_Lens_params* params, miScalar X, miScalar Y, int thread) {
    *flare = {0, 0, 0, 0};
    for (int i = 0; i < instance->count; ++i) {
        const FlareLight& light = instance->lights[i];
        if (light.visible != 1) continue;
        if (light.primitive_count > 0) {
            miColor drawn;
            drawPrimitives(state, &drawn, &light, X, Y, thread);
            add_weighted(flare, drawn, light.colour, light.params->flare_intensity);
        }
        if (light.params->star_on == miTRUE) {
            miColor drawn = {0, 0, 0, 0};
            drawStar(&drawn, &light, X, Y);
            add_weighted(flare, drawn, light.colour, light.params->star_intensity);
        }
    }
    if (params->flare_saturation != 1 || params->flare_value != 1) adjust(flare, params);
}

void Orvane_Lens_init(miState* state, Orvane_Lens_params* params, miBoolean* inst_init_req) {
    if (!params) {
        initRayTable();
        *inst_init_req = miTRUE;
        return;
    }
    auto* instance = static_cast<LensInstance*>(
        mi_mem_int_allocate("Orvane_Lens", __LINE__, static_cast<int>(sizeof(LensInstance))));
    if (!instance) return;
    void** user = nullptr;
    if (!mi_query(miQ_FUNC_USERPTR, state, miNULLTAG, &user)) {
        mi_mem_int_release("Orvane_Lens", __LINE__, instance);
        return;
    }
    initLensInstance(params, instance, state);
    *user = instance;
    mi_info("%s: Initialized instance at %p\n", kName, static_cast<void*>(instance));
}

void Orvane_Lens_exit(miState* state, void* params) {
    if (params) releaseLensInstance(state);
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
    drawGlows(state, result, lens, X, Y, static_cast<miScalar>(state->dist));
    miColor flare;
    flareColor(state, &flare, lens, params, X, Y, state->thread);
    blend(result, flare, params);
    return miTRUE;
}
}
