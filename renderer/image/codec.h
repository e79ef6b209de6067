// Picture files as their libraries see them: PNG through libpng, OpenEXR (written) through its own
// library, all other formats through OpenImageIO. That one is a module of its own beside the
// program, loaded when one of its formats is met: with the 250 libraries that it needs it takes a
// quarter of a second to load, and most pictures are PNG and OpenEXR.
//
// All functions throw std::runtime_error with what the library says.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "image/image.h"
#include "image/picture_file.h"
#include "image/picture_format.h"

namespace orvane::image {

struct Encoding {
    const PictureFormat& format;
    const PictureLayout& layout;
    const PictureSettings& settings;
    int width, height;
    const std::vector<std::uint8_t>& values;  // as stored_values() gives them
};

struct Decoded {
    int width, height, channels;
    bool is_float, is_8_bit;
    std::shared_ptr<Texels> texels;  // rows bottom first; words of floats are halves
};

// Keeps a broken header from taking all memory: 4 GB are room for 16384 x 16384 pixels.
inline bool is_sound_size(std::int64_t width, std::int64_t height) {
    constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;
    return width > 0 && height > 0 && width <= kMostPixels && width * height <= kMostPixels;
}

// Throws when a file of so many bytes cannot hold the picture that its header tells of: taken at
// its word, a header of 300 bytes would take all memory. Blank pictures pack tightly, one bit for
// a line of pixels at the best, so what takes little memory passes and the rest has a wide margin.
// tightest: how many bytes of pixels a byte of the file can stand for.
void check_size(std::int64_t width, std::int64_t height, std::int64_t bytes_a_pixel,
                const std::filesystem::path& file, std::int64_t tightest = 4096);

bool is_png(const std::filesystem::path& file);
Decoded decode_png(const std::filesystem::path& file, bool pixels);
std::vector<std::uint8_t> encode_png(const Encoding& picture);

std::vector<std::uint8_t> encode_exr(const Encoding& picture);

// What the module of the other formats exports, under the name orvane_other_formats.
struct OtherFormats {
    Decoded (*decode)(const std::filesystem::path& file, bool pixels);
    std::vector<std::uint8_t> (*encode)(const Encoding& picture);
    std::string (*extensions)();  // of all formats that it can read: "png,tif,tiff,..."
};
const OtherFormats& other_formats();

// The right one of them.
Decoded decode(const std::filesystem::path& file, bool pixels);
std::vector<std::uint8_t> encode(const Encoding& picture);

}  // namespace orvane::image
