// Images from picture files and from the bytes of a scene text.

#include <half.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "image/codec.h"
#include "image/image.h"
#include "scene/errors.h"
#include "scene/memory.h"

namespace orvane::image {
namespace {

// Beyond these values a blend of pixels might not be finite.
constexpr float kLargest = 1e38f;

float finite(float x) { return std::isnan(x) ? 0 : std::clamp(x, -kLargest, kLargest); }

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

// Gives bytes and words their values: value(number), and that raised for colors of integers.
template <typename Value>
void give_values(Texels& texels, float gamma, Value value) {
    std::vector<float> color(texels.kind() == Texels::Kind::Byte ? 256 : 65536);
    for (std::uint32_t number = 0; number < color.size(); ++number) color[number] = value(number);
    std::vector<float> alpha = color;
    if (gamma != 1)
        for (float& x : color) x = std::pow(x, 1 / gamma);
    std::ranges::transform(color, color.begin(), finite);
    std::ranges::transform(alpha, alpha.begin(), finite);
    texels.set_values(std::move(color), std::move(alpha));
}

// Floats stand for themselves; gamma is of those that were read from integers.
void mend_floats(Texels& texels, float gamma) {
    auto* value = reinterpret_cast<float*>(texels.row(0));
    const auto channels = static_cast<std::size_t>(texels.channels());
    const std::size_t colors = channels - (texels.has_alpha() ? 1 : 0);
    for (std::size_t i = 0; i < texels.size() * channels; ++i) {
        if (gamma != 1 && i % channels < colors) value[i] = std::pow(value[i], 1 / gamma);
        value[i] = finite(value[i]);
    }
}

void give_meaning(Texels& texels, bool is_float, float gamma) {
    if (is_float) gamma = 1;
    if (texels.kind() == Texels::Kind::Float) return mend_floats(texels, gamma);
    const float scale = texels.kind() == Texels::Kind::Byte ? 1.0f / 255 : 1.0f / 65535;
    give_values(texels, gamma, [=](std::uint32_t number) {
        return is_float
                   ? static_cast<float>(half(half::FromBits, static_cast<std::uint16_t>(number)))
                   : static_cast<float>(number) * scale;
    });
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

Image read_texture(const std::filesystem::path& file, float gamma) {
    Decoded picture = decode_checked(file, true);
    give_meaning(*picture.texels, picture.is_float, gamma);
    return {picture.width, picture.height, std::move(picture.texels)};
}

Image read_image(const std::filesystem::path& file, float gamma) {
    const Image texture = read_texture(file, gamma);
    Image image(texture.width(), texture.height());
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) image.at(x, y) = texture.at(x, y);
    return image;
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
    using Kind = Texels::Kind;
    const Kind kind = depth == 1 ? Kind::Byte : depth == 2 ? Kind::Word : Kind::Float;
    auto texels = std::make_shared<Texels>(width, height, bytes.size() == 4 * plane ? 4 : 3, kind);

    // The bytes of a number are swapped where the machine has the lowest first.
    std::uint8_t* const kept = texels->row(0);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t last = static_cast<std::size_t>(depth) - 1;
        kept[std::endian::native == std::endian::little ? i ^ last : i] = bytes[i];
    }
    if (kind == Kind::Float) {
        mend_floats(*texels, 1);
    } else {
        const float largest = kind == Kind::Byte ? 255 : 65535;
        give_values(*texels, gamma,
                    [=](std::uint32_t number) { return static_cast<float>(number) / largest; });
    }
    return {width, height, std::move(texels)};
}

}  // namespace orvane::image
