// The store of the samples.
#include "film/samples.h"

#include <algorithm>
#include <bit>

namespace orvane::film {

bool Range::exceeds(const miColor& contrast, float factor) const {
    const Channels most = channels(contrast);
    for (std::size_t i = 0; i < low.size(); ++i)
        if (high[i] - low[i] > factor * most[i]) return true;
    return false;
}

Samples::Samples(const Rect& window, int base_level, bool keep)
    : window_(window), base_level_(base_level), keep_(keep) {
    const std::size_t pixels =
        static_cast<std::size_t>(window.width()) * static_cast<std::size_t>(window.height());
    cells_.resize(pixels);
    levels_.assign(pixels, -1);
}

void Samples::reserve(const std::vector<std::uint8_t>& wanted, int level) {
    if (!keep_) return;
    const std::size_t number = static_cast<std::size_t>(level - base_level_);
    if (kept_.size() <= number) kept_.resize(number + 1);
    Group& group = kept_[number];
    if (number == 0) {
        group.colors.resize(cells_.size() * count_in(0));
        return;
    }
    group.place.resize(cells_.size());
    std::uint32_t place = 0;
    for (std::size_t pixel = 0; pixel < wanted.size(); ++pixel)
        if (wanted[pixel]) group.place[pixel] = place++;
    group.colors.resize(std::size_t{place} * count_in(number));
}

void Samples::add(std::size_t pixel, std::uint32_t number, const miColor& color) {
    Cell& cell = cells_[pixel];
    const Channels values = channels(color);
    Channels clamped;
    for (std::size_t i = 0; i < values.size(); ++i) {
        cell.sum[i] += values[i];
        clamped[i] = std::clamp(values[i], 0.0f, 1.0f);
    }
    cell.range.include(clamped);
    if (!keep_) return;

    const int level = (std::bit_width(number) + 1) / 2;
    const std::size_t group = static_cast<std::size_t>(std::max(0, level - base_level_));
    kept_[group].colors[slot(pixel, group) + number - first_in(group)] = color;
}

miColor Samples::mean(std::size_t pixel) const {
    if (!has_samples(pixel)) return {};
    const std::array<double, 4>& sum = cells_[pixel].sum;
    const double weight = 1.0 / samples_of(level(pixel));
    return {static_cast<float>(sum[0] * weight), static_cast<float>(sum[1] * weight),
            static_cast<float>(sum[2] * weight), static_cast<float>(sum[3] * weight)};
}

}  // namespace orvane::film
