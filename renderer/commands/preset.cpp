// orvane preset: flare presets into and out of carriers, which hold a text in their alpha channel.

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/preset_text.h"
#include "image/carrier.h"
#include "image/picture_file.h"
#include "image/picture_format.h"
#include "scene/messages.h"
#include "scene/source.h"

namespace orvane::commands {
namespace {

namespace fs = std::filesystem;

struct Preset {
    std::string name, text;
};

Preset read_text(const std::string& file) {
    std::string why;
    const auto source =
        file == "-" ? scene::read_standard_input({}, why) : scene::read_source(file, {}, why);
    if (!source) throw Error(Exit::Input, "cannot read " + file + ": " + why);
    return {*source->name, std::move(source->text)};
}

std::string read_carrier(const std::string& file) {
    if (!image::read_header(file).has_alpha)
        throw Error(Exit::Input, "picture \"" + file + "\" carries no preset: it has no alpha");
    return image::alpha_bytes(image::read_image(file, 1));
}

// Tells the faults of a preset, each with its line and a caret; returns whether it has no errors.
bool is_sound(const Preset& preset) {
    const auto name = std::make_shared<const std::string>(preset.name);
    bool sound = true;
    for (const PresetFault& fault : preset_faults(preset.text)) {
        std::string told = to_string({name, fault.line, fault.column}) +
                           (fault.is_error ? ": error: " : ": warning: ") + fault.what;
        if (!fault.source.empty())
            told += '\n' + with_caret(std::string(fault.source), fault.column);
        if (!fault.hint.empty()) told += '\n' + fault.hint;
        message(fault.is_error ? Level::Error : Level::Warning, told);
        sound = sound && !fault.is_error;
    }
    return sound;
}

// Refuses formats that would not bring back every byte, and the color of every pixel.
void check_format(const fs::path& carrier) {
    const std::string extension = carrier.extension().string();
    const auto* format = extension.empty() ? nullptr : image::find_format(extension.substr(1));
    for (const std::string_view writer : {"png", "tiff", "targa"})
        if (format && format->writer == writer) return;
    throw Error(Exit::Output, "cannot write carrier \"" + carrier.string() +
                                  "\": it must be a png, tif or tga file");
}

// A square, nearly, with room for a text.
image::Image plain_picture(std::size_t room) {
    const auto pixels = static_cast<double>(std::max<std::size_t>(room, 1));
    const double width = std::ceil(std::sqrt(pixels));
    image::Image picture(static_cast<int>(width), static_cast<int>(std::ceil(pixels / width)));
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.at(x, y) = {92 / 255.0f, 107 / 255.0f, 128 / 255.0f, 1};  // slate
    return picture;
}

image::Image given_picture(const std::string& file, std::size_t room) {
    const image::PictureHeader header = image::read_header(file);
    if (!header.is_8_bit)
        throw Error(Exit::Input, "picture \"" + file + "\" cannot be kept: it is not of 8 bits");
    const auto pixels =
        static_cast<std::size_t>(header.width) * static_cast<std::size_t>(header.height);
    if (pixels < room)
        throw Error(Exit::Input, "picture \"" + file + "\" is too small: it has " +
                                     std::to_string(pixels) + " pixels, the preset needs " +
                                     std::to_string(room));
    return image::read_image(file, 1);
}

}  // namespace

int pack_preset(const PresetArguments& arguments) {
    check_format(arguments.carrier);
    const Preset preset = read_text(arguments.preset);
    if (!is_sound(preset)) return static_cast<int>(Exit::Scene);
    const std::size_t room = preset.text.size();
    image::Image picture =
        arguments.picture.empty() ? plain_picture(room) : given_picture(arguments.picture, room);
    image::put_alpha_bytes(picture, preset.text);
    image::PictureSettings settings;
    settings.dither = false;
    settings.data_alpha = true;
    image::write_picture(picture, arguments.carrier, settings);
    return 0;
}

int unpack_preset(const PresetArguments& arguments) {
    const std::string bytes = read_carrier(arguments.carrier);
    std::cout << (arguments.all ? std::string_view(bytes) : text_in(bytes)) << std::flush;
    if (!std::cout) throw Error(Exit::Output, "cannot write to standard output");
    return 0;
}

int check_preset(const PresetArguments& arguments) {
    bool sound = true;
    for (const std::string& file : arguments.checked) {
        const bool is_carrier = image::is_picture_name(file);
        const Preset preset =
            is_carrier ? Preset{file, std::string(text_in(read_carrier(file)))} : read_text(file);
        sound = is_sound(preset) && sound;
    }
    return sound ? 0 : static_cast<int>(Exit::Scene);
}

}  // namespace orvane::commands
