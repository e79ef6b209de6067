// The picture formats that can be written, and how each stores a frame buffer.

#include "image/picture_format.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace orvane::image {
namespace {

constexpr PictureFormat kFormats[] = {
    {"png", "png", "BW", true, true},     {"tif", "tiff", "BWF", true, true},
    {"tiff", "tiff", "BWF", true, true},  {"tifu", "tiff", "BWF", true, true},
    {"jpg", "jpeg", "B", true, false},    {"jpeg", "jpeg", "B", true, false},
    {"exr", "openexr", "HF", true, true}, {"hdr", "hdr", "R", false, false},
    {"tga", "targa", "B", true, true},    {"bmp", "bmp", "B", true, false},
    {"ppm", "pnm", "BW", true, false},    {"iff", "iff", "BW", false, true},
    {"rla", "rla", "BWF", false, true},   {"rgb", "sgi", "BW", true, true},
    {"sgi", "sgi", "BW", true, true},
};

struct BufferType {
    std::string_view name;
    std::string_view channels;
    std::string_view channel_name;
    bool is_color;
};

constexpr BufferType kTypes[] = {
    {"rgba", "rgba", "", true}, {"rgb", "rgb", "", true}, {"a", "a", "A", true},
    {"z", "r", "Z", false},     {"n", "rgb", "", false},  {"m", "rgb", "", false},
    {"tag", "r", "tag", false},
};

// Samples from the wanted one on to those that take its place.
struct Suffix {
    std::string_view name;
    std::string_view samples;
};

constexpr Suffix kSuffixes[] = {{"", "BHFR"}, {"_16", "WHFRB"}, {"_h", "HFRWB"}, {"_fp", "FRHWB"}};

Sample sample_of(char letter) {
    switch (letter) {
        case 'W':
            return Sample::Word;
        case 'H':
            return Sample::Half;
        case 'F':
            return Sample::Float;
        case 'R':
            return Sample::Rgbe;
        default:
            return Sample::Byte;
    }
}

Sample first_held(std::string_view wanted, const PictureFormat& format) {
    const auto letter = std::ranges::find_if(
        wanted, [&](char sample) { return format.samples.find(sample) != std::string_view::npos; });
    return sample_of(letter == wanted.end() ? 'B' : *letter);
}

std::vector<int> channels_of(const BufferType& type, const PictureFormat& format) {
    std::vector<int> channels;
    for (const char c : type.channels) {
        if (c == 'a' && type.channels.size() == 4 && !format.alpha) continue;
        channels.push_back(static_cast<int>(std::string_view("rgba").find(c)));
    }
    if (channels.size() == 1 && !format.one_channel) channels.resize(3, channels[0]);
    return channels;
}

}  // namespace

const PictureFormat* find_format(std::string_view name) {
    const auto same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == b;
    };
    const auto* format = std::ranges::find_if(
        kFormats, [&](const PictureFormat& f) { return std::ranges::equal(name, f.name, same); });
    return format == std::end(kFormats) ? nullptr : format;
}

PictureLayout layout_of(std::string_view type, const PictureFormat& format) {
    // Take the type apart into its name and its suffix.
    std::string_view name = type;
    if (name.starts_with('+') || name.starts_with('-')) name.remove_prefix(1);
    if (name.empty()) name = "rgba";
    if (name == "rgbe") name = "rgb_fp";
    const std::size_t underscore = std::min(name.find('_'), name.size());

    const auto* base = std::ranges::find(kTypes, name.substr(0, underscore), &BufferType::name);
    const auto* suffix = std::ranges::find(kSuffixes, name.substr(underscore), &Suffix::name);
    if (base == std::end(kTypes) || suffix == std::end(kSuffixes)) {
        throw std::invalid_argument("unknown frame buffer type \"" + std::string(type) + '"');
    }

    // What is not colour is kept as exactly as the format can.
    const std::string_view samples = base->is_color ? suffix->samples : kSuffixes[3].samples;
    return {first_held(samples, format), channels_of(*base, format),
            std::string(base->channel_name), base->is_color};
}

}  // namespace orvane::image
