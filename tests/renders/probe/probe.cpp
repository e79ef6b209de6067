// Shaders that look at what the renderer hands them. What is not as the contract says ends the
// render: one that comes to its end has found nothing.

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>

#include "frame/host.h"

static void check(bool holds, const char* what) {
    if (!holds) mi_fatal("probe: %s", what);
}

static bool is_near(miVector a, miVector b) { return length(a - b) <= 1e-4f * (1 + length(b)); }

static bool equal(const miColor& a, const miColor& b) {
    return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
}

static int count_parents(const miState* state) {
    int count = 0;
    for (const miState* at = state->parent; at; at = at->parent) ++count;
    return count;
}

template <typename T>
static T ask(int code, miState* state, miTag tag) {
    T answer{};
    check(mi_query(code, state, tag, &answer), "a query is not answered");
    return answer;
}

extern "C" {

// ---- What a material sees, as a colour ----

enum See : miInteger { kObjectPoint, kPoint, kRay, kMedium = 4 };

miBoolean probe_see(miColor* result, miState* state, const miInteger* what) {
    const auto scalar = [](auto x) { return static_cast<miScalar>(x); };
    miVector seen = state->point;
    if (*what == kObjectPoint) mi_point_to_object(state, &seen, &seen);
    if (*what == kRay)
        seen = {scalar(count_parents(state)), scalar(state->type), scalar(state->dist)};
    if (*what == kMedium) seen = {state->ior_in, state->ior, 0};
    *result = {seen.x, seen.y, seen.z, 1};
    return miTRUE;
}

// ---- Spaces, threads, copies of a state ----

int probe_checks_version() { return 3; }

static void check_spaces(miState* state) {
    using Move = void (*)(miState*, miVector*, miVector*);
    static constexpr Move kPairs[][2] = {
        {mi_point_to_world, mi_point_from_world},     {mi_point_to_object, mi_point_from_object},
        {mi_point_to_camera, mi_point_from_camera},   {mi_vector_to_world, mi_vector_from_world},
        {mi_vector_to_object, mi_vector_from_object}, {mi_vector_to_camera, mi_vector_from_camera},
        {mi_normal_to_object, mi_normal_from_object}};
    for (const auto& [there, back] : kPairs) {
        miVector v = {1, -2, 3};
        there(state, &v, &v);
        back(state, &v, &v);
        check(is_near(v, {1, -2, 3}), "there and back is elsewhere");
    }

    // Vectors go between points, and a normal stays perpendicular to its plane.
    const miVector n = state->normal_geom;
    miVector along = normalized(cross(n, {0.3f, 0.5f, 0.8f})), end = state->point + along;
    miVector begin, normal, moved = along, way;
    mi_point_to_object(state, &begin, &state->point);
    mi_point_to_object(state, &end, &end);
    mi_vector_to_object(state, &moved, &moved);
    mi_normal_to_object(state, &normal, &state->normal_geom);
    way = end - begin;
    check(is_near(moved, way), "a vector is not the way between points");
    check(std::abs(dot(normalized(normal), normalized(way))) < 1e-4f, "a normal leans");
    check(std::abs(length(n) - 1) < 1e-5f, "a normal is not of unit length");
}

static void check_copy(miState* state) {
    miState copy = *state;
    miVector dir;
    mi_reflection_dir(&dir, state);
    miColor a, b;
    const miBoolean traced = mi_trace_reflection(&a, state, &dir);
    check(mi_trace_reflection(&b, &copy, &dir) == traced && equal(a, b), "a copy sees otherwise");

    // From a point beside the surface, which may be hit again, along a way that is not unit.
    copy.point = state->point + state->normal_geom;
    copy.pri = nullptr;
    dir = state->normal_geom * -3;
    check(mi_trace_reflection(&b, &copy, &dir) && b.a == 1, "a moved copy does not trace");
    dir = {0, 0, 0};
    check(!mi_trace_reflection(&b, &copy, &dir), "a ray without direction is traced");
}

// Products near 1e-40 survive, on whichever thread.
static void check_thread(const miState* state) {
    volatile float tiny = 1e-40f, small = 1e-20f;
    check(tiny * 0.5f != 0 && small * small != 0, "a tiny number is 0");
    check(state->thread >= 0 && state->thread < 96, "a thread's number");
}

miBoolean probe_checks(miColor* result, miState* state, void*) {
    *result = {1, 1, 1, 1};
    if (state->reflection_level > 0) return miTRUE;
    check_spaces(state);
    check_copy(state);
    check_thread(state);
    return miTRUE;
}

// ---- Items and queries ----

struct probe_items_params {
    miTag lamp, image, shader, own, object, text;
    miInteger i_list, n_list, list[1];
    miInteger i_colors, n_colors;
    miColor colors[1];
    miInteger last;
};

// Every code is answered for its own type of item and for no other.
static void check_codes(miState* state, miTag tag) {
    static constexpr struct {
        int code, type;
    } kCodes[] = {{miQ_INST_LOCAL_TO_GLOBAL, miITEM_INSTANCE},
                  {miQ_INST_ITEM, miITEM_INSTANCE},
                  {miQ_LIGHT_TYPE, miITEM_LIGHT},
                  {miQ_LIGHT_SHADER, miITEM_LIGHT},
                  {miQ_LIGHT_ORIGIN, miITEM_LIGHT},
                  {miQ_LIGHT_DIRECTION, miITEM_LIGHT},
                  {miQ_LIGHT_SPREAD, miITEM_LIGHT},
                  {miQ_FUNC_DECL, miITEM_FUNCTION},
                  {miQ_FUNC_PARAM, miITEM_FUNCTION},
                  {miQ_DECL_NAME, miITEM_DECLARATION},
                  {12345, -1}};
    for (const auto& [code, type] : kCodes) {
        int answer[4] = {-7, -7, -7, -7};
        const bool fits = mi_db_type(tag) == type;
        check((mi_query(code, state, tag, answer) == miTRUE) == fits, "a query misfits");
        check(fits || std::count(answer, answer + 4, -7) == 4, "a query writes");
    }
}

static bool is_named(miState* state, miTag function, const char* name) {
    const auto declaration = ask<miTag>(miQ_FUNC_DECL, state, function);
    return std::strcmp(ask<const char*>(miQ_DECL_NAME, state, declaration), name) == 0;
}

static miTag check_light(miState* state, miTag instance) {
    const auto light = ask<miTag>(miQ_INST_ITEM, state, instance);
    const auto* matrix = ask<const miScalar*>(miQ_INST_LOCAL_TO_GLOBAL, state, instance);
    check(matrix[0] == 0.5f && matrix[12] == -1 && matrix[15] == 1, "the light's matrix");
    check(ask<int>(miQ_LIGHT_TYPE, state, light) == miLIGHT_SPOT, "the light's type");
    check(is_near(ask<miVector>(miQ_LIGHT_ORIGIN, state, light), {1, 2, 3}), "the light's origin");
    check(ask<miVector>(miQ_LIGHT_DIRECTION, state, light).z == -2, "the light's direction");
    check(ask<miScalar>(miQ_LIGHT_SPREAD, state, light) == 0.25f, "the light's spread");
    check(is_named(state, ask<miTag>(miQ_LIGHT_SHADER, state, light), "soft_light"),
          "the light's shader");
    return light;
}

// Two lenses of one shader, then a list that ends.
static miTag check_lens_list(miState* state) {
    const void* identity = nullptr;
    int count = 0;
    miTag function = 0;
    for (miTag tag = state->camera->lens; tag != 0; ++count) {
        check(mi_db_type(tag) == miITEM_SHADER_LIST, "the camera's list is none");
        const auto* entry = static_cast<const miShaderList*>(mi_db_access(tag));
        function = entry->tags[entry->count - 1];
        const auto* record = static_cast<const miFunction*>(mi_db_access(function));
        check(is_named(state, function, "probe_lens"), "the lens has another name");
        check(!identity || record->identity == identity, "one shader has two identities");
        identity = record->identity;
        mi_db_unpin(tag);
        tag = entry->next;
    }
    check(count == 2 && identity != state->shader->identity, "the lens shaders are not two");
    return function;
}

static void check_block(const miState* state, const probe_items_params* block) {
    const miFunction* function = state->shader;
    const auto* text = static_cast<const char*>(mi_db_access(block->text));
    check(mi_db_type(block->text) == miITEM_STRING && std::strcmp(text, "a text") == 0, "string");
    const miInteger* list = block->list + block->i_list;
    check(block->n_list == 3 && list[0] == 10 && list[1] == 20 && list[2] == 30, "integers");
    const miColor* colors = block->colors + block->i_colors;
    check(block->n_colors == 2 && colors[0].g == 2 && colors[1].b == 7, "colors");
    check(block->last == 99, "the last parameter");
    check(function->parameters == block && !function->connected, "the shader's own block");
}

miBoolean probe_items(miColor* result, miState* state, probe_items_params* params) {
    const miTag light = check_light(state, params->lamp), function = check_lens_list(state);
    const auto declaration = ask<miTag>(miQ_FUNC_DECL, state, function);
    const auto camera = ask<miTag>(miQ_INST_ITEM, state, state->camera->instance);
    const struct {
        miTag tag;
        int type;
    } kItems[] = {{params->lamp, miITEM_INSTANCE},
                  {light, miITEM_LIGHT},
                  {params->image, miITEM_TEXTURE},
                  {params->shader, miITEM_FUNCTION},
                  {params->own, miITEM_MATERIAL},
                  {params->object, miITEM_INSTANCE},
                  {function, miITEM_FUNCTION},
                  {declaration, miITEM_DECLARATION},
                  {state->camera->instance, miITEM_INSTANCE},
                  {camera, miITEM_CAMERA},
                  {ask<miTag>(miQ_INST_ITEM, state, params->object), miITEM_OBJECT},
                  {0, miITEM_NONE},
                  {1u << 31, miITEM_NONE}};
    for (const auto& [tag, type] : kItems) {
        check(mi_db_type(tag) == type, "an item is of another type");
        check_codes(state, tag);
    }
    check(mi_db_access(camera) == state->camera, "the camera's record");
    check(params->object == state->instance && params->own == state->material, "the hit's items");
    check(ask<void**>(miQ_FUNC_USERPTR, state, 0) == mi_shader_info(state), "user pointer");

    int x = -1, y = -1;
    void* block = state;
    check(mi_texture_info(params->image, &x, &y, &block) && x == 2 && y == 1 && !block, "image");
    miColor pixel, looked_up;
    miVector coord = {0.75f, 0.5f, 0};
    mi_img_get_color(mi_db_access(params->image), &pixel, 1, 0);
    mi_lookup_color_texture(&looked_up, state, params->image, &coord);
    check(pixel.r == looked_up.r && pixel.g == looked_up.g && pixel.a == looked_up.a,
          "the item of an image is not its pixels");
    check(mi_texture_info(params->shader, &x, &y, &block) && x == 0 && block, "texture shader");
    check(!mi_texture_info(params->lamp, &x, &y, &block), "a light is a texture");
    check_block(state, params);
    *result = {1, 1, 1, 1};
    return miTRUE;
}

// ---- Rays ----

// 0 reflects, 1 refracts, 2 shows what is behind, 3 the environment. r counts the surfaces on the
// way, g is what the operation returned here, b what it returned at the last surface.
miBoolean probe_trace(miColor* result, miState* state, const miInteger* kind) {
    miColor seen = {0, 0, 0, 0};
    miVector dir = state->dir;
    if (*kind == 0) mi_reflection_dir(&dir, state);
    const miBoolean answer = *kind == 0   ? mi_trace_reflection(&seen, state, &dir)
                             : *kind == 1 ? mi_trace_refraction(&seen, state, &dir)
                             : *kind == 2 ? mi_trace_transparent(&seen, state)
                                          : mi_trace_environment(&seen, state, &dir);
    const auto returned = static_cast<miScalar>(answer);
    *result = {seen.r + 1, returned, seen.r > 0 ? seen.b : returned, 1};
    return miTRUE;
}

struct probe_shadow_params {
    miInteger id;       // one digit
    miBoolean pass_on;  // with mi_trace_shadow_seg
};

// Appends its digit to g: the number tells who was asked, in order.
miBoolean probe_shadow(miColor* result, miState* state, probe_shadow_params* params) {
    check(state->type == miRAY_SHADOW && state->dist > 0 && state->parent, "a shadow ray's state");
    if (params->pass_on && !mi_trace_shadow_seg(result, state)) return miFALSE;
    result->g = result->g * 10 + static_cast<miScalar>(params->id);
    return miTRUE;
}

// Adds the length of each segment to r and the ray's ancestors to g.
miBoolean probe_volume(miColor* result, miState* state, void*) {
    result->r += static_cast<miScalar>(state->dist);
    result->g += static_cast<miScalar>(count_parents(state));
    return miTRUE;
}

// A medium that traces a ray of its own from the camera, at the deepest levels that each kind of
// ray allows, and leaves its state as that ray needed it. Adds what the ray saw.
miBoolean probe_searching_volume(miColor* result, miState* state, void*) {
    if (state->type != miRAY_EYE) return miTRUE;
    miVector dir = {0, 0, -1};
    state->point = {0, 0, 0};
    state->normal = state->normal_geom = {1, 0, 0};
    state->pri = nullptr;
    state->volume = 0;
    state->reflection_level = state->options->reflection_depth - 1;
    state->refraction_level = state->options->refraction_depth - 1;
    miColor seen = {0, 0, 0, 0};
    check(mi_trace_reflection(&seen, state, &dir), "a medium's ray is not traced");
    result->b += seen.r;
    return miTRUE;
}

// ---- What is no number, which pictures do not tell ----

// Marks a colour with channels that are infinite or no number.
static bool mark(miColor* c) {
    const miScalar sum = 0 * c->r + 0 * c->g + 0 * c->b + 0 * c->a;
    const bool is_nan =
        std::isnan(c->r) || std::isnan(c->g) || std::isnan(c->b) || std::isnan(c->a);
    if (is_nan || std::isnan(sum)) *c = {is_nan ? 2e20f : 1e20f, 0, 0, 1};
    return std::isnan(sum);
}

// A colour of what no scene can say.
miBoolean probe_no_number(miColor* result, miState*, const miScalar* sign) {
    const miScalar x = *sign == 0 ? NAN : *sign * INFINITY;
    *result = {x, -x, x, x};
    return miTRUE;
}

miBoolean probe_numbers_lens(miColor* result, miState* state, void*) {
    const miBoolean answer = mi_trace_eye(result, state, &state->org, &state->dir);
    return mark(result) || answer;
}

miBoolean probe_numbers_output(void*, miState* state, void*) {
    void* picture = state->options->frame_buffers[miFB_COLOR];
    for (int y = 0; y < state->camera->y_resolution; ++y)
        for (int x = 0; x < state->camera->x_resolution; ++x) {
            miColor color;
            mi_img_get_color(picture, &color, x, y);
            if (mark(&color)) mi_img_put_color(picture, &color, x, y);
        }
    return miTRUE;
}

struct probe_lens_params {
    miInteger id;  // one digit
    miVector step;
    miInteger rays;  // each a step beside the one before; the result is their mean
};

// Appends its digit to r; g and b are the distance and label of the first ray's hit.
miBoolean probe_lens(miColor* result, miState* state, probe_lens_params* params) {
    check(state->type == miRAY_EYE && !state->parent, "a lens has a parent");
    miColor sum = {0, 0, 0, 0}, one;
    miVector org = state->org;
    for (int i = 0; i < params->rays; ++i) {
        mi_trace_eye(&one, state, &org, &state->dir);
        const miVector end = org + state->dir * static_cast<miScalar>(state->dist);
        check(i > 0 || state->dist == 0 || is_near(state->point, end), "the hit is not told");
        sum.r += one.r;
        org = org + params->step;
    }
    const auto digit = static_cast<miScalar>(params->id);
    *result = {sum.r / static_cast<miScalar>(params->rays) * 10 + digit,
               static_cast<miScalar>(state->dist), static_cast<miScalar>(state->label), 1};
    return miTRUE;
}

// Shows the buffer as the picture, turned upside down.
miBoolean probe_output(miColor*, miState* state, const miInteger* buffer) {
    void* const from = state->options->frame_buffers[*buffer];
    void* const to = state->options->frame_buffers[miFB_COLOR];
    const int width = state->camera->x_resolution, height = state->camera->y_resolution;
    miColor color, other;
    for (int y = 0; y < (from == to ? height / 2 : height); ++y) {
        for (int x = 0; x < width; ++x) {
            mi_img_get_color(from, &color, x, y);
            mi_img_get_color(from, &other, x, height - 1 - y);
            mi_img_put_color(to, &color, x, height - 1 - y);
            mi_img_put_color(to, &other, x, y);
        }
    }
    mi_img_put_color(to, &color, -1, 0);
    mi_img_put_color(to, &color, 0, height);
    mi_img_get_color(to, &color, width, 0);
    check(equal(color, {0, 0, 0, 0}), "there is something outside of the image");
    return miTRUE;
}

// ---- Life and death ----

static const char* name_of(const void* params) {
    return static_cast<const char*>(mi_db_access(*static_cast<const miTag*>(params)));
}

void probe_life_init(miState* state, void* params, miBoolean* inst_init_req) {
    if (!params) {
        mi_info("life: init all");
        *inst_init_req = miTRUE;
        return;
    }
    check(*mi_shader_info(state) == nullptr && state->shader->parameters == params, "first init");
    *mi_shader_info(state) = params;
    mi_info("life: init %s", name_of(params));
}

void probe_life_exit(miState* state, void* params) {
    if (params) check(*mi_shader_info(state) == params, "the user pointer at the exit");
    mi_info("life: exit %s", params ? name_of(params) : "all");
}

// Does nothing else: a lens that does not trace lets the ray pass.
miBoolean probe_life(miColor*, miState* state, void*) {
    check(*mi_shader_info(state) == state->shader->parameters, "the user pointer while shading");
    return miTRUE;
}

enum Trouble : miInteger { kFatalInit = 1, kFatal, kFatalWithLock, kLockTwice, kLeak, kSlow };

void probe_trouble_init(miState*, const miInteger* kind, miBoolean* inst_init_req) {
    if (!kind) *inst_init_req = miTRUE;
    if (!kind) return;
    if (*kind == kFatalInit) mi_fatal("trouble at %s", "init");
    if (*kind == kLeak) mi_mem_int_allocate("probe_trouble", 7, 100);
}

miBoolean probe_trouble(miColor* result, miState* state, const miInteger* kind) {
    static std::atomic<int> calls = 0;
    const int call = calls++;
    *result = {1, 1, 1, 1};
    if (*kind == kFatal) mi_fatal("trouble while shading\n");
    if (*kind == kFatalWithLock || *kind == kLockTwice) {
        mi_lock(state->global_lock);
        usleep(100000);  // until other threads wait
        if (*kind == kFatalWithLock) mi_fatal("trouble with a lock");
        mi_lock(state->global_lock);
    }
    if (*kind == kSlow) {
        if (call == 0) mi_warning("shading");
        usleep(5000);
    }
    return miTRUE;
}

void probe_fatal_init_init(miState*, void*, miBoolean*) { mi_fatal("trouble at the first init"); }

miBoolean probe_fatal_init(miColor*, miState*, void*) { return miTRUE; }
}
