// Which sizes of pictures are believed.

#include <stdexcept>
#include <string>

#include "image/codec.h"

namespace orvane::image {

void check_size(std::int64_t width, std::int64_t height, std::int64_t bytes_a_pixel,
                const std::filesystem::path& file, std::int64_t tightest) {
    constexpr std::int64_t kAlways = std::int64_t{64} << 20;
    if (!is_sound_size(width, height)) throw std::runtime_error("its size is not sound");
    const std::int64_t needed = width * height * bytes_a_pixel;
    if (needed > kAlways &&
        needed / tightest > static_cast<std::int64_t>(std::filesystem::file_size(file)))
        throw std::runtime_error("it is too short for its " + std::to_string(width) + " x " +
                                 std::to_string(height) + " pixels");
}

}  // namespace orvane::image
