// The scripted renderer: the operations of the contract, answered from scripted::Host.

#include "scripted/script.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace scripted {

static Host* running = nullptr;

Host& current() { return *running; }
void set_current(Host* host) { running = host; }

static int count_named(const auto& calls, std::string_view name) {
    return static_cast<int>(
        std::count_if(calls.begin(), calls.end(), [&](auto& call) { return call.name == name; }));
}

int MaterialLibrary::count(std::string_view name) const { return count_named(calls, name); }

int Host::count(std::string_view call) const { return count_named(calls, call); }

const Call& Host::last(std::string_view name) const {
    for (auto call = calls.rbegin(); call != calls.rend(); ++call)
        if (call->name == name) return *call;
    throw std::out_of_range("never called: " + std::string(name));
}

void Host::record(std::string name, std::vector<double> arguments) {
    const std::lock_guard guard(mutex);
    calls.push_back({std::move(name), std::move(arguments)});
}

Host::~Host() {
    for (const auto& [p, allocation] : allocations) std::free(p);
}

miTag Host::add(Item item) {
    const miTag tag = items.empty() ? 1 : items.rbegin()->first + 1;
    items[tag] = std::move(item);
    return tag;
}

miTag Host::add_image(Image* image) { return add({miITEM_TEXTURE, image, {}}); }

miTag Host::add_light(const Light& light) {
    static const Matrix no_transform = identity();
    const Matrix& to_world = light.to_world ? *light.to_world : no_transform;
    const auto pointer = [](const void* p) { return Answer(p); };
    const miTag declaration =
        add({miITEM_DECLARATION, nullptr, {{miQ_DECL_NAME, pointer(light.shader)}}});
    const miTag shader =
        add({miITEM_FUNCTION,
             nullptr,
             {{miQ_FUNC_DECL, declaration}, {miQ_FUNC_PARAM, pointer(light.params)}}});
    const miTag item = add({miITEM_LIGHT,
                            nullptr,
                            {{miQ_LIGHT_TYPE, light.type},
                             {miQ_LIGHT_SHADER, shader},
                             {miQ_LIGHT_ORIGIN, light.origin},
                             {miQ_LIGHT_DIRECTION, light.direction},
                             {miQ_LIGHT_SPREAD, light.spread}}});
    return add({miITEM_INSTANCE,
                nullptr,
                {{miQ_INST_ITEM, item}, {miQ_INST_LOCAL_TO_GLOBAL, pointer(to_world.data())}}});
}

}  // namespace scripted

using scripted::current;

static miBoolean trace(const char* name, const scripted::Host::Trace& hook, miColor* result,
                       miState* state, const miVector& dir) {
    current().record(name, {dir.x, dir.y, dir.z});
    return hook ? hook(result, state, dir) : miFALSE;
}

static miBoolean shadow(const char* name, const scripted::Host::Shadow& hook, miColor* result,
                        miState* state) {
    current().record(name);
    return hook ? hook(result, state) : miTRUE;
}

static std::vector<scripted::LightSample> samples_of(miState* state, miTag light) {
    const auto& hook = current().light_samples;
    return hook ? hook(state, light) : std::vector<scripted::LightSample>{};
}

static void say(const char* level, const char* format, std::va_list arguments) {
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    const std::lock_guard guard(current().mutex);
    current().messages.push_back({level, text});
}

static miScalar power_of_cosine(miScalar cosine, miScalar exponent) {
    return cosine > 0 ? std::pow(cosine, exponent) : 0.0f;
}

