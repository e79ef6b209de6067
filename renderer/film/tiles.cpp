// Tiles and the threads that take them from a common counter.
#include "film/tiles.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>

namespace orvane::film {

namespace {

// The size that is chosen: less than usual where there would be few tiles for each thread.
int automatic_size(const Rect& area, int threads) {
    const double pixels = static_cast<double>(area.width()) * area.height();
    int size = 32;
    while (size > 8 && pixels < 8.0 * threads * size * size) size /= 2;
    return size;
}

}  // namespace

Rect grown(const Rect& rect, int columns, int rows, const Rect& bounds) {
    return {std::max(rect.x0 - columns, bounds.x0), std::max(rect.y0 - rows, bounds.y0),
            std::min(rect.x1 + columns, bounds.x1), std::min(rect.y1 + rows, bounds.y1)};
}

std::vector<Rect> cut_into_tiles(const Rect& area, int size, int threads) {
    std::vector<Rect> tiles;
    if (area.empty()) return tiles;
    if (size <= 0) size = automatic_size(area, threads);
    size = std::min(size, std::max(area.width(), area.height()));
    for (int y = area.y0; y < area.y1; y += size)
        for (int x = area.x0; x < area.x1; x += size)
            tiles.push_back({x, y, std::min(x + size, area.x1), std::min(y + size, area.y1)});
    return tiles;
}

void for_each_tile(const std::vector<Rect>& tiles, int threads,
                   const std::function<void(const Rect&, int thread)>& work) {
    std::atomic<std::size_t> next = 0;
    std::mutex mutex;
    std::exception_ptr failure;
    const auto take_tiles = [&](int thread) {
        try {
            for (std::size_t tile; (tile = next++) < tiles.size();) work(tiles[tile], thread);
        } catch (...) {
            const std::lock_guard lock(mutex);
            if (!failure) failure = std::current_exception();
            next = tiles.size();
        }
    };

    {
        std::vector<std::jthread> others;
        const int wanted = std::min(threads, static_cast<int>(tiles.size()));
        try {
            for (int thread = 1; thread < wanted; ++thread) others.emplace_back(take_tiles, thread);
        } catch (...) {
            next = tiles.size();
            throw;
        }
        take_tiles(0);
    }
    if (failure) std::rethrow_exception(failure);
}

}  // namespace orvane::film
