// zel_sprite: the mean of a square grid of eye rays around each sample, for sprites with soft or
// hard edges against the background.
//
// With (2 radius + 1)^2 rays a sample it smooths edges by itself; without blend_background a
// sample whose rays touch the background (alpha exactly 0) shows the middle ray alone.

#include "toon/contour.h"
#include "toon/lens_count.h"

extern "C" {

struct zel_sprite_params {
    miInteger radius;            // of the grid; below 0 counts as 0
    miBoolean blend_background;  // edges against the background are blended
};
static_assert(sizeof(zel_sprite_params) == 2 * 4);

int zel_sprite_version() { return 3; }

static constexpr int kThreads = 96;

// One a render thread, as arrays of colours; from the shader's init to its exit.
static zel_ct_store* stores = nullptr;

static miBoolean no_contour(miColor*, miState*, void*, zel_ct_store*) { return miFALSE; }

static bool is_scanline(const miState* state) { return state->options->scanline == miTRUE; }

// The stores go to the instance that is initialised last. Two on one camera use none; of two on
// different cameras the one that renders has the radius of the last.
static bool init_stores(int radius) {
    for (int i = 0; stores && i < kThreads; ++i) {
        zel_ct_exit(&stores[i]);
        if (!zel_ct_init(&stores[i], radius, 0, no_contour, nullptr)) return false;
    }
    return true;
}

static void init_instance(miState* state, int radius) {
    mi_lock(state->global_lock);
    const int count = register_lens(state, "sprite");
    if (count > 1) mi_warning("zel_sprite: only one instance allowed, others disabled\n");
    const bool ready = init_stores(radius);
    if (ready) mi_progress("sprite: initialized %d thread(s)\n", kThreads);
    mi_unlock(state->global_lock);
    if (count < 0) mi_fatal("sprite: unable to allocate shader memory\n");
    if (!ready) mi_fatal("sprite: unable to initialize\n");
}

void zel_sprite_init(miState* state, zel_sprite_params* params, miBoolean* inst_req) {
    if (!params) {
        mi_info("%s initializing\n", "sprite");
        *inst_req = miTRUE;
        if (is_scanline(state)) mi_fatal("sprite: shader will not run in scanline mode\n");
        stores = static_cast<zel_ct_store*>(
            mi_mem_int_allocate("sprite", __LINE__, kThreads * static_cast<int>(sizeof *stores)));
        if (!stores) mi_fatal("sprite: unable to allocate shader memory\n");
        return;
    }
    init_instance(state, params->radius);
}

void zel_sprite_exit(miState* state, void* params) {
    if (is_scanline(state)) return;
    if (params) {
        unregister_lens(state, "sprite");
        return;
    }
    for (int i = 0; stores && i < kThreads; ++i) zel_ct_exit(&stores[i]);
    mi_mem_int_release("sprite", __LINE__, stores);
    stores = nullptr;
}

static miColor mean(const zel_ct_store* store) {
    miColor sum = {0, 0, 0, 0};
    for (int k = 0; k < store->count; ++k) {
        const miColor& c = store->color[k];
        sum = {sum.r + c.r, sum.g + c.g, sum.b + c.b, sum.a + c.a};
    }
    const auto n = static_cast<miScalar>(store->count);
    return {sum.r / n, sum.g / n, sum.b / n, sum.a / n};
}

// Traces sample (i, j) of the grid.
static miColor trace(miState* state, const zel_ct_store* store, int i, int j) {
    const auto width = static_cast<miScalar>(store->width);
    miVector org = state->org, dir;
    zel_ct_raster_dir(state, &dir, state->raster_x + static_cast<miScalar>(i) / width,
                      state->raster_y + static_cast<miScalar>(j) / width);
    miColor color = {0, 0, 0, 0};
    mi_trace_eye(&color, state, &org, &dir);
    return color;
}

// Render threads beyond the 96 that there are stores for see the picture as it is.
miBoolean zel_sprite(miColor* result, miState* state, zel_sprite_params* params) {
    if (is_scanline(state)) return miFALSE;
    if (is_disabled(state)) return miTRUE;
    miColor centre = {0, 0, 0, 0};
    const miBoolean answer = mi_trace_eye(&centre, state, &state->org, &state->dir);
    *result = centre;
    if (!stores || state->thread < 0 || state->thread >= kThreads) return answer;
    if (!params->blend_background && centre.a == 0) return miTRUE;

    zel_ct_store* store = &stores[state->thread];
    int k = 0;
    for (int j = -store->radius; j <= store->radius; ++j)
        for (int i = -store->radius; i <= store->radius; ++i, ++k) {
            store->color[k] = k == store->centre ? centre : trace(state, store, i, j);
            if (!params->blend_background && store->color[k].a == 0) return miTRUE;
        }
    *result = mean(store);
    return miTRUE;
}
}
