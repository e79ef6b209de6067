// Finds corners of a ring in triangles.
#pragma once

#include <functional>
#include <vector>

#include "scene/ring.h"

namespace orvane::scene {

// A tree of boxes over all corners of a ring, some of which are marked. Corners keep their places.
class CornerTree {
  public:
    explicit CornerTree(const Ring& ring);

    void mark(Index corner, bool marked);
    bool marked(Index corner) const { return marked_[corner]; }

    // Some marked corner in the triangle at a tip or on its edge, not a corner of it; kNone when
    // there is none. Which one is chosen at random: corners that many find would cost all of them
    // another search when they go. With touching allowed, those at a corner's point do not count.
    Index find(Index tip, bool touching_allowed) const;

  private:
    struct Box {
        double low_x, low_y, high_x, high_y;
        std::size_t marked = 0;  // in it
    };
    struct Search;

    void build(std::size_t node, std::size_t begin, std::size_t end);
    Index find(const Search& search, std::size_t node, std::size_t begin, std::size_t end) const;

    const Ring& ring_;
    std::vector<Index> order_;  // the corners, those of a box side by side
    std::vector<std::size_t> leaf_;
    std::vector<bool> marked_;
    std::vector<Box> boxes_;  // the children of i are 2 i + 1 and 2 i + 2
};

}  // namespace orvane::scene
