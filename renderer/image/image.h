// Pictures in memory: textures and frame buffers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

#include "frame/types.h"
#include "image/texels.h"

namespace orvane::image {

// Pixels of r, g, b, a as 32-bit floats, row 0 at the bottom, values as read or as rendered
// (alpha is not multiplied into what was read; frame buffers are premultiplied). A texture is kept
// as small as its file holds it, and can only be looked at.
class Image {
  public:
    Image() = default;
    Image(int width, int height);  // all 0
    Image(int width, int height, std::shared_ptr<const Texels> texels);

    int width() const { return width_; }
    int height() const { return height_; }
    bool is_texture() const { return texels_ != nullptr; }
    miColor& at(int x, int y) { return pixels_[index(x, y)]; }
    miColor at(int x, int y) const {
        return texels_ ? texels_->color(index(x, y)) : pixels_[index(x, y)];
    }
    const std::vector<miColor>& pixels() const { return pixels_; }  // none of a texture

    // Colour at (u, v), bilinear between pixel centres (which lie at (x + 0.5) / width), the
    // image repeated in both directions. Black for an empty image or a coordinate that is not
    // finite.
    miColor lookup(float u, float v) const;

    // The same, but the pixels at the edges go on outside the image.
    miColor lookup_held(float u, float v) const;

  private:
    // Bilinear between the pixels of two columns and two rows; weights of x1 and y1.
    miColor blend(int x0, int x1, float right, int y0, int y1, float upper) const;

    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
               static_cast<std::size_t>(x);
    }

    int width_ = 0, height_ = 0;
    std::vector<miColor> pixels_;
    std::shared_ptr<const Texels> texels_;
};

// What a picture file says of itself before its pixels.
struct PictureHeader {
    int width, height;
    bool has_alpha;  // that read_image() takes from the file
    bool is_8_bit;
};
PictureHeader read_header(const std::filesystem::path& file);  // throws as read_image() does

// Whether the name ends as pictures do that read_image() can read.
bool is_picture_name(const std::filesystem::path& file);

// Reads a picture of any format that the image library knows; grey is spread to r, g, b and a
// missing alpha is 1. Values of integer formats are raised to 1 / gamma; those of float formats
// stay. Throws Error (Exit::Input) with a line that names the file.
Image read_image(const std::filesystem::path& file, float gamma);
Image read_texture(const std::filesystem::path& file, float gamma);  // the same as a texture

// A texture from bytes of a scene text: rows bottom first, 3 or 4 components of depth 1, 2 or 4
// bytes (4: float, big-endian), whichever number of components fits. Throws
// std::invalid_argument when none fits.
Image image_from_bytes(int width, int height, int depth, const std::vector<std::uint8_t>& bytes,
                       float gamma);

}  // namespace orvane::image
