// Rectangles of pixels, and threads that work on them.
#pragma once

#include <functional>
#include <vector>

namespace orvane::film {

// Pixels from x0, y0 on; x1 and y1 are the first ones outside.
struct Rect {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    int width() const { return x1 - x0; }
    int height() const { return y1 - y0; }
    bool empty() const { return x1 <= x0 || y1 <= y0; }
    bool contains(int x, int y) const { return x >= x0 && x < x1 && y >= y0 && y < y1; }
};

// A rectangle with so many columns and rows more on each side, as far as the bounds have them.
Rect grown(const Rect& rect, int columns, int rows, const Rect& bounds);

// Cuts an area into tiles of size pixels square, row by row. A size of 0 gives tiles that are
// small enough to occupy all threads.
std::vector<Rect> cut_into_tiles(const Rect& area, int size, int threads);

// Calls work(tile, thread) once for each tile; the caller is thread 0 and works too. Returns
// when all is done. After an exception of work no more tiles are begun, and the first one is
// thrown on.
void for_each_tile(const std::vector<Rect>& tiles, int threads,
                   const std::function<void(const Rect&, int thread)>& work);

}  // namespace orvane::film