extern "C" {

// ---- Tracing

miBoolean mi_trace_eye(miColor* result, miState* state, miVector* org, miVector* dir) {
    current().record("mi_trace_eye", {dir->x, dir->y, dir->z});
    const auto& hook = current().trace_eye;
    return hook ? hook(result, state, *org, *dir) : miFALSE;
}
miBoolean mi_trace_reflection(miColor* result, miState* state, miVector* dir) {
    return trace("mi_trace_reflection", current().trace_reflection, result, state, *dir);
}
miBoolean mi_trace_refraction(miColor* result, miState* state, miVector* dir) {
    return trace("mi_trace_refraction", current().trace_refraction, result, state, *dir);
}
miBoolean mi_trace_transparent(miColor* result, miState* state) {
    return trace("mi_trace_transparent", current().trace_transparent, result, state, state->dir);
}
miBoolean mi_trace_environment(miColor* result, miState* state, miVector* dir) {
    return trace("mi_trace_environment", current().trace_environment, result, state, *dir);
}

void mi_reflection_dir(miVector* dir, miState* state) {
    *dir = normalized(state->dir - state->normal * (2 * dot(state->normal, state->dir)));
}

miBoolean mi_refraction_dir(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out) {
    const miScalar ratio = ior_in / ior_out, cosine = -dot(state->normal, state->dir);
    const miScalar rest = 1 - ratio * ratio * (1 - cosine * cosine);
    if (rest < 0) return miFALSE;
    *dir = normalized(state->dir * ratio + state->normal * (ratio * cosine - std::sqrt(rest)));
    return miTRUE;
}

miBoolean mi_trace_shadow(miColor* result, miState* state) {
    return shadow("mi_trace_shadow", current().trace_shadow, result, state);
}
miBoolean mi_trace_shadow_seg(miColor* result, miState* state) {
    return shadow("mi_trace_shadow_seg", current().trace_shadow_seg, result, state);
}

// ---- Lights

miBoolean mi_trace_light(miColor* color, miVector* dir, miScalar* dot_nl, miState* state,
                         miTag light) {
    current().record("mi_trace_light", {double(light)});
    const auto samples = samples_of(state, light);
    if (samples.empty()) return miFALSE;
    const miScalar weight = 1 / static_cast<miScalar>(samples.size());
    *color = {0, 0, 0, 0};
    for (const auto& [c, sample_dir, sample_dot_nl] : samples)
        *color = {color->r + c.r * weight, color->g + c.g * weight, color->b + c.b * weight,
                  color->a + c.a * weight};
    if (dir) *dir = samples.front().dir;
    if (dot_nl) *dot_nl = samples.front().dot_nl;
    return miTRUE;
}

miBoolean mi_sample_light(miColor* color, miVector* dir, miScalar* dot_nl, miState* state,
                          miTag light, int* samples) {
    current().record("mi_sample_light", {double(light)});
    const auto all = samples_of(state, light);
    if (*samples >= static_cast<int>(all.size())) return miFALSE;
    const auto& sample = all[static_cast<std::size_t>((*samples)++)];
    *color = sample.color;
    if (dir) *dir = sample.dir;
    if (dot_nl) *dot_nl = sample.dot_nl;
    return miTRUE;
}

miScalar mi_phong_specular(miScalar exponent, miState* state, miVector* dir) {
    miVector mirrored;
    mi_reflection_dir(&mirrored, state);
    return power_of_cosine(dot(mirrored, *dir), exponent);
}
miScalar mi_blong_specular(miScalar exponent, miState* state, miVector* dir) {
    return power_of_cosine(dot(state->normal, normalized(*dir - state->dir)), exponent);
}

// ---- Textures and images

miBoolean mi_lookup_color_texture(miColor* color, miState* state, miTag texture, miVector* coord) {
    current().record("mi_lookup_color_texture", {double(texture), coord->x, coord->y, coord->z});
    if (current().texture) return current().texture(color, state, texture, *coord);
    *color = {1, 1, 1, 1};
    return miTRUE;
}

miBoolean mi_texture_info(miTag texture, int* x_resolution, int* y_resolution, void** paras) {
    current().record("mi_texture_info", {double(texture)});
    const auto item = current().items.find(texture);
    if (item == current().items.end() || item->second.type != miITEM_TEXTURE) return miFALSE;
    const auto* image = static_cast<const scripted::Image*>(item->second.record);
    if (x_resolution) *x_resolution = image->width;
    if (y_resolution) *y_resolution = image->height;
    if (paras) *paras = nullptr;
    return miTRUE;
}

static miColor* pixel(void* image, int x, int y) {
    auto* of = static_cast<scripted::Image*>(image);
    if (!of || x < 0 || y < 0 || x >= of->width || y >= of->height) return nullptr;
    return &of->pixels[static_cast<std::size_t>(y * of->width + x)];
}
void mi_img_get_color(void* image, miColor* color, int x, int y) {
    const miColor* at = pixel(image, x, y);
    *color = at ? *at : miColor{0, 0, 0, 0};
}
void mi_img_put_color(void* image, miColor* color, int x, int y) {
    if (miColor* at = pixel(image, x, y)) *at = *color;
}

miBoolean mi_tex_coord(miState*, int, miVector* coord) {
    *coord = {0, 0, 0};
    return current().texture_coord ? current().texture_coord(coord) : miFALSE;
}
miBoolean mi_tex_basis(miState*, int, miVector* du, miVector* dv) {
    return current().texture_basis ? current().texture_basis(du, dv) : miFALSE;
}

// ---- Memory

static void* reallocate(const char* call, const char* file, void* p, int size) {
    scripted::Host& host = current();
    const std::lock_guard guard(host.mutex);
    host.calls.push_back({call, {double(size)}});
    const bool fails = ++host.allocation_count == host.failing_allocation;
    if (fails || size <= 0 || size > host.largest_allocation) return nullptr;
    void* fresh = std::calloc(1, static_cast<std::size_t>(size));
    if (p) {
        const int kept = std::min(size, host.allocations.at(p).size);
        std::memcpy(fresh, p, static_cast<std::size_t>(kept));
        host.allocations.erase(p);
        std::free(p);
    }
    host.allocations[fresh] = {file, size};
    return fresh;
}
void* mi_mem_int_allocate(const char* file, int, int size) {
    return reallocate("mi_mem_int_allocate", file, nullptr, size);
}
void* mi_mem_int_reallocate(const char* file, int, void* p, int size) {
    return reallocate("mi_mem_int_reallocate", file, p, size);
}

// Throws out_of_range, and so fails the test, for memory that is not allocated.
void mi_mem_int_release(const char*, int, void* p) {
    if (!p) return;
    const std::lock_guard guard(current().mutex);
    if (!current().allocations.erase(p)) throw std::out_of_range("not allocated");
    std::free(p);
}

// ---- Locks

void mi_init_lock(miLock* lock) {
    auto mutex = std::make_unique<std::mutex>();
    *lock = mutex.get();
    const std::lock_guard guard(current().mutex);
    current().locks[*lock] = std::move(mutex);
}
void mi_delete_lock(miLock* lock) {
    const std::lock_guard guard(current().mutex);
    current().locks.erase(*lock);
    *lock = nullptr;
}
void mi_lock(miLock lock) {
    static_cast<std::mutex*>(lock)->lock();
    current().record("mi_lock");
}
void mi_unlock(miLock lock) {
    current().record("mi_unlock");
    static_cast<std::mutex*>(lock)->unlock();
}

// ---- Messages

#define SAY(level)                 \
    std::va_list arguments;        \
    va_start(arguments, format);   \
    say(level, format, arguments); \
    va_end(arguments)

void mi_info(const char* format, ...) { SAY("info"); }
void mi_progress(const char* format, ...) { SAY("progress"); }
void mi_warning(const char* format, ...) { SAY("warning"); }
void mi_fatal(const char* format, ...) {
    SAY("fatal");
    throw scripted::Fatal(current().messages.back().text);
}
#undef SAY

// ---- Control

miBoolean mi_par_aborted() { return current().aborted && current().aborted() ? miTRUE : miFALSE; }

// ---- Queries and database

miBoolean mi_query(int code, miState* state, miTag tag, void* result) {
    if (code == miQ_FUNC_USERPTR) {
        void** user = &state->shader->user;
        std::memcpy(result, &user, sizeof user);
        return miTRUE;
    }
    const auto item = current().items.find(tag);
    if (item == current().items.end() || !item->second.answers.contains(code)) return miFALSE;
    std::visit([&](const auto& answer) { std::memcpy(result, &answer, sizeof answer); },
               item->second.answers.at(code));
    return miTRUE;
}

void** mi_shader_info(miState* state) { return &state->shader->user; }

void* mi_phen_eval(miState* state, void* param) {
    current().record("mi_phen_eval");
    return current().connect ? current().connect(state, param) : param;
}

int mi_db_type(miTag tag) {
    const auto item = current().items.find(tag);
    return item == current().items.end() ? miITEM_NONE : item->second.type;
}
void* mi_db_access(miTag tag) {
    current().record("mi_db_access", {double(tag)});
    const std::lock_guard guard(current().mutex);
    ++current().pinned[tag];
    return current().items.at(tag).record;
}
void mi_db_unpin(miTag tag) {
    current().record("mi_db_unpin", {double(tag)});
    const std::lock_guard guard(current().mutex);
    --current().pinned[tag];
}
}
