// Writing rendered frames to picture files.
//
// OpenImageIO does not tell when a disk is full. So it encodes into memory, and the bytes are
// stored here, with every result checked.

#include "image/picture_file.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "image/picture_format.h"
#include "image/stored_values.h"
#include "scene/errors.h"

namespace orvane::image {
namespace {

namespace fs = std::filesystem;

Error cannot_write(const fs::path& file, const std::string& reason) {
    return Error(Exit::Output, "error: cannot write picture \"" + file.string() +
                                   "\": " + reason.substr(0, reason.find_first_of("\r\n")));
}

[[noreturn]] void throw_errno() { throw std::runtime_error(std::strerror(errno)); }

// ---- Encoding ----

OIIO::TypeDesc type_of(Sample sample) {
    switch (sample) {
        case Sample::Byte:
            return OIIO::TypeDesc::UINT8;
        case Sample::Word:
            return OIIO::TypeDesc::UINT16;
        case Sample::Half:
            return OIIO::TypeDesc::HALF;
        default:
            return OIIO::TypeDesc::FLOAT;
    }
}

OIIO::ImageSpec describe(const Image& image, const PictureFormat& format,
                         const PictureLayout& layout, const PictureSettings& settings) {
    OIIO::ImageSpec header(image.width(), image.height(), static_cast<int>(layout.channels.size()),
                           type_of(layout.sample));
    const bool exr = format.writer == "openexr", tiff = format.writer == "tiff";

    // Keep the library from storing the time: the same picture is the same file.
    header.attribute("DateTime", "");
    for (const auto& [name, value] : settings.metadata) header.attribute(name, value);
    header.attribute("Software", "orvane");
    if (exr && header.nchannels == 1) header.channelnames = {layout.channel_name};

    // Keep the library from dividing by alpha. TIFF alone tells its readers which it is.
    const bool integer = layout.sample == Sample::Byte || layout.sample == Sample::Word;
    const bool divided = integer && !settings.premultiply;
    if (!tiff || divided) header.attribute("oiio:UnassociatedAlpha", 1);

    std::string compression = settings.compression;
    if (format.name == "tifu") compression = "none";
    if (exr && compression.empty()) compression = "zip";
    if (format.writer == "jpeg" && settings.quality >= 0) {
        compression = "jpeg:";
        compression += std::to_string(std::clamp(settings.quality, 1, 100));
    }
    if (!compression.empty()) header.attribute("compression", compression);
    return header;
}

// A file in memory, for writers that only know files.
class MemoryFile {
  public:
    MemoryFile() : descriptor_(memfd_create("picture", MFD_CLOEXEC)) {
        if (descriptor_ < 0) throw_errno();
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string name() const {
        return std::string("/proc/self/fd/").append(std::to_string(descriptor_));
    }

    std::vector<unsigned char> bytes() const {
        std::vector<unsigned char> result(fs::file_size(name()));
        for (std::size_t done = 0; done < result.size();) {
            const ssize_t count = pread(descriptor_, result.data() + done, result.size() - done,
                                        static_cast<off_t>(done));
            if (count <= 0) throw_errno();
            done += static_cast<std::size_t>(count);
        }
        return result;
    }

  private:
    int descriptor_;
};

void encode(OIIO::ImageOutput& output, const std::string& name, const OIIO::ImageSpec& header,
            const std::vector<std::uint8_t>& values) {
    const OIIO::TypeDesc given =
        header.format.is_floating_point() ? OIIO::TypeDesc::FLOAT : header.format;
    if (!output.open(name, header) || !output.write_image(given, values.data()) ||
        !output.close()) {
        throw std::runtime_error(output.geterror());
    }
}

// Reads a picture back, since its writer may not have noticed that it was cut short.
void check_complete(const std::string& name, const PictureFormat& format) {
    const auto input = OIIO::ImageInput::create(std::string(format.writer));
    OIIO::ImageSpec header;
    if (!input || !input->open(name, header)) throw std::runtime_error("the picture is cut short");
    std::vector<float> values(header.image_pixels() * static_cast<std::size_t>(header.nchannels));
    if (!input->read_image(0, 0, 0, header.nchannels, OIIO::TypeDesc::FLOAT, values.data())) {
        throw std::runtime_error("the picture is cut short");
    }
}

std::vector<unsigned char> encoded(const Image& image, const PictureFormat& format,
                                   const PictureSettings& settings) {
    const PictureLayout layout = layout_of(settings.type, format);
    const OIIO::ImageSpec header = describe(image, format, layout, settings);
    const std::vector<std::uint8_t> values = stored_values(image, layout, settings);
    const auto output = OIIO::ImageOutput::create(std::string(format.writer));
    if (!output) throw std::runtime_error(OIIO::geterror());

    if (output->supports("ioproxy")) {
        OIIO::Filesystem::IOVecOutput memory;
        output->set_ioproxy(&memory);
        encode(*output, "picture." + std::string(format.name), header, values);
        return std::move(memory.buffer());
    }
    const MemoryFile memory;
    encode(*output, memory.name(), header, values);
    check_complete(memory.name(), format);
    return memory.bytes();
}

// ---- Storing ----

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
        store_picture(file, encoded(image, *format, settings));
    } catch (const std::runtime_error& error) {
        throw cannot_write(file, error.what());
    } catch (const std::invalid_argument& error) {
        throw cannot_write(file, error.what());
    }
}

}  // namespace orvane::image
