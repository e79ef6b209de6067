// zel_toon_lens: draws the lines of a cartoon where neighbouring eye rays see different things.
//
// For each eye sample nine rays, a third of the line's width apart, see which object, which
// normal, which colour and which shading zone there is. In this order it draws
//
//     an outline   where a ray sees nothing, or another object than the centre
//     a crease     where the normals of one object bend
//     then lines   between transparent and opaque, between shading zones, between colours
//
// in the colour that the nearest surface of the nine has for that kind of line. Its materials are
// zel_toon_mat and its kin; what they do not cover has no lines. Channels of a line that would not
// be finite are 0.

#include <algorithm>
#include <cmath>

#include "frame/color.h"
#include "materials/finite.h"
#include "toon/contour.h"
#include "toon/lens_count.h"
#include "toon/toon_lines.h"
#include "toon/toon_material.h"

extern "C" {

struct zel_toon_lens_params {
    miBoolean use_map;           // weight the lines by a texture
    miBoolean map_alpha;         // its alpha; otherwise the mean of its r, g, b
    miBoolean blank_unweighted;  // black instead of the plain picture where the weight is 0
    miTag map;                   // colour texture, spread over the picture
    miScalar width;              // pixels: width of the lines
    miScalar width_facing;       // change of the width with the facing of the surface
    miScalar width_noise;        // and by noise
    miScalar width_noise_freq;   // cells across the picture
    miScalar hue_noise;          // turns: jitter of the lines' colours
    miScalar sat_noise;
    miScalar value_noise;
    miScalar color_noise_freq;     // cells across the picture
    miScalar noise_speed;          // cells of both noises per unit of frame time
    miBoolean lines_only;          // lines on black
    miScalar group_depth;          // scene units: grouped objects nearer than this have no outline
    miScalar color_threshold;      // least difference of colour that makes a line
    miScalar normal_threshold;     // least bend of the normals that makes a crease
    miBoolean transparency_lines;  // lines between transparent and opaque
    miScalar fade_near, fade_far;  // scene units: depths between which lines fade
    miScalar fade_color;           // 0..1: fade of crease colours towards the picture
    miScalar fade_width;           // 0..1: fade of the width
};
static_assert(sizeof(zel_toon_lens_params) == 22 * 4);

miScalar zel_toon_noise(miState* state, miScalar freq, miScalar speed);
miScalar zel_toon_depth_ramp(miScalar near, miScalar far, miScalar scale, miScalar d);
void zel_toon_jitter_color(miColor* color, miState* state, const zel_toon_lens_params* params);
miBoolean zel_toon_lens_contour(miColor* result, miState* state, void* lens, zel_ct_store* store);
void zel_toon_lens_dir(miState* state, void* lens, zel_ct_store* store);

int zel_toon_lens_version() { return 4; }
}

namespace {

constexpr int kThreads = 96;

zel_ct_store* stores = nullptr;  // one a render thread; from the shader's init to its exit

void release_stores() {
    for (int i = 0; stores && i < kThreads; ++i) zel_ct_exit(&stores[i]);
    mi_mem_int_release("toon_len", __LINE__, stores);
    stores = nullptr;
}

void init_stores() {
    stores = static_cast<zel_ct_store*>(
        mi_mem_int_allocate("toon_len", __LINE__, kThreads * static_cast<int>(sizeof *stores)));
    if (!stores) mi_fatal("toon_lens: unable to allocate shader memory\n");
    for (int i = 0; i < kThreads; ++i)
        if (!zel_ct_init(&stores[i], 1, sizeof(zel_toon_record), zel_toon_lens_contour,
                         zel_toon_lens_dir)) {
            release_stores();
            mi_fatal("toon_lens: unable to initialize\n");
        }
    mi_progress("toon_lens: initialized %d thread(s)\n", kThreads);
}

void init_instance(miState* state) {
    mi_lock(state->global_lock);
    const int count = register_lens(state, "toon_len");
    if (count > 1) mi_warning("toon_lens: only one instance allowed, others disabled\n");
    mi_unlock(state->global_lock);
    if (count < 0) mi_fatal("toon_lens: unable to allocate shader memory\n");
}

// How much of its lines a sample shall have.
miScalar weight_at(miState* state, const zel_toon_lens_params* params) {
    if (!params->use_map || params->map == miNULLTAG) return 1;
    const miCamera& camera = *state->camera;
    miVector place = {state->raster_x / static_cast<miScalar>(camera.x_resolution),
                      state->raster_y / static_cast<miScalar>(camera.y_resolution), 0};
    miColor texel = {0, 0, 0, 0};
    mi_lookup_color_texture(&texel, state, params->map, &place);
    return params->map_alpha ? texel.a : (texel.r + texel.g + texel.b) / 3;
}

// Width of the line at a sample, in pixels.
miScalar line_width(miState* state, const zel_toon_lens_params* params, const zel_ct_store* store) {
    miScalar change = 0;
    if (params->width_facing != 0 && store->flags)
        change = -2 * params->width_facing * (0.5f + store->dot_nd[kCentre]);
    if (params->width_noise != 0)
        change += params->width_noise *
                  zel_toon_noise(state, params->width_noise_freq, params->noise_speed);
    miScalar width = (change + 1) * params->width;
    if (!store->flags) return width;
    width *= records_of(store)[kCentre].width;
    if (params->fade_width != 0)
        width *= 1 - zel_toon_depth_ramp(params->fade_near, params->fade_far, params->fade_width,
                                         static_cast<miScalar>(store->depth[kCentre]));
    return width;
}

// The colour of the line at a sample, by what the neighbourhood is and what the nearest surface
// allows; NULL when there is none.
const miColor* line_color(const zel_toon_lens_params* params, const zel_ct_store* store,
                          const zel_toon_record& nearest, int kind) {
    if (kind == zel_toon_EMPTY && nearest.outline_on) return &nearest.outline_color;
    if (kind == zel_toon_DIFFERENT && nearest.outline_on &&
        zel_toon_group_test(store, params->group_depth))
        return &nearest.outline_color;
    if (kind == zel_toon_SAME && nearest.crease_on &&
        zel_toon_normal_contrast(store->normal, params->normal_threshold))
        return &nearest.crease_color;

    const zel_toon_record* records = records_of(store);
    if (params->transparency_lines && zel_toon_transp_contrast(records))
        return &nearest.crease_color;
    if (nearest.zone_lines_on && zel_toon_zone_contrast(records)) return &nearest.zone_line_color;
    if (nearest.color_lines_on && zel_toon_color_contrast(store->color, params->color_threshold))
        return &nearest.color_line_color;
    return nullptr;
}

void fade(miColor* color, const miColor& towards, miScalar t) {
    color->r = (1 - t) * color->r + t * towards.r;
    color->g = (1 - t) * color->g + t * towards.g;
    color->b = (1 - t) * color->b + t * towards.b;
}

}  // namespace

