// From rendered values to the numbers that a picture file stores.

#include "image/stored_values.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace orvane::image {
namespace {

using ColorClip = scene::Options::ColorClip;

// Written so that what is not a number becomes 0.
float unit(float x) { return x > 0 ? std::min(x, 1.0f) : 0; }

miColor finite(miColor c, float lowest, float largest) {
    const auto limited = [=](float x) {
        return std::isnan(x) ? 0 : std::clamp(x, lowest, largest);
    };
    return {limited(c.r), limited(c.g), limited(c.b), limited(c.a)};
}

// Pulls r, g, b towards their luminance (ITU-R BT.709) just so far that all lie in 0..top.
void desaturate(miColor& c, float top) {
    const float high = std::max({c.r, c.g, c.b}), low = std::min({c.r, c.g, c.b});
    const float grey = std::clamp(0.2126f * c.r + 0.7152f * c.g + 0.0722f * c.b, 0.0f, top);
    float kept = 1;
    if (high > top) kept = std::min(kept, (top - grey) / (high - grey));
    if (low < 0) kept = std::min(kept, grey / (grey - low));
    if (kept == 1) return;
    for (float* x : {&c.r, &c.g, &c.b}) *x = grey + (*x - grey) * kept;
}

// Brings the channels into 0..1, by the mode: Rgb keeps the colour and raises alpha to its largest
// channel, Alpha keeps alpha and clips the colour to it, Raw takes each channel alone.
void clip(miColor& c, ColorClip mode) {
    const float top = mode == ColorClip::Alpha ? unit(c.a) : 1;
    for (float* x : {&c.r, &c.g, &c.b}) *x = std::clamp(*x, 0.0f, top);
    c.a = unit(mode == ColorClip::Rgb ? std::max({c.a, c.r, c.g, c.b}) : c.a);
}

// Offset in steps, between -1/2 and 1/2, of a pixel in the 8x8 ordered pattern (B. Bayer, 1973):
// the bits of x ^ y and y interleaved, the lowest first.
float dither_offset(int x, int y) {
    int rank = 0;
    for (int bit = 0; bit < 3; ++bit) {
        rank = rank * 4 + (((x ^ y) >> bit & 1) * 2 + (y >> bit & 1));
    }
    return (static_cast<float>(rank) + 0.5f) / 64 - 0.5f;
}

template <typename T>
void put(std::uint8_t*& next, T value) {
    std::memcpy(next, &value, sizeof value);
    next += sizeof value;
}

void put_channel(std::uint8_t*& next, Sample sample, float value, float offset) {
    switch (sample) {
        case Sample::Byte:
            put(next, static_cast<std::uint8_t>(unit(value) * 255 + 0.5f + offset));
            break;
        case Sample::Word:
            put(next, static_cast<std::uint16_t>(unit(value) * 65535 + 0.5f));
            break;
        default:
            put(next, value);
    }
}

}  // namespace

miColor displayed(miColor c, const PictureSettings& settings) {
    if (settings.desaturate) {
        desaturate(c, settings.colorclip == ColorClip::Alpha ? unit(c.a) : 1);
    }
    clip(c, settings.colorclip);
    for (float* x : {&c.r, &c.g, &c.b}) {
        if (!settings.premultiply && c.a > 0) *x = std::min(*x / c.a, 1.0f);
        if (settings.gamma != 1) *x = std::pow(*x, settings.gamma);
    }
    return c;
}

std::vector<std::uint8_t> stored_values(const Image& image, const PictureLayout& layout,
                                        const PictureSettings& settings) {
    const bool byte = layout.sample == Sample::Byte, word = layout.sample == Sample::Word;
    const bool shown = layout.is_color && (byte || word);
    const bool dithered = layout.is_color && byte && settings.dither;
    constexpr float kHalfLargest = 65504;
    const float largest =
        layout.sample == Sample::Half ? kHalfLargest : std::numeric_limits<float>::max();
    const float lowest = layout.sample == Sample::Rgbe ? 0 : -largest;

    std::vector<std::uint8_t> values(image.pixels().size() * layout.channels.size() *
                                     (byte   ? 1
                                      : word ? 2
                                             : 4));
    std::uint8_t* next = values.data();
    for (int y = image.height() - 1; y >= 0; --y) {
        for (int x = 0; x < image.width(); ++x) {
            miColor c = finite(image.at(x, y), lowest, largest);
            if (shown) c = displayed(c, settings);
            const float channels[] = {c.r, c.g, c.b, c.a};

            // One offset for all channels keeps colour at or below alpha.
            const float offset = dithered ? dither_offset(x, y) : 0;
            for (const int channel : layout.channels) {
                put_channel(next, layout.sample, channels[channel], offset);
            }
        }
    }
    return values;
}

}  // namespace orvane::image
