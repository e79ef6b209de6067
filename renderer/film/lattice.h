// Fewer samples than pixels: a coarse lattice of samples that is refined where it has to be.
#pragma once

#include <functional>
#include <vector>

#include "film/samples.h"

namespace orvane::film {

// Covers a part of a frame with square blocks whose corners are pixels and shared by neighbours:
// those whose coordinates are multiples of the spacing. The frame's last column and row of pixels
// are corners too, so that the blocks there may be smaller.
class Lattice {
  public:
    // The blocks that an area touches, corners included, as a part of the frame.
    static Rect blocks_at(const Rect& area, int spacing, const Rect& frame);

    // The part must be made of whole blocks.
    Lattice(const Rect& part, int spacing);

    // Marks the corners of the blocks that split() left to be looked at, as far as they have no
    // samples. Returns whether there are any.
    bool mark_corners(const Samples& samples, std::vector<std::uint8_t>& wanted) const;

    // Splits the blocks whose corners differ by more than contrast into blocks of half the
    // spacing; the others are settled.
    void split(const Samples& samples, const miColor& contrast);

    // Gives each pixel without samples the colour between the corners of the smallest block
    // around it, as its one sample, and calls copy for the rest with the corner next to it.
    // Leaves blocks alone whose corners have not all been sampled.
    using Copy = std::function<void(int x, int y, int from_x, int from_y)>;
    void fill(Samples& samples, const Copy& copy) const;

  private:
    std::vector<Rect> active_, settled_;  // x1, y1: the far corner, included
    int spacing_;
};

}  // namespace orvane::film
