// Memory for the pixels of pictures.

#include "image/texels.h"

#include <new>
#include <utility>

namespace orvane::image {
namespace {

std::size_t bytes_of(Texels::Kind kind) {
    if (kind == Texels::Kind::Byte) return 1;
    return kind == Texels::Kind::Word ? 2 : 4;
}

}  // namespace

// What a broken file does not fill takes no memory: calloc maps large blocks when they are touched.
Texels::Texels(int width, int height, int channels, Kind kind)
    : channels_(channels),
      kind_(kind),
      pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
      row_bytes_(static_cast<std::size_t>(width) * static_cast<std::size_t>(channels) *
                 bytes_of(kind)),
      bytes_(
          static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(height), row_bytes_))) {
    if (!bytes_) throw std::bad_alloc();
}

void Texels::set_values(std::vector<float> color, std::vector<float> alpha) {
    color_ = std::move(color);
    alpha_ = std::move(alpha);
}

}  // namespace orvane::image
