// The lattice of samples that lie more than a pixel apart.
#include "film/lattice.h"

#include <algorithm>
#include <array>

namespace orvane::film {

namespace {

std::array<std::size_t, 4> corners(const Samples& samples, const Rect& block) {
    return {samples.index(block.x0, block.y0), samples.index(block.x1, block.y0),
            samples.index(block.x0, block.y1), samples.index(block.x1, block.y1)};
}

// Cuts the corners' rectangle into blocks of a spacing. One that has no width is one block.
void cut(const Rect& block, int spacing, std::vector<Rect>& blocks) {
    for (int y = block.y0; y == block.y0 || y < block.y1; y += spacing)
        for (int x = block.x0; x == block.x0 || x < block.x1; x += spacing)
            blocks.push_back(
                {x, y, std::min(x + spacing, block.x1), std::min(y + spacing, block.y1)});
}

// Position of a value between two, 0..1.
double between(int value, int from, int to) {
    return to == from ? 0 : static_cast<double>(value - from) / (to - from);
}

miColor bilinear(const std::array<miColor, 4>& corner, double u, double v) {
    const auto mix = [&](float miColor::*channel) {
        const double low = corner[0].*channel * (1 - u) + corner[1].*channel * u;
        const double high = corner[2].*channel * (1 - u) + corner[3].*channel * u;
        return static_cast<float>(low * (1 - v) + high * v);
    };
    return {mix(&miColor::r), mix(&miColor::g), mix(&miColor::b), mix(&miColor::a)};
}

void fill_block(const Rect& block, Samples& samples, const Lattice::Copy& copy) {
    const std::array<std::size_t, 4> pixels = corners(samples, block);
    std::array<miColor, 4> colors;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (!samples.has_samples(pixels[i])) return;
        colors[i] = samples.mean(pixels[i]);
    }
    for (int y = block.y0; y <= block.y1; ++y)
        for (int x = block.x0; x <= block.x1; ++x) {
            const std::size_t pixel = samples.index(x, y);
            if (samples.has_samples(pixel)) continue;
            const double u = between(x, block.x0, block.x1), v = between(y, block.y0, block.y1);
            samples.add(pixel, 0, bilinear(colors, u, v));
            samples.set_level(pixel, 0);
            copy(x, y, u < 0.5 ? block.x0 : block.x1, v < 0.5 ? block.y0 : block.y1);
        }
}

}  // namespace

Rect Lattice::blocks_at(const Rect& area, int spacing, const Rect& frame) {
    const auto down = [=](int x) { return std::max(x - 1, 0) / spacing * spacing; };
    const auto up = [=](int x, int end) {
        return std::min((x / spacing + 1) * spacing, end - 1) + 1;
    };
    return {down(area.x0), down(area.y0), up(area.x1 - 1, frame.x1), up(area.y1 - 1, frame.y1)};
}

Lattice::Lattice(const Rect& part, int spacing) : spacing_(spacing) {
    cut({part.x0, part.y0, part.x1 - 1, part.y1 - 1}, spacing, active_);
}

bool Lattice::mark_corners(const Samples& samples, std::vector<std::uint8_t>& wanted) const {
    bool any = false;
    for (const Rect& block : active_)
        for (std::size_t pixel : corners(samples, block)) {
            wanted[pixel] = !samples.has_samples(pixel);
            any = any || wanted[pixel];
        }
    return any;
}

void Lattice::split(const Samples& samples, const miColor& contrast) {
    spacing_ /= 2;
    std::vector<Rect> halves;
    for (const Rect& block : active_) {
        Range range = Range::empty();
        for (std::size_t pixel : corners(samples, block)) range.include(samples.range(pixel));
        if (range.exceeds(contrast))
            cut(block, spacing_, halves);
        else
            settled_.push_back(block);
    }
    active_ = std::move(halves);
}

void Lattice::fill(Samples& samples, const Copy& copy) const {
    // The smallest blocks come last, and a pixel that one has filled stays.
    for (const std::vector<Rect>* blocks : {&active_, &settled_})
        for (auto block = blocks->rbegin(); block != blocks->rend(); ++block)
            fill_block(*block, samples, copy);
}

}  // namespace orvane::film
