// Bytes that travel in the alpha channel of a picture, one a pixel, from the top row down and
// from left to right.
#pragma once

#include <string>
#include <string_view>

#include "image/image.h"

namespace orvane::image {

// Lays bytes into the alpha channel, as far as there are pixels. The pixel behind them gets 0,
// all others 1, so that a picture shows where it carries nothing.
void put_alpha_bytes(Image& image, std::string_view bytes);

// The bytes of all pixels: alpha times 255, truncated, of which the low 8 bits count.
std::string alpha_bytes(const Image& image);

}  // namespace orvane::image
