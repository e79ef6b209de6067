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
#include <stdexcept>

#include "image/codec.h"

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
    Memory memory;
    {
        Imf::OutputFile file(memory, header, 0);
        file.setFrameBuffer(buffer);
        file.writePixels(picture.height);
    }
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
