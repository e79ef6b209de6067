// The pixels of a picture that was read, as small as its file holds them.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "frame/types.h"

namespace orvane::image {

// 1 to 4 channels of bytes or words, which tables turn into values, or of floats. One channel is
// grey, two are grey and alpha; a missing alpha is 1.
class Texels {
  public:
    enum class Kind { Byte, Word, Float };

    Texels(int width, int height, int channels, Kind kind);  // all 0, not touched before used

    // What the numbers of bytes or words mean, 256 or 65536 of each.
    void set_values(std::vector<float> color, std::vector<float> alpha);

    int channels() const { return channels_; }
    Kind kind() const { return kind_; }
    bool has_alpha() const { return channels_ == 2 || channels_ == 4; }
    std::size_t row_bytes() const { return row_bytes_; }
    std::uint8_t* row(int y) { return bytes_.get() + static_cast<std::size_t>(y) * row_bytes_; }
    std::size_t size() const { return pixels_; }

    miColor color(std::size_t pixel) const {
        switch (kind_) {
            case Kind::Byte:
                return complete<std::uint8_t>(pixel);
            case Kind::Word:
                return complete<std::uint16_t>(pixel);
            default:
                return complete<float>(pixel);
        }
    }

  private:
    struct Free {
        void operator()(std::uint8_t* bytes) const { std::free(bytes); }
    };

    template <std::unsigned_integral T>
    static float value(T number, const std::vector<float>& table) {
        return table[number];
    }
    static float value(float number, const std::vector<float>&) { return number; }

    template <typename T>
    miColor complete(std::size_t pixel) const {
        const T* at =
            reinterpret_cast<const T*>(bytes_.get()) + pixel * static_cast<std::size_t>(channels_);
        const float first = value(at[0], color_);
        if (channels_ == 1) return {first, first, first, 1};
        if (channels_ == 2) return {first, first, first, value(at[1], alpha_)};
        return {first, value(at[1], color_), value(at[2], color_),
                channels_ == 4 ? value(at[3], alpha_) : 1};
    }

    int channels_;
    Kind kind_;
    std::size_t pixels_, row_bytes_;
    std::unique_ptr<std::uint8_t, Free> bytes_;
    std::vector<float> color_, alpha_;
};

}  // namespace orvane::image
