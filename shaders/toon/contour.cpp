// The contour store, see contour.h.

#include "toon/contour.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr char kTag[] = "zel_contour";
constexpr miInteger kHandedDown = 4;  // user_size of the rays of a grid

// Room for the array of all samples; a warning when there is none.
template <class Element>
bool allocate(const zel_ct_store* store, Element*& array, const char* name,
              std::size_t size = sizeof(Element)) {
    array = static_cast<Element*>(
        mi_mem_int_allocate("zel_contour", __LINE__, mi_mem_size(store->count, size)));
    if (!array) mi_warning("problem allocating %s\n", name);
    return array;
}

template <class Element>
void release(Element*& array) {
    mi_mem_int_release("zel_contour", __LINE__, array);
    array = nullptr;
}

// Forgets what the sample before has recorded; colours and user records need no clearing, since
// label tells which are there.
void clear(zel_ct_store* s) {
    const auto n = static_cast<std::size_t>(s->count);
    std::fill_n(s->dot_nd, n, 0.0f);
    std::fill_n(s->point, n, miVector{0, 0, 0});
    std::fill_n(s->normal, n, miVector{0, 0, 0});
    std::fill_n(s->normal_geom, n, miVector{0, 0, 0});
    std::fill_n(s->depth, n, 0.0);
    std::fill_n(s->label, n, 0u);
    std::fill_n(s->motion, n, miVector{0, 0, 0});
    s->flags = 0;
}

void trace_class(miState* state, zel_ct_store* store, zel_ct_class which) {
    for (int k = 0; k < store->count; ++k) {
        if (store->mask[k] != which) continue;
        store->current = k;
        miColor unused;
        mi_trace_eye(&unused, state, &store->org[k], &store->dir[k]);
    }
}

}  // namespace

extern "C" {

void zel_ct_default_dir(miState* state, void*, zel_ct_store* store) {
    const auto width = static_cast<miScalar>(store->width);
    int k = 0;
    for (int j = -store->radius; j <= store->radius; ++j)
        for (int i = -store->radius; i <= store->radius; ++i, ++k) {
            if (i == 0 && j == 0) continue;
            store->org[k] = state->org;
            zel_ct_raster_dir(state, &store->dir[k],
                              state->raster_x + static_cast<miScalar>(i) / width,
                              state->raster_y + static_cast<miScalar>(j) / width);
        }
}

miBoolean zel_ct_alloc(zel_ct_store* s) {
    return allocate(s, s->point, "point") && allocate(s, s->dot_nd, "dot_nd") &&
           allocate(s, s->normal, "normal") && allocate(s, s->normal_geom, "normal_geom") &&
           allocate(s, s->depth, "depth") && allocate(s, s->color, "color") &&
           allocate(s, s->label, "label") && allocate(s, s->motion, "motion") &&
           (s->user_size == 0 ||
            allocate(s, s->user, "user", static_cast<std::size_t>(s->user_size))) &&
           allocate(s, s->mask, "mask") && allocate(s, s->org, "org") && allocate(s, s->dir, "dir");
}

void zel_ct_init_mask(zel_ct_store* store) {
    const int r = store->radius;
    int k = 0;
    for (int j = -r; j <= r; ++j)
        for (int i = -r; i <= r; ++i, ++k) {
            const bool corner = r > 0 && std::abs(i) == r && std::abs(j) == r;
            const bool centre = i == 0 && j == 0;
            store->mask[k] = corner ? zel_ct_CORNER : centre ? zel_ct_CENTRE : zel_ct_RING;
        }
}

miBoolean zel_ct_init(zel_ct_store* store, int radius, int user_size, zel_ct_contour_fn contour,
                      zel_ct_dir_fn dir) {
    constexpr int kMostRadius = 10000;  // a grid of more samples than memory holds, and than fit
    store->tag = kTag;
    store->radius = std::clamp(radius, 0, kMostRadius);
    store->width = 2 * store->radius + 1;
    store->count = store->width * store->width;
    store->centre = (store->count - 1) / 2;
    store->user_size = std::max(user_size, 0);
    store->contour = contour;
    if (!contour) {
        mi_warning("zel_ct_init: register contour function\n");
        return miFALSE;
    }
    store->dir_fn = dir ? dir : zel_ct_default_dir;
    if (!zel_ct_alloc(store)) return miFALSE;
    zel_ct_init_mask(store);
    return miTRUE;
}

void zel_ct_exit(zel_ct_store* s) {
    release(s->point);
    release(s->dot_nd);
    release(s->normal);
    release(s->normal_geom);
    release(s->depth);
    release(s->color);
    release(s->label);
    release(s->motion);
    release(s->user);
    release(s->mask);
    release(s->org);
    release(s->dir);
}

miBoolean zel_ct_sample(miColor* result, miState* state, void* params, zel_ct_store* store) {
    state->user = store;
    state->user_size = kHandedDown;
    clear(store);
    store->current = store->centre;
    miColor seen = {0, 0, 0, 0};
    mi_trace_eye(&seen, state, &state->org, &state->dir);
    *result = seen;
    store->dir_fn(state, params, store);
    trace_class(state, store, zel_ct_CORNER);
    if (store->flags == 0) return store->contour(result, state, params, nullptr);
    trace_class(state, store, zel_ct_RING);
    return store->contour(result, state, params, store);
}

// User data of another shader may end before a store's tag would be reached: only what comes with
// the size that zel_ct_sample hands down, with none, or with room for a store is looked into.
miBoolean zel_ct_ray(miState* state) {
    const miInteger size = state->user_size;
    const bool may_be_store =
        size == kHandedDown || size == 0 || size >= static_cast<miInteger>(sizeof(zel_ct_store));
    return state->user && may_be_store && static_cast<zel_ct_store*>(state->user)->tag == kTag;
}

miBoolean zel_ct_set(miState* state, miColor* color, void* user) {
    if (!zel_ct_ray(state)) return miFALSE;
    auto* store = static_cast<zel_ct_store*>(state->user);
    const int k = store->current;
    store->point[k] = state->point;
    store->dot_nd[k] = state->dot_nd;
    store->normal[k] = state->normal;
    store->normal_geom[k] = state->normal_geom;
    store->color[k] = *color;
    store->label[k] = state->label;
    store->motion[k] = state->motion;
    miVector in_camera;
    mi_point_to_camera(state, &in_camera, &state->point);
    store->depth[k] = std::abs(static_cast<double>(in_camera.z));
    if (user && store->user_size != 0) {
        const auto size = static_cast<std::size_t>(store->user_size);
        std::memcpy(store->user + static_cast<std::size_t>(k) * size, user, size);
    }
    store->flags |= 1;
    return miTRUE;
}

void zel_ct_raster_dir(miState* state, miVector* dir, miScalar x, miScalar y) {
    const miCamera& camera = *state->camera;
    const miScalar k = camera.focal / (camera.aperture * 0.5f);
    const miScalar u = x / static_cast<miScalar>(camera.x_resolution);
    const miScalar v = y / static_cast<miScalar>(camera.y_resolution);
    miVector d = {(2 * u - 1) / k, (2 * v - 1) / k / camera.aspect, -1};
    const miScalar len = std::sqrt(d.x * d.x + d.y * d.y + 1);
    if (len != 0) d = d * (1 / len);
    mi_vector_from_camera(state, dir, &d);
}
}
