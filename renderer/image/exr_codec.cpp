// Writing OpenEXR files.

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <half.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "image/codec.h"
#include "scene/memory.h"

namespace orvane::image {
namespace {

class Memory : public Imf::OStream {
  public:
    Memory() : OStream("picture") {}
    void write(const char* data, int size) override {
        const std::size_t end = at_ + static_cast<std::size_t>(size);
        if (end > bytes.size()) bytes.resize(end);
        std::memcpy(&bytes[at_], data, static_cast<std::size_t>(size));
        at_ = end;
    }
    std::uint64_t tellp() override { return at_; }
    void seekp(std::uint64_t position) override { at_ = position; }

    // Whether all of so many 8-byte numbers before a position are set.
    bool is_filled(std::size_t end, std::size_t count) const {
        constexpr std::uint64_t kNone = 0;
        for (std::size_t i = 1; i <= count; ++i)
            if (std::memcmp(&bytes[end - i * sizeof kNone], &kNone, sizeof kNone) == 0)
                return false;
        return true;
    }

    std::vector<std::uint8_t> bytes;

  private:
    std::size_t at_ = 0;
};

Imf::Compression compression_of(const std::string& name) {
    constexpr struct {
        const char* name;
        Imf::Compression compression;
    } kNames[] = {{"none", Imf::NO_COMPRESSION},   {"rle", Imf::RLE_COMPRESSION},
                  {"zips", Imf::ZIPS_COMPRESSION}, {"zip", Imf::ZIP_COMPRESSION},
                  {"piz", Imf::PIZ_COMPRESSION},   {"pxr24", Imf::PXR24_COMPRESSION},
                  {"b44", Imf::B44_COMPRESSION},   {"b44a", Imf::B44A_COMPRESSION},
                  {"dwaa", Imf::DWAA_COMPRESSION}, {"dwab", Imf::DWAB_COMPRESSION}};
    for (const auto& known : kNames)
        if (name == known.name) return known.compression;
    return Imf::ZIP_COMPRESSION;
}

// The rows that are compressed together.
std::size_t rows_of(Imf::Compression compression) {
    switch (compression) {
        case Imf::ZIP_COMPRESSION:
        case Imf::PXR24_COMPRESSION:
            return 16;
        case Imf::PIZ_COMPRESSION:
        case Imf::B44_COMPRESSION:
        case Imf::B44A_COMPRESSION:
        case Imf::DWAA_COMPRESSION:
            return 32;
        case Imf::DWAB_COMPRESSION:
            return 256;
        default:
            return 1;
    }
}

std::string channel_name(const PictureLayout& layout, std::size_t k) {
    if (layout.channels.size() == 1) return layout.channel_name;
    return std::string(1, "RGBA"[layout.channels[k]]);
}

// Channels of 16 or 32 bits, interleaved in memory.
template <typename Sample>
std::vector<std::uint8_t> encode_as(const Encoding& picture, Imf::Header& header,
                                    Imf::PixelType type, std::vector<Sample>& values) {
    const std::size_t channels = picture.layout.channels.size();
    Imf::FrameBuffer buffer;
    for (std::size_t k = 0; k < channels; ++k) {
        const std::string name = channel_name(picture.layout, k);
        header.channels().insert(name, Imf::Channel(type));
        buffer.insert(
            name, Imf::Slice(type, reinterpret_cast<char*>(&values[k]), channels * sizeof(Sample),
                             channels * sizeof(Sample) * static_cast<std::size_t>(picture.width)));
    }
    const bool hurried = picture.settings.hurried();
    if (hurried) header.compression() = Imf::NO_COMPRESSION;
    Memory memory;
    std::size_t table_end = 0;
    int done = 0;  // rows
    {
        const EndsWithoutMemory guard;  // the library waits for ever for rows that it cannot hold
        constexpr int kLines = 16;
        Imf::OutputFile file(memory, header, 0);
        table_end = memory.tellp();
        file.setFrameBuffer(buffer);
        for (; done < picture.height && (hurried || !picture.settings.hurried()); done += kLines)
            file.writePixels(std::min(kLines, picture.height - done));
    }
    if (done < picture.height) return encode_as(picture, header, type, values);
    // Rows that it had no memory to compress it leaves out without a word.
    const std::size_t rows = rows_of(header.compression());
    if (!memory.is_filled(table_end, (static_cast<std::size_t>(picture.height) + rows - 1) / rows))
        throw std::bad_alloc();
    return std::move(memory.bytes);
}

}  // namespace

std::vector<std::uint8_t> encode_exr(const Encoding& picture) {
    Imf::Header header(picture.width, picture.height);
    header.compression() = compression_of(picture.settings.compression);
    header.insert("software", Imf::StringAttribute("orvane"));
    for (const auto& [key, value] : picture.settings.metadata)
        header.insert(key, Imf::StringAttribute(value));

    std::vector<float> values(picture.values.size() / sizeof(float));
    std::memcpy(values.data(), picture.values.data(), values.size() * sizeof(float));
    if (picture.layout.sample != Sample::Half)
        return encode_as(picture, header, Imf::FLOAT, values);
    std::vector<half> halves(values.size());
    std::ranges::transform(values, halves.begin(), [](float x) { return half(x); });
    return encode_as(picture, header, Imf::HALF, halves);
}

}  // namespace orvane::image
