// Why a picture shows less than its scene was to show.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "frame/state.h"

namespace orvane::trace {

class Frame;

// What the eye rays of a frame have met. All threads tell it.
class Findings {
  public:
    // An eye ray that has hit.
    void note(const miState& ray) {
        mark(ray.inside ? back_ : front_);
        if (ray.user) mark(ray.label != 0 ? tagged_ : untagged_);
    }
    bool met_front() const { return front_; }
    bool met_back() const { return back_; }
    // A lens that hands data to its rays looks for objects by their tags.
    bool misses_tags() const { return untagged_ && !tagged_; }

  private:
    static void mark(std::atomic<bool>& found) {
        if (!found.load(std::memory_order_relaxed)) found.store(true, std::memory_order_relaxed);
    }

    std::atomic<bool> front_ = false, back_ = false, tagged_ = false, untagged_ = false;
};

// Lines for the user about a frame that has been rendered, each with its place in the scene:
// materials that came out black for want of lights, objects without the texture coordinates that
// their shaders ask for, lenses that find no tags; and when the whole picture is black, why the
// camera sees nothing.
std::vector<std::string> advice(const Frame& frame, bool is_black);

}  // namespace orvane::trace
