// Writing rendered frames to picture files.
//
// Not every library tells when a disk is full. So they encode into memory, and the bytes are stored
// here, with every result checked.

#include "image/picture_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "image/codec.h"
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

[[noreturn]] void throw_errno() { throw std::runtime_error(std::strerror(errno)); }

std::vector<std::uint8_t> encoded(const Image& image, const PictureFormat& format,
                                  const PictureSettings& settings) {
    const PictureLayout layout = layout_of(settings.type, format);
    return encode({format, layout, settings, image.width(), image.height(),
                   stored_values(image, layout, settings)});
}

void store(const fs::path& file, const std::vector<unsigned char>& bytes) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) throw_errno();
    int failed = 0;
    for (std::size_t done = 0; done < bytes.size() && !failed;) {
        const ssize_t count = write(descriptor, bytes.data() + done, bytes.size() - done);
        if (count >= 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            failed = errno;
        }
    }
    if (close(descriptor) != 0 && !failed) failed = errno;
    if (failed) throw std::runtime_error(std::strerror(failed));
}

// Stores the bytes under a hidden name in the file's folder, and renames that when all is there.
void store_complete(const fs::path& file, const std::vector<unsigned char>& bytes) {
    std::string hidden = ".";
    hidden += file.filename().string() + '.' + std::to_string(getpid()) + ".part";
    const fs::path partial = file.parent_path() / hidden;
    try {
        store(partial, bytes);
        if (std::rename(partial.c_str(), file.c_str()) != 0) throw_errno();
    } catch (const std::runtime_error&) {
        std::error_code ignored;
        fs::remove(partial, ignored);
        throw;
    }
}

void store_picture(const fs::path& file, const std::vector<unsigned char>& bytes) {
    std::error_code error;
    if (file.has_parent_path()) fs::create_directories(file.parent_path(), error);
    if (error) throw std::runtime_error(error.message());

    // A device or a pipe is written to, a file that a link leads to replaced where it is.
    const fs::file_status status = fs::status(file, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) return store(file, bytes);
    store_complete(fs::is_symlink(file, error) ? fs::weakly_canonical(file) : file, bytes);
}

}  // namespace

bool is_known_format(const std::string& format) { return find_format(format) != nullptr; }

void write_picture(const Image& image, const fs::path& file, const PictureSettings& settings) {
    std::string name = settings.format;
    if (name.empty() && file.has_extension()) name = file.extension().string().substr(1);
    const PictureFormat* format = find_format(name);
    if (!format) throw cannot_write(file, "unknown picture format \"" + name + '"');
    if (image.pixels().empty()) throw cannot_write(file, "it has no pixels");

    try {
        const std::vector<std::uint8_t> bytes = encoded(image, *format, settings);
        check_memory();  // what somebody made without the memory that it asked for is no picture
        store_picture(file, bytes);
    } catch (const std::runtime_error& error) {
        throw cannot_write(file, error.what());
    } catch (const std::invalid_argument& error) {
        throw cannot_write(file, error.what());
    }
}

}  // namespace orvane::image
