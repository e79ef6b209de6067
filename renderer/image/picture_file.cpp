// Writing rendered frames to picture files.
//
// Not every library tells when a disk is full. So they encode into memory, and the bytes are stored
// by storage.h, with every result checked.

#include "image/picture_file.h"

#include <csignal>
#include <stdexcept>

#include "image/codec.h"
#include "image/storage.h"
#include "image/stored_values.h"
#include "scene/errors.h"
#include "scene/memory.h"

namespace orvane::image {
namespace {

namespace fs = std::filesystem;

Error cannot_write(const fs::path& file, const std::string& reason) {
    return Error(Exit::Output, "error: cannot write picture \"" + file.string() +
                                   "\": " + reason.substr(0, reason.find_first_of("\r\n")));
}

std::vector<std::uint8_t> encoded(const Image& image, const PictureFormat& format,
                                  const PictureSettings& settings) {
    const PictureLayout layout = layout_of(settings.type, format);
    return encode({format, layout, settings, image.width(), image.height(),
                   stored_values(image, layout, settings)});
}

}  // namespace

bool is_known_format(const std::string& format) { return find_format(format) != nullptr; }

void check_picture_file(const fs::path& file) {
    try {
        check_storable(file);
    } catch (const std::runtime_error& fault) {
        throw cannot_write(file, fault.what());
    }
}

void write_picture(const Image& image, const fs::path& file, const PictureSettings& settings) {
    std::string name = settings.format;
    if (name.empty() && file.has_extension()) name = file.extension().string().substr(1);
    const PictureFormat* format = find_format(name);
    if (!format) throw cannot_write(file, "unknown picture format \"" + name + '"');
    if (image.pixels().empty()) throw cannot_write(file, "it has no pixels");

    // A file beyond the size that the system allows is a write that fails, as on a full disk, and
    // so is a pipe that nobody reads any more.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        const std::vector<std::uint8_t> bytes = encoded(image, *format, settings);
        check_memory();  // what somebody made without the memory that it asked for is no picture
        store(file, bytes);
    } catch (const std::runtime_error& error) {
        throw cannot_write(file, error.what());
    } catch (const std::invalid_argument& error) {
        throw cannot_write(file, error.what());
    }
}

}  // namespace orvane::image
