// Images from picture files and from the bytes of a scene text.

#include <algorithm>
#include <bit>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <span>
#include <stdexcept>
#include <system_error>

#include "image/codec.h"
#include "image/image.h"
#include "scene/errors.h"
#include "scene/memory.h"

namespace orvane::image {
namespace {

// Beyond these values a blend of pixels might not be finite.
constexpr float kLargest = 1e38f;

float finite(float x) { return std::isnan(x) ? 0 : std::clamp(x, -kLargest, kLargest); }

void make_finite(miColor& c) { c = {finite(c.r), finite(c.g), finite(c.b), finite(c.a)}; }

void raise(miColor& c, float exponent) {
    c.r = std::pow(c.r, exponent);
    c.g = std::pow(c.g, exponent);
    c.b = std::pow(c.b, exponent);
}

Error cannot_read(const std::filesystem::path& file, const std::string& reason) {
    // The library's messages may go over several lines: the first one says what is wrong.
    const std::string line = reason.substr(0, reason.find_first_of("\r\n"));
    return Error(Exit::Input, "error: cannot read picture \"" + file.string() +
                                  "\": " + (line.empty() ? "unknown error" : line));
}

// Refuses with the system's own words what cannot be opened. A pipe or a device might never end,
// and pictures are read more than once.
void check_file(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (std::filesystem::is_directory(status)) throw cannot_read(file, std::strerror(EISDIR));
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw cannot_read(file, "it is not a regular file");
    if (std::ifstream(file, std::ios::binary)) return;
    check_memory(errno);
    throw cannot_read(file, std::strerror(errno));
}

// Turns the channels that a file of 1, 2 or 3 channels has filled into r, g, b, a.
void complete(std::span<miColor> pixels, int channels) {
    if (channels > 3) return;
    for (miColor& c : pixels) {
        const float alpha = channels == 2 ? c.g : 1;
        c = channels == 3 ? miColor{c.r, c.g, c.b, 1} : miColor{c.r, c.r, c.r, alpha};
    }
}

// A big-endian number of the given bytes; 4 bytes are a float, fewer a fraction of 0..1.
float component(const std::uint8_t* bytes, int depth) {
    std::uint32_t value = 0;
    for (int i = 0; i < depth; ++i) value = value << 8 | bytes[i];
    if (depth == 4) return std::bit_cast<float>(value);
    return static_cast<float>(value) / (depth == 1 ? 255.0f : 65535.0f);
}

Decoded decode_checked(const std::filesystem::path& file, bool pixels) {
    check_file(file);
    try {
        Decoded picture = decode(file, pixels);
        if (!is_sound_size(picture.width, picture.height))
            throw std::runtime_error("its size is not sound");
        return picture;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::length_error&) {  // a library asked for more than any machine holds
        throw cannot_read(file, "its size is not sound");
    } catch (const std::exception& fault) {
        throw cannot_read(file, fault.what());
    }
}

}  // namespace

PictureHeader read_header(const std::filesystem::path& file) {
    const Decoded picture = decode_checked(file, false);
    return {picture.width, picture.height, picture.channels == 2 || picture.channels == 4,
            picture.is_8_bit};
}

bool is_picture_name(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    if (extension.size() < 2) return false;
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".png") return true;
    return (',' + other_formats().extensions() + ',').find(',' + extension.substr(1) + ',') !=
           std::string::npos;
}

Image read_image(const std::filesystem::path& file, float gamma) {
    Decoded picture = decode_checked(file, true);
    Image& image = picture.image;
    const std::span<miColor> pixels(&image.at(0, 0), image.pixels().size());
    complete(pixels, picture.channels);
    if (gamma != 1 && !picture.is_float) {
        for (miColor& c : pixels) raise(c, 1 / gamma);
    }
    std::ranges::for_each(pixels, make_finite);
    return std::move(image);
}

Image image_from_bytes(int width, int height, int depth, const std::vector<std::uint8_t>& bytes,
                       float gamma) {
    if (!is_sound_size(width, height)) throw std::invalid_argument("the size is not sound");
    if (depth != 1 && depth != 2 && depth != 4) {
        throw std::invalid_argument("components have 1, 2 or 4 bytes");
    }

    // Find whether the pixels have 3 or 4 components.
    const std::size_t plane = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                              static_cast<std::size_t>(depth);
    if (bytes.size() != 3 * plane && bytes.size() != 4 * plane) {
        throw std::invalid_argument("the bytes are neither 3 nor 4 components a pixel");
    }
    const bool has_alpha = bytes.size() == 4 * plane;

    Image image(width, height);
    const std::uint8_t* next = bytes.data();
    const auto take = [&] {
        const float value = component(next, depth);
        next += depth;
        return value;
    };
    for (miColor& c : std::span(&image.at(0, 0), image.pixels().size())) {
        c.r = take();
        c.g = take();
        c.b = take();
        c.a = has_alpha ? take() : 1;
        if (gamma != 1 && depth != 4) raise(c, 1 / gamma);
        make_finite(c);
    }
    return image;
}

}  // namespace orvane::image
