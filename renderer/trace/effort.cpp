// Whole trees of rays and thrift.

#include "trace/effort.h"

#include <utility>

namespace orvane::trace {
namespace {

// Whether a ray is deeper than the options allow, by what was traced instead of by its levels.
bool is_beyond(const miState& ray) {
    const miOptions& options = *ray.options;
    return ray.reflections > options.reflection_depth ||
           ray.refractions > options.refraction_depth ||
           ray.reflections + ray.refractions > options.trace_depth;
}

// An eye ray that a surface sends off is as deep as it is.
int level_of(const miState& ray) {
    return ray.type == miRAY_EYE ? ray.depth : ray.reflections + ray.refractions;
}

}  // namespace

// The part of the spare rays that a ray and all behind it may use, while it is traced.
class Effort::Share {
  public:
    Share(Effort& effort, const miState& child)
        : effort_(effort), began_(!std::exchange(effort.thrift_, true)) {
        if (began_) {
            effort_.spare_ = is_beyond(child) ? kSpareBeyond : kSpareWithin;
        } else if (child.type == miRAY_REFLECT) {
            set_aside_ = effort_.spare_ / 4;
            effort_.spare_ -= set_aside_;
        }
    }
    ~Share() {
        effort_.spare_ += set_aside_;
        if (began_) effort_.thrift_ = false;
    }
    bool take() {
        if (effort_.spare_ <= 0) return false;
        --effort_.spare_;
        return true;
    }

  private:
    Effort& effort_;
    bool began_;
    int set_aside_ = 0;
};

void Effort::reset() {
    std::fill_n(rays_.begin(), deepest_ + 1, 0);
    deepest_ = 0;
    thrift_ = false;
}

// Counts a ray of the whole tree; false when there are too many of its level.
bool Effort::has_room(const miState* child) {
    const int level = level_of(*child);
    deepest_ = std::max(deepest_, level);
    int& rays = rays_[static_cast<std::size_t>(level)];
    if (rays == whole(level)) return false;
    ++rays;
    return true;
}

Effort::Answer& Effort::first_of_its_kind(const miState* state, const miState* child) {
    Hit& hit = hits_[static_cast<std::size_t>(state->depth)];
    if (hit.key != state->sample_key) {
        hit.key = state->sample_key;
        for (Answer& answer : hit.of_type) answer.known = false;
    }
    return hit.of_type[static_cast<std::size_t>(child->type)];
}

// Media trace rays of their own along one ray: none of those stands for another.
miBoolean Effort::trace(miColor* result, const miState* state, miState* child, Cast cast) {
    const bool whole_tree = !thrift_ && !is_beyond(*child) && has_room(child);
    if (state->in_medium && whole_tree) return cast(result, child);
    Answer& first = first_of_its_kind(state, child);
    if (whole_tree) {
        first.answer = cast(result, child);
    } else if (first.known && !state->in_medium) {
        *result = first.color;
        return first.answer;
    } else {
        Share share(*this, *child);
        if (!share.take()) return miFALSE;
        first.answer = cast(result, child);
    }
    first.color = *result;
    first.known = true;
    return first.answer;
}

}  // namespace orvane::trace
