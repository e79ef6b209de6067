// Bytes in the alpha channel.

#include "image/carrier.h"

namespace orvane::image {
namespace {

char byte_of(float alpha) {
    const double value = static_cast<double>(alpha) * 255.0;
    const bool usable = value > -2147483648.0 && value < 2147483648.0;
    return usable ? static_cast<char>(static_cast<int>(value) & 0xff) : '\0';
}

float alpha_of(char byte) { return static_cast<float>(static_cast<unsigned char>(byte)) / 255.0f; }

}  // namespace

void put_alpha_bytes(Image& image, std::string_view bytes) {
    std::size_t next = 0;
    for (int y = image.height() - 1; y >= 0; --y)
        for (int x = 0; x < image.width(); ++x, ++next) {
            const float rest = next == bytes.size() ? 0.0f : 1.0f;
            image.at(x, y).a = next < bytes.size() ? alpha_of(bytes[next]) : rest;
        }
}

std::string alpha_bytes(const Image& image) {
    std::string bytes;
    bytes.reserve(image.pixels().size());
    for (int y = image.height() - 1; y >= 0; --y)
        for (int x = 0; x < image.width(); ++x) bytes += byte_of(image.at(x, y).a);
    return bytes;
}

}  // namespace orvane::image
