// From rendered values to the numbers that a picture file stores.
#pragma once

#include <vector>

#include "image/image.h"
#include "image/picture_file.h"
#include "image/picture_format.h"

namespace orvane::image {

// The values of the layout's channels, pixel by pixel from the top row down, as the numbers of
// its sample: 8 bits, 16 bits in the machine's order, or floats for Half, Float and Rgbe.
std::vector<std::uint8_t> stored_values(const Image& image, const PictureLayout& layout,
                                        const PictureSettings& settings);

// The colour that integer samples show, all in 0..1: desaturated, clipped, divided by alpha and
// encoded, in this order, as the settings ask.
miColor displayed(miColor color, const PictureSettings& settings);

}  // namespace orvane::image
