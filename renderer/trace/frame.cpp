// The life of a frame's shaders, and eye rays.

#include "trace/frame.h"

#include <algorithm>
#include <utility>

#include "scene/messages.h"

namespace orvane::trace {
namespace {

miVector along(const Imath::M44f& m, const Imath::V3f& v) {
    Imath::V3f moved;
    m.multDirMatrix(v, moved);
    return {moved.x, moved.y, moved.z};
}

miVector at(const Imath::M44f& m, const Imath::V3f& v) {
    const Imath::V3f moved = v * m;
    return {moved.x, moved.y, moved.z};
}

// Where a point of the world appears in the picture, in pixels.
Imath::V2f project(const world::World& world, const miVector& point) {
    const miCamera& camera = world.camera();
    const Imath::V3f p = Imath::V3f(point.x, point.y, point.z) * world.world_to_camera();
    const float scale = camera.orthographic ? 1 : camera.focal / std::max(-p.z, 1e-6f);
    const float pixels = static_cast<float>(camera.x_resolution) / camera.aperture;
    const float pixel_aspect = camera.aspect * static_cast<float>(camera.y_resolution) /
                               static_cast<float>(camera.x_resolution);
    return {p.x * scale * pixels, p.y * scale * pixels * pixel_aspect};
}

}  // namespace

// The view plane stands at distance focal, aperture wide; offset moves it over the scene.
void eye_ray(const world::World& world, float x, float y, miVector* org, miVector* dir) {
    const miCamera& camera = world.camera();
    const float u = 2 * (x + camera.x_offset) / static_cast<float>(camera.x_resolution) - 1;
    const float v = 2 * (y + camera.y_offset) / static_cast<float>(camera.y_resolution) - 1;
    const float half = camera.aperture / 2;
    if (camera.orthographic) {
        *org = at(world.camera_to_world(), {u * half, v * half / camera.aspect, 0});
        *dir = normalized(along(world.camera_to_world(), {0, 0, -1}));
        return;
    }
    const float k = camera.focal / half;
    *org = at(world.camera_to_world(), {0, 0, 0});
    *dir = normalized(along(world.camera_to_world(), {u / k, v / k / camera.aspect, -1}));
}

Frame::Frame(world::World& world)
    : world(world), render(world), structure(world, world.options().shutter > 0) {
    at_camera_ = world::initial_state(render);
    at_camera_.host = this;
    initialise();
    render.check();
}

// A frame that is not closed yet ends for a reason that is told: what its shaders' exits say, when
// memory is what is missing, is the same again.
Frame::~Frame() {
    try {
        close();
    } catch (const world::Fatal& fault) {
        message(Level::Error, fault.text);
    } catch (...) {
    }
}

void Frame::init_state(miState* state, const world::Function& function) {
    state->shader = const_cast<miFunction*>(&function.record);
    state->light_instance = function.light_instance;
    world::running_here() = &function;
}

void Frame::initialise() {
    const std::vector<world::Function*> functions = world.functions();

    // All shader-level inits come before the first instance.
    for (world::Function* function : functions) {
        world::ShaderClass& shader = *function->shader;
        if (shader.initialised) continue;
        shader.initialised = true;
        classes_.push_back(&shader);
        if (!shader.entry.init) continue;
        miState state = this->state(0);
        init_state(&state, *function);
        miBoolean wanted = miFALSE;
        shader.entry.init(&state, nullptr, &wanted);
        shader.wants_instances = wanted != miFALSE;
    }
    for (world::Function* function : functions) {
        if (!function->shader->wants_instances || !function->shader->entry.init) continue;
        miState state = this->state(0);
        init_state(&state, *function);
        initialised_.push_back(function);
        function->shader->entry.init(&state, function->record.parameters, nullptr);
    }
}

std::vector<std::string> Frame::close() {
    if (std::exchange(closed_, true)) return {};
    // After mi_fatal the shaders are in no state to be asked; their memory goes with the render.
    if (render.ending()) return {};
    for (auto function = initialised_.rbegin(); function != initialised_.rend(); ++function) {
        if (!(*function)->shader->entry.exit) continue;
        miState state = this->state(0);
        init_state(&state, **function);
        (*function)->shader->entry.exit(&state, (*function)->record.parameters);
    }
    for (auto shader = classes_.rbegin(); shader != classes_.rend(); ++shader) {
        if (!(*shader)->entry.exit) continue;
        miState state = this->state(0);
        world::running_here() = nullptr;
        (*shader)->entry.exit(&state, nullptr);
    }
    return render.allocator.leaks();
}

Seen Frame::see(float x, float y, float time, std::uint64_t key, int thread) {
    miState state = this->state(thread);
    state.raster_x = x;
    state.raster_y = y;
    state.time = time;
    state.sample_key = key;
    eye_ray(world, x, y, &state.org, &state.dir);
    state.point = state.org;
    effort(&state).reset();
    Seen seen;
    try {
        mi_trace_eye(&seen.color, &state, &state.org, &state.dir);
    } catch (...) {
        render.end(std::current_exception());  // this thread may hold a lock that others wait for
        throw;
    }
    if (state.dist > 0) {
        miVector p = state.point, n = state.normal;
        mi_point_to_camera(&state, &p, &p);
        mi_vector_to_camera(&state, &n, &n);
        seen.depth = -p.z;
        seen.normal = n;
        seen.label = state.label;
        if (!is_zero(state.motion)) {
            const Imath::V2f moved =
                project(world, state.point + state.motion) - project(world, state.point);
            seen.motion = {moved.x, moved.y, 0};
        }
    }
    return seen;
}

Frame::Efforts& Frame::efforts(const miState* state) {
    auto& efforts = efforts_[static_cast<std::size_t>(state->thread)];
    if (!efforts) efforts = std::make_unique<Efforts>();
    return *efforts;
}

void Frame::run_output(const world::ListEntry* list) {
    miState state = this->state(0);
    miColor unused{};
    world::call(list, &unused, &state);
    render.check();
}

}  // namespace orvane::trace
