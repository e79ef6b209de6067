// Where the samples of a pixel lie, in space and in time.
#pragma once

#include <cstdint>
#include <vector>

namespace orvane::film {

// A position within a pixel, 0..1.
struct Offset {
    float x, y;
};

// The key of all that is random about a pixel of the frame, and about one of its samples.
std::uint64_t pixel_key(int x, int y);
std::uint64_t sample_key(std::uint64_t pixel, std::uint32_t number);

// The same sequence of positions in all pixels: of its 4^level points, the first 4^n fall one
// each into the cells of a 2^n x 2^n grid, and one each into 4^n rows and columns. The first
// point is near the centre; that of level 0 is the centre.
class Pattern {
  public:
    // jitter in 0..1 moves each sample within its cell of the finest grid, from its place in the
    // sequence (0) to one that is random (1).
    Pattern(int level, float jitter);

    Offset position(std::uint64_t sample, std::uint32_t number) const;

  private:
    float jitter_;
    float cell_;  // width of a cell of the finest grid
    std::vector<Offset> points_;
};

// The time of a sample, 0..1: the first 4^n samples of a pixel fall one each into as many equal
// intervals, in an order of the pixel's own.
float sample_time(std::uint64_t pixel, std::uint32_t number);

}  // namespace orvane::film
