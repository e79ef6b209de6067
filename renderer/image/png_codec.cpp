// PNG files.
//
// libpng reports faults by a long jump, which must not pass over the destructors of C++: so
// whatever owns something lives outside of the functions that call it.

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>

#include "image/codec.h"
#include "scene/memory.h"

namespace orvane::image {
namespace {

struct Fault {
    char text[200] = "it cannot be read";
};

void on_error(png_structp png, png_const_charp text) {
    auto* fault = static_cast<Fault*>(png_get_error_ptr(png));
    std::snprintf(fault->text, sizeof fault->text, "%s", text);
    png_longjmp(png, 1);
}

void on_warning(png_structp, png_const_charp) {}

// A failure is noted here, whatever libpng calls it.
png_voidp allocate(png_structp, png_alloc_size_t size) { return operator new(size, std::nothrow); }

void release(png_structp, png_voidp p) { operator delete(p); }

struct Reader {
    Fault fault;
    png_structp png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &fault, on_error, on_warning,
                                               nullptr, allocate, release);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct Writer {
    Fault fault;
    png_structp png = png_create_write_struct_2(PNG_LIBPNG_VER_STRING, &fault, on_error, on_warning,
                                                nullptr, allocate, release);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    ~Writer() { png_destroy_write_struct(&png, &info); }
};

// Reads up to the pixels and makes them whole bytes or words of grey or colour.
bool read_info(Reader& reader, std::FILE* file) {
    if (setjmp(png_jmpbuf(reader.png))) return false;
    png_init_io(reader.png, file);
    png_read_info(reader.png, reader.info);
    png_set_expand(reader.png);
    png_set_swap(reader.png);
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    return true;
}

bool read_rows(Reader& reader, png_bytep* rows) {
    if (setjmp(png_jmpbuf(reader.png))) return false;
    png_read_image(reader.png, rows);
    png_read_end(reader.png, nullptr);
    return true;
}

std::shared_ptr<Texels> read_pixels(Reader& reader, const Decoded& header) {
    auto texels =
        std::make_shared<Texels>(header.width, header.height, header.channels,
                                 header.is_8_bit ? Texels::Kind::Byte : Texels::Kind::Word);
    std::vector<png_bytep> rows;
    for (int y = header.height - 1; y >= 0; --y) rows.push_back(texels->row(y));
    if (!read_rows(reader, rows.data())) throw std::runtime_error(reader.fault.text);
    return texels;
}

void append(png_structp png, png_bytep data, std::size_t size) {
    auto* bytes = static_cast<std::vector<std::uint8_t>*>(png_get_io_ptr(png));
    bytes->insert(bytes->end(), data, data + size);
}

int color_type(int channels) {
    constexpr int kTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                              PNG_COLOR_TYPE_RGB_ALPHA};
    return kTypes[channels - 1];
}

enum class Written { All, Failed, TooSlow };

Written write_all(Writer& writer, const Encoding& picture, png_textp texts, int text_count,
                  png_bytep* rows, std::vector<std::uint8_t>* bytes) {
    if (setjmp(png_jmpbuf(writer.png))) return Written::Failed;
    const bool hurried = picture.settings.hurried();
    png_set_write_fn(writer.png, bytes, append, nullptr);
    png_set_compression_level(writer.png, hurried ? 0 : 4);
    if (hurried) png_set_filter(writer.png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_set_IHDR(writer.png, writer.info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height),
                 picture.layout.sample == Sample::Byte ? 8 : 16,
                 color_type(static_cast<int>(picture.layout.channels.size())), PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_text(writer.png, writer.info, texts, text_count);
    png_write_info(writer.png, writer.info);
    png_set_swap(writer.png);
    for (int y = 0; y < picture.height; ++y) {
        if (!hurried && picture.settings.hurried()) return Written::TooSlow;
        png_write_row(writer.png, rows[y]);
    }
    png_write_end(writer.png, writer.info);
    return Written::All;
}

png_text text_chunk(const std::string& key, const std::string& value) {
    png_text text = {};
    text.compression = PNG_TEXT_COMPRESSION_NONE;
    text.key = const_cast<png_charp>(key.c_str());
    text.text = const_cast<png_charp>(value.c_str());
    text.text_length = value.size();
    return text;
}

}  // namespace

bool is_png(const std::filesystem::path& file) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"),
                                                                 std::fclose);
    png_byte signature[8];
    if (!stream) check_memory(errno);
    return stream && std::fread(signature, 1, 8, stream.get()) == 8 &&
           png_sig_cmp(signature, 0, 8) == 0;
}

Decoded decode_png(const std::filesystem::path& file, bool pixels) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"),
                                                                 std::fclose);
    Reader reader;
    if (!stream || !reader.info) throw std::bad_alloc();
    if (!read_info(reader, stream.get())) throw std::runtime_error(reader.fault.text);

    Decoded picture = {};
    picture.width = static_cast<int>(png_get_image_width(reader.png, reader.info));
    picture.height = static_cast<int>(png_get_image_height(reader.png, reader.info));
    picture.channels = png_get_channels(reader.png, reader.info);
    picture.is_8_bit = png_get_bit_depth(reader.png, reader.info) == 8;
    if (!pixels) return picture;
    check_size(picture.width, picture.height, picture.channels * (picture.is_8_bit ? 1 : 2), file);
    picture.texels = read_pixels(reader, picture);
    return picture;
}

std::vector<std::uint8_t> encode_png(const Encoding& picture) {
    std::vector<std::uint8_t> bytes;
    std::vector<png_text> texts = {};
    const std::string software = "Software", ours = "orvane";
    texts.push_back(text_chunk(software, ours));
    for (const auto& [key, value] : picture.settings.metadata)
        texts.push_back(text_chunk(key, value));

    const std::size_t row_bytes = picture.values.size() / static_cast<std::size_t>(picture.height);
    std::vector<png_bytep> rows;
    for (std::size_t y = 0; y < static_cast<std::size_t>(picture.height); ++y)
        rows.push_back(const_cast<png_bytep>(&picture.values[y * row_bytes]));

    Writer writer;
    if (!writer.info) throw std::bad_alloc();
    switch (write_all(writer, picture, texts.data(), static_cast<int>(texts.size()), rows.data(),
                      &bytes)) {
        case Written::Failed:
            throw std::runtime_error(writer.fault.text);
        case Written::TooSlow:
            return encode_png(picture);
        case Written::All:
            break;
    }
    return bytes;
}

}  // namespace orvane::image
