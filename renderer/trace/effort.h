// How many rays are traced for one eye ray.
//
// Trees of rays grow fast where each hit traces several, and they need not end where shaders lower
// the levels of their states so that panes behind panes stay clear. So there are two ways to trace:
// the whole tree as the options ask for it, and with thrift where a ray is deeper than the options
// say, or where at its level too many rays have been traced already. With thrift a hit traces one
// ray of each kind, whose color stands for the others of this kind, and each ray that began with
// thrift shares a number of spare rays with all that come of it. Of those a mirror image takes
// three quarters, so that something is left to look through the surface. Nothing darkens where
// thrift begins: there is less to average.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "frame/host.h"

namespace orvane::trace {

// No ray has more rays than these between the eye and itself.
constexpr int kDeepest = 300;

class Effort {
  public:
    // The rays of the whole tree at a level, from 1 on: so many that all is exact but what shows
    // least.
    static constexpr int whole(int level) { return std::max(8, 8192 / (level * level * level)); }
    // The spare rays of one that is deeper than the options say, and of one too many.
    static constexpr int kSpareBeyond = 256, kSpareWithin = 64;

    // Begins anew, with an eye ray.
    void reset();

    // Answers for child, a ray of state, by cast(result, &child); or in its place.
    using Cast = miBoolean (*)(miColor* result, miState* child);
    miBoolean trace(miColor* result, const miState* state, miState* child, Cast cast);

  private:
    struct Answer {
        bool known = false;
        miBoolean answer = miFALSE;
        miColor color{};
    };
    // What the first ray of each kind from one state has seen.
    struct Hit {
        std::uint64_t key = 0;  // the sample key of the state
        std::array<Answer, 4> of_type;
    };
    class Share;

    bool has_room(const miState* child);
    Answer& first_of_its_kind(const miState* state, const miState* child);

    std::array<int, kDeepest + 1> rays_{};  // of each level
    int deepest_ = 0;                       // level that rays_ counts
    std::array<Hit, kDeepest + 1> hits_;    // one a depth

    bool thrift_ = false;
    int spare_ = 0;  // rays that are left, with thrift
};

}  // namespace orvane::trace
