// Ear clipping with a memory of what is no ear.
#include "scene/ear_clipping.h"

#include "scene/corner_tree.h"
#include "scene/ordered_bits.h"

namespace orvane::scene {

namespace {

// How much is forgiven when no ear is left that fulfils all: touching corners and ears
// without area, then everything.
enum class Care { Full, Touching, None };

class Clipping {
  public:
    Clipping(Ring& ring, Index start)
        : ring_(ring), reflex_(ring), open_(ring.size()), rank_(ring.size()), watch_(ring.size()) {
        Index i = start;
        do {
            rank_[i] = corners_.size();
            corners_.push_back(i);
            reflex_.mark(i, !is_convex(i));
        } while ((i = ring_[i].next) != start);
        open_all(start);
    }

    std::size_t size() const { return corners_.size(); }

    // The first corner from tip on that may be an ear; kNone when there is none.
    Index first_open(Index tip) const {
        std::size_t found = open_.next(rank_[tip]);
        if (found == OrderedBits::kEnd) found = open_.next(0);
        return found == OrderedBits::kEnd ? kNone : corners_[found];
    }

    // Tells whether an open corner is an ear. One that is not is open no more.
    bool test(Index tip, Care care) {
        if (care == Care::None) return true;
        const Corner& b = ring_[tip];
        const double ear_area = area(ring_[b.previous], b, ring_[b.next]);
        if (ear_area == 0 && care == Care::Touching) return true;

        // No reflex corner may lie in it.
        Index obstacle = kNone;
        if (ear_area > 0 && (obstacle = reflex_.find(tip, care == Care::Touching)) == kNone)
            return true;
        open_.erase(rank_[tip]);
        if (obstacle != kNone) watch(tip, obstacle);
        return false;
    }

    // Takes a corner out of the ring.
    void clip(Index tip) {
        const auto [before, after] = std::pair(ring_[tip].previous, ring_[tip].next);
        ring_[before].next = after;
        ring_[after].previous = before;
        open_.erase(rank_[tip]);
        remove(tip);
        unwatch(tip);
        for (const Index changed : {before, after}) {
            const bool convex = is_convex(changed);
            if (convex) remove(changed);
            reflex_.mark(changed, !convex);
            open(changed);
        }
    }

    void open_all(Index start) {
        Index i = start;
        do open(i);
        while ((i = ring_[i].next) != start);
    }

  private:
    // Corners that are no ears because of the same obstacle are in a list of it.
    struct Watch {
        Index obstacle = kNone, previous = kNone, next = kNone;
        Index first = kNone;  // of those whose obstacle this corner is
    };

    bool is_convex(Index i) const {
        return area(ring_[ring_[i].previous], ring_[i], ring_[ring_[i].next]) > 0;
    }

    void open(Index i) {
        unwatch(i);
        open_.insert(rank_[i]);
    }

    void watch(Index tip, Index obstacle) {
        Index& first = watch_[obstacle].first;
        watch_[tip].obstacle = obstacle;
        watch_[tip].previous = kNone;
        watch_[tip].next = first;
        if (first != kNone) watch_[first].previous = tip;
        first = tip;
    }

    void unwatch(Index tip) {
        Watch& own = watch_[tip];
        if (own.obstacle == kNone) return;
        (own.previous == kNone ? watch_[own.obstacle].first : watch_[own.previous].next) = own.next;
        if (own.next != kNone) watch_[own.next].previous = own.previous;
        own.obstacle = kNone;
    }

    // A corner is in nobody's way any more.
    void remove(Index obstacle) {
        reflex_.mark(obstacle, false);
        while (watch_[obstacle].first != kNone) open(watch_[obstacle].first);
    }

    Ring& ring_;
    CornerTree reflex_;
    OrderedBits open_;  // ranks of the corners that may be ears
    std::vector<std::size_t> rank_;
    std::vector<Index> corners_;  // by rank, the order along the ring
    std::vector<Watch> watch_;
};

}  // namespace

void clip_ears(Ring& ring, Index start, std::vector<std::array<std::uint32_t, 3>>& triangles) {
    Clipping clipping(ring, start);
    Care care = Care::Full;
    Index from = start;
    for (std::size_t left = clipping.size(); left >= 3;) {
        const Index tip = clipping.first_open(from);
        if (tip == kNone) {
            care = care == Care::Full ? Care::Touching : Care::None;
            from = ring[from].next;
            clipping.open_all(from);
            continue;
        }
        if (!clipping.test(tip, care)) continue;
        const Corner b = ring[tip];
        const std::uint32_t a = ring[b.previous].vertex, c = ring[b.next].vertex;
        if (a != b.vertex && b.vertex != c && c != a) triangles.push_back({a, b.vertex, c});
        clipping.clip(tip);

        // The corner after next: ears side by side would make slivers.
        from = ring[b.next].next;
        --left;
    }
}

}  // namespace orvane::scene
