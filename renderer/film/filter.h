// Filters that weight samples by their distance from the middle of a pixel.
#pragma once

#include "film/pattern.h"
#include "film/samples.h"
#include "image/image.h"
#include "scene/records.h"

namespace orvane::film {

struct Kernel {
    scene::Filter shape;
    float width, height;  // pixels
    bool clip;            // the result stays within the range of the samples
};

// Width in pixels that a filter has by nature.
float natural_width(scene::Filter shape);

// Pixels to each side of one that may have samples for a filter of this width.
int reach(float width);

// Weight of a sample at distance from the middle, as a fraction of half the width; 0 outside
// -1 <= distance < 1. Not normalised.
float weight(scene::Filter shape, float distance);

// Writes the pixels of a tile: the weighted mean of the samples within reach, where all samples
// of a pixel together weigh as much as those of any other. There are no samples outside the
// window. Pixels without samples stay as they are.
void filter_tile(const Samples& samples, const Pattern& pattern, const Kernel& kernel,
                 const Rect& tile, image::Image& image);

}  // namespace orvane::film
