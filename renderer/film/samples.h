// The colours that have been sampled so far, pixel by pixel.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include "film/tiles.h"
#include "frame/types.h"

namespace orvane::film {

using Channels = std::array<float, 4>;

inline Channels channels(const miColor& color) { return {color.r, color.g, color.b, color.a}; }

// From the smallest to the largest value of each channel.
struct Range {
    Channels low, high;

    static Range empty() {
        constexpr float kMost = std::numeric_limits<float>::max();
        return {{kMost, kMost, kMost, kMost}, {-kMost, -kMost, -kMost, -kMost}};
    }
    void include(const Range& other) {
        for (std::size_t i = 0; i < low.size(); ++i) {
            low[i] = std::min(low[i], other.low[i]);
            high[i] = std::max(high[i], other.high[i]);
        }
    }
    void include(const Channels& value) { include(Range{value, value}); }

    // Whether a channel varies by more than factor times the contrast.
    bool exceeds(const miColor& contrast, float factor = 1) const;
};

// The number of samples of a level, a power of four.
inline std::uint32_t samples_of(int level) { return 1u << (2 * level); }

// What the pixels of a window have got. All pixels with samples begin with those of the base
// level; any of them may then be raised by one level after the other.
//
// A pixel takes 65 bytes. When the samples themselves are kept, for filters that reach further
// than the pixel, it is 16 bytes a sample more, and 4 a pixel for each level above the base.
//
// Threads may add to different pixels at the same time.
class Samples {
  public:
    Samples(const Rect& window, int base_level, bool keep);

    const Rect& window() const { return window_; }
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y - window_.y0) *
                   static_cast<std::size_t>(window_.width()) +
               static_cast<std::size_t>(x - window_.x0);
    }

    // Makes room to raise the wanted pixels (not 0) to a level.
    void reserve(const std::vector<std::uint8_t>& wanted, int level);

    // Adds a sample; in order of their numbers in each pixel.
    void add(std::size_t pixel, std::uint32_t number, const miColor& color);

    // Declares that a pixel has all samples of a level.
    void set_level(std::size_t pixel, int level) {
        levels_[pixel] = static_cast<std::int8_t>(level);
    }

    // The pixel has 4^level samples; with a level of -1 it has none.
    int level(std::size_t pixel) const { return levels_[pixel]; }
    bool has_samples(std::size_t pixel) const { return levels_[pixel] >= 0; }

    // Range of a pixel's samples, clamped to 0..1: what is brighter than white counts as white,
    // so that highlights are not sampled for differences that no picture shows.
    const Range& range(std::size_t pixel) const { return cells_[pixel].range; }

    // Mean of a pixel's samples, 0 when it has none.
    miColor mean(std::size_t pixel) const;

    // Calls take(number, color) for the samples of a pixel that were kept, in order.
    template <typename Take>
    void for_each(std::size_t pixel, const Take& take) const {
        for (std::size_t group = 0; static_cast<int>(group) <= level(pixel) - base_level_; ++group)
            for (std::uint32_t i = 0; i < count_in(group); ++i)
                take(first_in(group) + i, kept_[group].colors[slot(pixel, group) + i]);
    }

  private:
    struct Cell {
        std::array<double, 4> sum{};
        Range range = Range::empty();
    };

    // The samples that raise pixels by one level; those of the base level are group 0, where
    // each pixel has its place. Otherwise place is that of a pixel among those raised.
    struct Group {
        std::vector<std::uint32_t> place;
        std::vector<miColor> colors;
    };

    std::uint32_t first_in(std::size_t group) const {
        return group == 0 ? 0 : samples_of(base_level_ + static_cast<int>(group) - 1);
    }
    std::uint32_t count_in(std::size_t group) const {
        return samples_of(base_level_ + static_cast<int>(group)) - first_in(group);
    }
    std::size_t slot(std::size_t pixel, std::size_t group) const {
        return (group == 0 ? pixel : kept_[group].place[pixel]) * count_in(group);
    }

    Rect window_;
    int base_level_;
    bool keep_;
    std::vector<Cell> cells_;
    std::vector<std::int8_t> levels_;
    std::vector<Group> kept_;
};

}  // namespace orvane::film
