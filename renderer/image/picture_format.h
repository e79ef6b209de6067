// The picture formats that can be written, and how each stores a frame buffer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvane::image {

enum class Sample { Byte, Word, Half, Float, Rgbe };  // Rgbe: floats that cannot be negative

struct PictureFormat {
    std::string_view name;     // in a scene, or as a file's extension
    std::string_view writer;   // what OpenImageIO calls it
    std::string_view samples;  // that it can store, by first letter
    bool one_channel;          // can store a single channel
    bool alpha;
};

// The format of that name, in whichever case, or nullptr when it cannot be written.
const PictureFormat* find_format(std::string_view name);

struct PictureLayout {
    Sample sample;
    std::vector<int> channels;  // which of a pixel's r, g, b, a (0..3) are stored, in order
    std::string channel_name;   // of a single channel
    bool is_color;              // clipped, encoded and dithered in integer formats
};

// How a format stores a frame buffer of a type of the scene language; "" is rgba. A format that
// cannot hold the type's sample, single channel or alpha gets the next best sample, the channel
// three times, or no alpha. Throws std::invalid_argument for a type that is unknown.
PictureLayout layout_of(std::string_view type, const PictureFormat& format);

}  // namespace orvane::image
