// One frame: the world with its ray structures and the life of its shaders.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <utility>

#include "frame/host.h"
#include "trace/advice.h"
#include "trace/effort.h"
#include "trace/rays.h"
#include "world/render.h"

namespace orvane::trace {

// What an eye ray saw; members beyond color are of what its first ray met, or 0.
struct Seen {
    miColor color{};
    float depth = 0;
    miVector normal{};
    miVector motion{};  // in pixels
    std::uint32_t label = 0;
};

class Frame {
    // The counts of one thread: of the picture's rays, and of those that are apart from them.
    struct Efforts {
        std::array<Effort, 2> counts;
        bool apart = false;
        Effort& current() { return counts[apart]; }
    };

  public:
    // Builds the ray structures and initialises all shaders. Throws world::Fatal when a shader
    // calls mi_fatal, world::OutOfMemory when it has no memory; shaders that were initialised are
    // not left behind.
    explicit Frame(world::World& world);
    // Calls the exits of all shaders; afterwards what they left allocated is in leaks().
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    // Traces an eye ray through a point of the picture, lens shaders first. x and y are in
    // pixels from the lower left, time is 0..1 within the shutter interval, key identifies the
    // sample. Throws world::Fatal when a shader calls mi_fatal.
    Seen see(float x, float y, float time, std::uint64_t key, int thread);

    // Calls an output shader on the frame buffers in the options.
    void run_output(const world::ListEntry* list);

    // Runs instance-level and shader-level exits, in reverse order of the inits; once. Returns
    // a line for each place that left memory allocated.
    std::vector<std::string> close();

    // A state at the camera, before any ray.
    miState state(int thread) const {
        miState state = at_camera_;
        state.thread = static_cast<std::int16_t>(thread);
        return state;
    }

    // The count of the rays that are traced for the eye ray that a state belongs to.
    Effort& effort(const miState* state) { return efforts(state).current(); }

    // While it lives, the rays of a thread are counted apart: those that build what shaders keep,
    // such as depth maps, must leave no trace in the picture of the sample that came first.
    class Apart {
      public:
        Apart(Frame& frame, const miState* state) : efforts_(frame.efforts(state)) {
            before_ = std::exchange(efforts_.apart, true);
            if (!before_) efforts_.current().reset();
        }
        ~Apart() { efforts_.apart = before_; }
        Apart(const Apart&) = delete;
        Apart& operator=(const Apart&) = delete;

      private:
        Efforts& efforts_;
        bool before_;
    };

    world::World& world;
    world::Render render;
    Structure structure;
    Findings findings;

  private:
    Efforts& efforts(const miState* state);
    void initialise();
    void init_state(miState* state, const world::Function& function);

    miState at_camera_{};
    std::array<std::unique_ptr<Efforts>, world::kMaxThreads> efforts_;  // one a thread
    std::vector<world::Function*> initialised_;
    std::vector<world::ShaderClass*> classes_;
    bool closed_ = false;
};

// The frame that a state belongs to.
inline Frame& frame_of(const miState* state) {
    return *static_cast<Frame*>(const_cast<void*>(state->host));
}

// Where a pixel position lies: origin and direction of the ray through it, in world space.
void eye_ray(const world::World& world, float x, float y, miVector* org, miVector* dir);

}  // namespace orvane::trace
