// The module of the picture formats that OpenImageIO reads and writes, see codec.h.

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "image/codec.h"

namespace orvane::image {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void throw_errno() { throw std::runtime_error(std::strerror(errno)); }

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

OIIO::ImageSpec describe(const Encoding& picture, bool hurried) {
    const auto& [format, layout, settings, width, height, values] = picture;
    OIIO::ImageSpec header(width, height, static_cast<int>(layout.channels.size()),
                           type_of(layout.sample));
    const bool tiff = format.writer == "tiff";

    // Keep the library from storing the time: the same picture is the same file.
    header.attribute("DateTime", "");
    for (const auto& [name, value] : settings.metadata) header.attribute(name, value);
    header.attribute("Software", "orvane");

    // Keep the library from dividing by alpha. TIFF alone tells its readers which it is.
    const bool integer = layout.sample == Sample::Byte || layout.sample == Sample::Word;
    const bool divided = integer && !settings.premultiply;
    if (!tiff || divided || settings.data_alpha) header.attribute("oiio:UnassociatedAlpha", 1);

    std::string compression = settings.compression;
    if (format.name == "tifu" || hurried) compression = "none";
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

struct TooSlow {};

// Throws TooSlow when the picture gets urgent after its compression was chosen.
void encode(OIIO::ImageOutput& output, const std::string& name, const OIIO::ImageSpec& header,
            const Encoding& picture, bool hurried) {
    const OIIO::TypeDesc given =
        header.format.is_floating_point() ? OIIO::TypeDesc::FLOAT : header.format;
    if (!output.open(name, header)) throw std::runtime_error(output.geterror());
    const auto ended = [](void* settings, float) {
        return static_cast<const PictureSettings*>(settings)->hurried();
    };
    void* settings = const_cast<PictureSettings*>(&picture.settings);
    const bool written =
        output.write_image(given, picture.values.data(), OIIO::AutoStride, OIIO::AutoStride,
                           OIIO::AutoStride, hurried ? nullptr : +ended, settings);
    if (!hurried && picture.settings.hurried()) throw TooSlow{};
    if (!written || !output.close()) throw std::runtime_error(output.geterror());
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

std::vector<std::uint8_t> encode_at(const Encoding& picture, bool hurried) {
    const OIIO::ImageSpec header = describe(picture, hurried);
    const auto output = OIIO::ImageOutput::create(std::string(picture.format.writer));
    if (!output) throw std::runtime_error(OIIO::geterror());

    if (output->supports("ioproxy")) {
        OIIO::Filesystem::IOVecOutput memory;
        output->set_ioproxy(&memory);
        encode(*output, "picture." + std::string(picture.format.name), header, picture, hurried);
        return std::move(memory.buffer());
    }
    const MemoryFile memory;
    encode(*output, memory.name(), header, picture, hurried);
    check_complete(memory.name(), picture.format);
    return memory.bytes();
}

std::vector<std::uint8_t> encode_other(const Encoding& picture) {
    try {
        return encode_at(picture, picture.settings.hurried());
    } catch (const TooSlow&) {
        return encode_at(picture, true);
    }
}

// What is read, and how many bytes of pixels a byte of such a file can stand for. The library knows
// more: films, whose files may name others that are read in their place, documents, raw sensors.
struct Readable {
    std::string_view format;
    std::int64_t tightest;
};
constexpr Readable kReadable[] = {
    {"openexr", 1100}, {"tiff", 1100}, {"jpeg", 1100}, {"bmp", 256},       {"cineon", 8},
    {"dds", 8},        {"dpx", 16},    {"fits", 8},    {"gif", 4096},      {"heif", 4096},
    {"hdr", 256},      {"ico", 4096},  {"iff", 256},   {"jpeg2000", 4096}, {"png", 4096},
    {"pnm", 64},       {"psd", 256},   {"rla", 256},   {"sgi", 256},       {"softimage", 256},
    {"targa", 256},    {"webp", 4096}, {"zfile", 4096}};

const Readable* find_readable(const OIIO::ImageInput& input) {
    const auto found =
        std::ranges::find(kReadable, std::string_view(input.format_name()), &Readable::format);
    return found == std::end(kReadable) ? nullptr : found;
}

struct Opened {
    std::unique_ptr<OIIO::ImageInput> input;
    OIIO::ImageSpec header;
    std::int64_t tightest;
};

// By the ending of its name, or as the first format that takes it for its own.
Opened open_picture(const std::string& file) {
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    std::string why = "not a picture of a format that is read";
    const auto try_as = [&](std::unique_ptr<OIIO::ImageInput> input, Opened* opened) {
        const Readable* format = input ? find_readable(*input) : nullptr;
        if (!format) return false;
        if (!input->open(file, opened->header, config)) {
            why = input->geterror();
            return false;
        }
        opened->input = std::move(input);
        const bool is_fine = opened->header.get_int_attribute("oiio:BitsPerSample", 8) < 8;
        opened->tightest = is_fine ? 4096 : format->tightest;
        return true;
    };
    Opened opened;
    if (try_as(OIIO::ImageInput::create(file, false), &opened)) return opened;
    for (const Readable& other : kReadable) {
        auto input = OIIO::ImageInput::create(std::string(other.format), false);
        if (input && input->valid_file(file) && try_as(std::move(input), &opened)) return opened;
    }
    throw std::runtime_error(why);
}

// How the numbers of a picture are kept: as they are, or as floats where they are of other kinds.
std::pair<Texels::Kind, OIIO::TypeDesc> kept(const OIIO::ImageSpec& header) {
    const OIIO::TypeDesc type = header.format;
    if (header.channelformats.empty()) {
        if (type == OIIO::TypeDesc::UINT8) return {Texels::Kind::Byte, type};
        if (type == OIIO::TypeDesc::UINT16 || type == OIIO::TypeDesc::HALF)
            return {Texels::Kind::Word, type};
    }
    return {Texels::Kind::Float, OIIO::TypeDesc::FLOAT};
}

// What stands in a picture is taken as it is, not multiplied by alpha.
Decoded decode_other(const fs::path& file, bool pixels) {
    const auto [input, header, tightest] = open_picture(file.string());
    if (header.depth > 1 || header.nchannels < 1 || header.deep)
        throw std::runtime_error("not a flat picture");

    Decoded picture = {header.width,
                       header.height,
                       std::min(header.nchannels, 4),
                       header.format.is_floating_point(),
                       header.format == OIIO::TypeDesc::UINT8,
                       {}};
    if (!pixels) return picture;
    check_size(header.width, header.height, static_cast<std::int64_t>(header.pixel_bytes()), file,
               tightest);

    // Read straight into the pixels, from the top row down.
    const auto [kind, type] = kept(header);
    picture.texels = std::make_shared<Texels>(header.width, header.height, picture.channels, kind);
    const auto row = static_cast<OIIO::stride_t>(picture.texels->row_bytes());
    if (!input->read_image(0, 0, 0, picture.channels, type, picture.texels->row(header.height - 1),
                           row / header.width, -row))
        throw std::runtime_error(input->geterror());
    return picture;
}

// The library lists its formats as "png:png;tiff:tif,tiff;...".
std::string extensions() {
    std::string list = OIIO::get_string_attribute("extension_list");
    std::ranges::replace_if(
        list, [](char c) { return c == ':' || c == ';'; }, ',');
    return list;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const OtherFormats orvane_other_formats;
const OtherFormats orvane_other_formats = {decode_other, encode_other, extensions};

}  // namespace orvane::image
