// Writing rendered frames to picture files.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "image/image.h"
#include "scene/records.h"

namespace orvane::image {

struct PictureSettings {
    std::string type;    // frame buffer type of the scene language: "rgba", "rgb_16", "a", "z", ...
    std::string format;  // of the scene language or a file extension; empty = the file's extension
    int quality = -1;    // of lossy formats, 0..100; -1 = the format's own choice
    std::string compression;
    // Integer formats: values are raised to gamma before they are stored, the inverse of what
    // reading does; 0.4545 encodes for screens.
    float gamma = 1;
    scene::Options::ColorClip colorclip = scene::Options::ColorClip::Raw;
    bool desaturate = false;
    bool premultiply = true;  // false: integer formats get colour divided by alpha
    bool data_alpha = false;  // alpha is no coverage: files that can tell say so
    bool dither = true;       // integer formats of 8 bits: a fixed pattern of half a step
    std::map<std::string, std::string> metadata;  // for formats that carry it
    // Once it is true the picture is wanted soon: it is stored without compression.
    bool (*hurried)() = [] { return false; };
};

// Names of the picture formats that can be written, for messages.
bool is_known_format(const std::string& format);

// Throws the Error that write_picture() would throw for the place of the file, as far as that is
// known before there is a picture.
void check_picture_file(const std::filesystem::path& file);

// Writes the picture beside its final name and renames it when it is complete, creating the
// folder when it is missing. NaN and infinities are stored as 0 and the largest finite value.
// Throws Error (Exit::Output) with a line that names the file; nothing is left behind then.
void write_picture(const Image& image, const std::filesystem::path& file,
                   const PictureSettings& settings);

}  // namespace orvane::image