extern "C" {

void zel_toon_lens_init(miState* state, void* params, miBoolean* inst_req) {
    if (params) {
        init_instance(state);
        return;
    }
    mi_info("%s initializing\n", "toon_lens");
    *inst_req = miTRUE;
    if (state->options->scanline) mi_fatal("toon_lens: shader will not run in scanline mode\n");
    init_stores();
}

void zel_toon_lens_exit(miState* state, void* params) {
    if (params)
        unregister_lens(state, "toon_len");
    else if (!state->options->scanline)
        release_stores();
}

// Noise in -1..1 over the picture.
miScalar zel_toon_noise(miState* state, miScalar freq, miScalar speed) {
    const miCamera& camera = *state->camera;
    miVector p = {freq * state->raster_x / static_cast<miScalar>(camera.x_resolution),
                  freq * state->raster_y / static_cast<miScalar>(camera.y_resolution),
                  speed * camera.frame_time};
    return 2 * (mi_noise_3d(&p) - 0.5f);
}

// 0 up to the depth near, from far on scale, held within 0..1; 0 when near is not before far.
miScalar zel_toon_depth_ramp(miScalar near, miScalar far, miScalar scale, miScalar d) {
    if (near >= far) return 0;
    miScalar r = (d - near) / (far - near);
    if (d <= near) r = 0;
    if (d >= far) r = 1;
    return std::clamp(r * scale, 0.0f, 1.0f);
}

// Greys have no hue to change. Components may leave 0..1.
void zel_toon_jitter_color(miColor* color, miState* state, const zel_toon_lens_params* params) {
    const miScalar n = zel_toon_noise(state, params->color_noise_freq, params->noise_speed);
    miColor hsv;
    zel_rgb_to_hsv(*color, &hsv);
    hsv.g += n * params->sat_noise;
    hsv.b += n * params->value_noise;
    if (hsv.r != -1) hsv.r += n * params->hue_noise;
    zel_hsv_to_rgb(color, hsv);
}

// Spreads the samples over the width of the line. A width of 0 puts all in one place: no lines.
void zel_toon_lens_dir(miState* state, void* lens, zel_ct_store* store) {
    const auto* params = static_cast<const zel_toon_lens_params*>(lens);
    const miScalar s = line_width(state, params, store) / 3;
    int k = 0;
    for (int j = -1; j <= 1; ++j)
        for (int i = -1; i <= 1; ++i, ++k) {
            if (k == kCentre) continue;
            store->org[k] = state->org;
            zel_ct_raster_dir(state, &store->dir[k], state->raster_x + static_cast<miScalar>(i) * s,
                              state->raster_y + static_cast<miScalar>(j) * s);
        }
}

miBoolean zel_toon_lens_contour(miColor* result, miState* state, void* lens, zel_ct_store* store) {
    const auto* params = static_cast<const zel_toon_lens_params*>(lens);
    if (params->lines_only) *result = {0, 0, 0, 0};
    const int nearest = store ? zel_toon_nearest(store) : -1;
    if (nearest < 0) return miTRUE;
    const int kind = zel_toon_classify(store);
    const miColor* found = line_color(params, store, records_of(store)[nearest], kind);
    if (!found) return miTRUE;

    miColor color = *found;
    if (params->hue_noise != 0 || params->sat_noise != 0 || params->value_noise != 0)
        zel_toon_jitter_color(&color, state, params);
    color.a = store->color[nearest].a;
    if (kind == zel_toon_SAME && params->fade_color != 0)
        fade(&color, *result,
             zel_toon_depth_ramp(params->fade_near, params->fade_far, params->fade_color,
                                 static_cast<miScalar>(store->depth[kCentre])));
    keep_finite(&color);
    *result = color;
    return miTRUE;
}

// Render threads beyond the 96 that there are stores for see the picture without lines.
miBoolean zel_toon_lens(miColor* result, miState* state, zel_toon_lens_params* params) {
    if (state->options->scanline) return miFALSE;
    if (is_disabled(state)) return miTRUE;
    const bool has_store = stores && state->thread >= 0 && state->thread < kThreads;
    if (weight_at(state, params) > 0 && has_store)
        return zel_ct_sample(result, state, params, &stores[state->thread]);
    if (has_store && params->blank_unweighted) {
        *result = {0, 0, 0, 0};
        return miFALSE;
    }
    return mi_trace_eye(result, state, &state->org, &state->dir);
}
}
