// The filters, and their application to the tiles of a frame.
#include "film/filter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace orvane::film {

namespace {

// D. Mitchell and A. Netravali, "Reconstruction Filters in Computer Graphics", 1988, with
// B = C = 1/3, for 0 <= x < 2.
float mitchell(float x) {
    if (x < 1) return (7 * x * x * x - 12 * x * x + 16.0f / 3) / 6;
    return (-7.0f / 3 * x * x * x + 12 * x * x - 20 * x + 32.0f / 3) / 6;
}

float sinc(float x) {
    const float angle = std::numbers::pi_v<float> * x;
    return std::abs(angle) < 1e-4f ? 1 : std::sin(angle) / angle;
}

// The samples around one pixel so far: their weighted sum, and their range for clipping.
struct Sum {
    std::array<double, 4> color{};
    double weight = 0;
    Range range = Range::empty();

    void add(const Channels& value, double sample_weight) {
        for (std::size_t i = 0; i < value.size(); ++i) color[i] += sample_weight * value[i];
        weight += sample_weight;
    }
};

// Adds one sample to all pixels of the tile that it is near to.
class Spreader {
  public:
    Spreader(const Kernel& kernel, const Rect& tile)
        : kernel_(kernel),
          tile_(tile),
          reach_x_(reach(kernel.width)),
          reach_y_(reach(kernel.height)),
          columns_(static_cast<std::size_t>(2 * reach_x_ + 1)),
          sums_(static_cast<std::size_t>(tile.width()) * static_cast<std::size_t>(tile.height())) {}

    const Sum& sum(int x, int y) const { return sums_[index(x, y)]; }

    // The pixels that have samples for the tile, within a window.
    Rect sources(const Rect& window) const {
        return {std::max(window.x0, tile_.x0 - reach_x_), std::max(window.y0, tile_.y0 - reach_y_),
                std::min(window.x1, tile_.x1 + reach_x_), std::min(window.y1, tile_.y1 + reach_y_)};
    }

    void spread(int x, int y, const Offset& offset, const Channels& color, float share) {
        const int first_x = std::max(x - reach_x_, tile_.x0);
        const int last_x = std::min(x + reach_x_, tile_.x1 - 1);
        for (int tx = first_x; tx <= last_x; ++tx)
            columns_[static_cast<std::size_t>(tx - first_x)] =
                axis_weight(x - tx, offset.x, kernel_.width);

        const int last_y = std::min(y + reach_y_, tile_.y1 - 1);
        for (int ty = std::max(y - reach_y_, tile_.y0); ty <= last_y; ++ty) {
            const float row = axis_weight(y - ty, offset.y, kernel_.height) * share;
            if (row == 0) continue;
            for (int tx = first_x; tx <= last_x; ++tx) {
                const float column = columns_[static_cast<std::size_t>(tx - first_x)];
                if (column == 0) continue;
                Sum& sum = sums_[index(tx, ty)];
                sum.add(color, row * column);
                if (kernel_.clip) sum.range.include(color);
            }
        }
    }

  private:
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y - tile_.y0) * static_cast<std::size_t>(tile_.width()) +
               static_cast<std::size_t>(x - tile_.x0);
    }
    float axis_weight(int pixels, float offset, float width) const {
        const float distance = static_cast<float>(pixels) + offset - 0.5f;
        return weight(kernel_.shape, distance / (width / 2));
    }

    Kernel kernel_;
    Rect tile_;
    int reach_x_, reach_y_;
    std::vector<float> columns_;  // weights along the row that the sample is spread over
    std::vector<Sum> sums_;
};

// The weighted mean. A filter that is narrower than the distance of the samples may have met
// none, and one with negative weights may have cancelled out: then it is the pixel's own mean.
miColor result(const Sum& sum, const Kernel& kernel, const miColor& own_mean) {
    if (sum.weight < 1e-3) return own_mean;
    Channels color;
    for (std::size_t i = 0; i < color.size(); ++i) {
        constexpr double kMost = std::numeric_limits<float>::max();
        color[i] = static_cast<float>(std::clamp(sum.color[i] / sum.weight, -kMost, kMost));
        if (kernel.clip) color[i] = std::clamp(color[i], sum.range.low[i], sum.range.high[i]);
    }
    return {color[0], color[1], color[2], color[3]};
}

}  // namespace

float natural_width(scene::Filter shape) {
    switch (shape) {
        case scene::Filter::Box:
            return 1;
        case scene::Filter::Triangle:
            return 2;
        case scene::Filter::Gauss:
            return 3;
        case scene::Filter::Mitchell:
            return 4;
        case scene::Filter::Lanczos:
            return 4;
    }
    return 1;
}

// Those with samples within half the width of a pixel's middle.
int reach(float width) { return std::max(0, static_cast<int>(std::ceil(width / 2 - 0.5f))); }

float weight(scene::Filter shape, float distance) {
    const float x = std::abs(distance);
    if (!(distance >= -1 && distance < 1)) return 0;
    switch (shape) {
        case scene::Filter::Box:
            return 1;
        case scene::Filter::Triangle:
            return 1 - x;
        // exp(-2 d^2) at the natural width, lowered so that it ends at 0.
        case scene::Filter::Gauss:
            return std::exp(-4.5f * x * x) - std::exp(-4.5f);
        case scene::Filter::Mitchell:
            return mitchell(2 * x);
        case scene::Filter::Lanczos:
            return sinc(2 * x) * sinc(x);
    }
    return 0;
}

void filter_tile(const Samples& samples, const Pattern& pattern, const Kernel& kernel,
                 const Rect& tile, image::Image& image) {
    // All tiles visit the samples row by row, so that the order of the sums is always the same.
    Spreader spreader(kernel, tile);
    const Rect sources = spreader.sources(samples.window());
    for (int y = sources.y0; y < sources.y1; ++y)
        for (int x = sources.x0; x < sources.x1; ++x) {
            const std::size_t pixel = samples.index(x, y);
            if (!samples.has_samples(pixel)) continue;
            const std::uint64_t key = pixel_key(x, y);
            const float share = 1 / static_cast<float>(samples_of(samples.level(pixel)));
            samples.for_each(pixel, [&](std::uint32_t number, const miColor& color) {
                const Offset offset = pattern.position(sample_key(key, number), number);
                spreader.spread(x, y, offset, channels(color), share);
            });
        }

    for (int y = tile.y0; y < tile.y1; ++y)
        for (int x = tile.x0; x < tile.x1; ++x) {
            const std::size_t pixel = samples.index(x, y);
            if (samples.has_samples(pixel))
                image.at(x, y) = result(spreader.sum(x, y), kernel, samples.mean(pixel));
        }
}

}  // namespace orvane::film
