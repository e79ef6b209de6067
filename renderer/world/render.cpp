// The current render, and how shaders are called in it.

#include "world/render.h"

#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace orvane::world {
namespace {

Render* the_render = nullptr;
std::atomic<bool> the_abort = false;
static_assert(std::atomic<bool>::is_always_lock_free);  // set from a signal handler

// Evaluates the shader that a parameter is connected to, into room for size bytes.
void evaluate(const Function& source, const plugin::ConnectedField& field, miState* state,
              std::byte* value) {
    if (render_aborted()) return;  // connections of connections may take long
    alignas(16) std::array<std::byte, 256> local{};
    std::vector<std::byte> large(field.result_size > local.size() ? field.result_size : 0);
    std::byte* result = large.empty() ? local.data() : large.data();
    call(source, result, state);
    std::memcpy(value, result + field.result_offset, field.size);
}

// Runs a shader with state->shader set to it.
class Running {
  public:
    Running(miState* state, const Function& function)
        : state_(state), before_(state->shader), here_before_(running_here()) {
        state->shader = const_cast<miFunction*>(&function.record);
        running_here() = &function;
    }
    ~Running() {
        state_->shader = before_;
        running_here() = here_before_;
    }

  private:
    miState* state_;
    miFunction* before_;
    const Function* here_before_;
};

}  // namespace

Render::Render(World& world) : world(world) {
    global_lock_ = make_lock();
    the_render = this;
}

Render::~Render() { the_render = nullptr; }

Render* current_render() { return the_render; }

Lock* Render::make_lock() {
    const std::scoped_lock guard(locks_mutex_);
    return locks_.emplace_back(std::make_unique<Lock>(*this)).get();
}

void Render::delete_lock(Lock* lock) {
    const std::scoped_lock guard(locks_mutex_);
    std::erase_if(locks_, [lock](const auto& known) { return known.get() == lock; });
}

void Render::end(std::exception_ptr why) {
    const std::scoped_lock guard(locks_mutex_);
    if (!why_) why_ = std::move(why);
    ending_ = true;
    for (const auto& lock : locks_) lock->wake();
}

void Render::throw_why() {
    const std::scoped_lock guard(locks_mutex_);
    std::rethrow_exception(why_);
}

void* Render::result_slot(int thread) {
    auto& ring = rings_[static_cast<std::size_t>(thread)];
    if (!ring) ring = std::make_unique<Ring>();
    return ring->slots[ring->next++ % ring->slots.size()].data();
}

void abort_render() { the_abort = true; }
bool render_aborted() { return the_abort.load(std::memory_order_relaxed); }
void clear_abort() { the_abort = false; }

miBoolean call(const Function& function, void* result, miState* state) {
    const plugin::Block& block = function.block;
    const Running running(state, function);
    if (block.connected.empty())
        return function.shader->entry.shade(result, state, function.record.parameters);

    // The shader reads a copy of its block in which the connected parameters have their values.
    alignas(16) std::array<std::uint32_t, 512> local;
    std::vector<std::uint32_t> large(block.words.size() > local.size() ? block.words.size() : 0);
    std::uint32_t* words = large.empty() ? local.data() : large.data();
    std::memcpy(words, function.record.parameters, block.words.size() * 4);
    for (std::size_t i = 0; i < block.connected.size(); ++i) {
        const plugin::ConnectedField& field = block.connected[i];
        if (function.sources[i])
            evaluate(*function.sources[i], field, state,
                     reinterpret_cast<std::byte*>(words) + field.offset);
    }
    return function.shader->entry.shade(result, state, words);
}

miBoolean call(const ListEntry* list, miColor* result, miState* state) {
    miBoolean answer = miFALSE;
    for (; list; list = list->next) answer = call(*list->function, result, state);
    return answer;
}

const ListEntry* list_of(miTag tag) {
    return the_render->world.database().get<ListEntry>(tag, miITEM_SHADER_LIST);
}

const Function*& running_here() {
    thread_local const Function* function = nullptr;
    return function;
}

const Function* running(const miState* state) {
    return static_cast<const Function*>(static_cast<const void*>(state->shader));
}
static_assert(offsetof(Function, record) == 0);

void* evaluate_parameter(miState* state, void* parameter) {
    const Function* function = running(state);
    if (!function || !function->record.connected) return parameter;
    const auto* begin = static_cast<const std::byte*>(function->record.parameters);
    const auto* at = static_cast<const std::byte*>(parameter);
    for (std::size_t i = 0; i < function->block.connected.size(); ++i) {
        const plugin::ConnectedField& field = function->block.connected[i];
        if (begin + field.offset != at || !function->sources[i] || field.size > 256) continue;
        auto* slot = static_cast<std::byte*>(the_render->result_slot(state->thread));
        evaluate(*function->sources[i], field, state, slot);
        return slot;
    }
    return parameter;
}

miState initial_state(Render& render) {
    const World& world = render.world;
    miState state{};
    state.camera = &world.camera();
    state.options = &world.options();
    state.global_lock = render.global_lock();
    state.host = &render;
    state.lens = world.camera().lens;
    state.ior = state.ior_in = 1;
    state.volume = state.refraction_volume = world.camera().volume;
    state.environment = world.camera().environment;
    const Imath::M44f& m = world.camera_to_world();
    state.org = state.point = {m[3][0], m[3][1], m[3][2]};
    const Imath::V3f axis = Imath::V3f(-m[2][0], -m[2][1], -m[2][2]).normalized();
    state.dir = {axis.x, axis.y, axis.z};
    return state;
}

}  // namespace orvane::world
