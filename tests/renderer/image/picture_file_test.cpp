// Pictures written and read back: what survives, what is encoded, and what failure leaves behind.

#include "image/picture_file.h"

#include <OpenImageIO/imageio.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fstream>
#include <functional>

#include "renderer/image/pixels.h"
#include "scene/errors.h"

namespace orvane::image {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Format = OIIO::TypeDesc;

// Of a step of 8 bits, far below one.
constexpr float kExactByte = 1e-6f;

class PictureFile : public testing::Test {
  protected:
    PictureFile() : folder(fs::temp_directory_path() / ("pictures." + std::to_string(getpid()))) {
        fs::create_directories(folder);
    }
    ~PictureFile() override { fs::remove_all(folder); }

    Image round_trip(const Image& image, const std::string& name, const PictureSettings& settings) {
        write_picture(image, folder / name, settings);
        return read_image(folder / name, 1);
    }
    miColor round_trip(const miColor& color, const std::string& name,
                       const PictureSettings& settings) {
        Image image(1, 1);
        image.at(0, 0) = color;
        return round_trip(image, name, settings).at(0, 0);
    }

    auto files() const { return std::distance(fs::directory_iterator(folder), {}); }
    fs::path folder;
};

// Every value of 8 bits in each channel, colour beyond alpha and alpha 0 included.
Image all_bytes() {
    Image image(19, 16);
    for (int i = 0; i < 19 * 16; ++i) {
        const auto byte = [&](int value) { return static_cast<float>(value & 255) / 255; };
        image.at(i % 19, i / 19) = {byte(i), byte(i * 7), byte(255 - i), byte(i * 13)};
    }
    return image;
}

bool same(const Image& a, const Image& b, float tolerance) {
    const auto near = [=](const miColor& p, const miColor& q) {
        return testing::Value(p, Is(q.r, q.g, q.b, q.a, tolerance));
    };
    return a.width() == b.width() && std::ranges::equal(a.pixels(), b.pixels(), near);
}

PictureSettings type(const std::string& name) {
    PictureSettings settings;
    settings.type = name;
    return settings;
}

// Expects an action to fail with a line of a form.
void expect_failure(const std::function<void()>& action, Exit status,
                    const testing::Matcher<std::string>& line) {
    try {
        action();
        ADD_FAILURE() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.status, status);
        EXPECT_THAT(error.what(), AllOf(line, Not(HasSubstr("\n"))));
    }
}

TEST_F(PictureFile, IntegerFormatsKeepEveryByteWithAndWithoutDither) {
    const Image image = all_bytes();
    for (const std::string name : {"a.png", "a.tif", "a.tga", "a.iff", "a.rla", "a.rgb"})
        for (const bool dither : {false, true}) {
            PictureSettings settings = type("rgba");
            settings.dither = dither;
            EXPECT_TRUE(same(round_trip(image, name, settings), image, kExactByte)) << name;
        }
    // Formats without alpha give 1 for it.
    const miColor& c = image.at(3, 2);
    for (const std::string name : {"a.bmp", "a.ppm"})
        EXPECT_THAT(round_trip(image, name, type("rgba")).at(3, 2), Is(c.r, c.g, c.b, 1)) << name;
}

TEST_F(PictureFile, FloatFormatsKeepEveryBit) {
    Image image = all_bytes();
    image.at(0, 0) = {-3.5f, 1e30f, 1e-40f, 0};
    PictureSettings encoded = type("rgba_fp");
    encoded.gamma = 1 / 2.2f;
    encoded.premultiply = false;
    encoded.desaturate = true;
    EXPECT_TRUE(same(round_trip(image, "a.exr", encoded), image, 0));
    EXPECT_TRUE(same(round_trip(image, "a.tif", encoded), image, 0));
    const auto file = OIIO::ImageInput::open((folder / "a.exr").string());
    EXPECT_EQ(file->spec().get_string_attribute("compression"), "zip");

    const miColor c = {0.5f, -1.25f, 4, 0};
    EXPECT_THAT(round_trip(c, "h.exr", type("rgba")), Is(0.5f, -1.25f, 4, 0));
    EXPECT_THAT(round_trip(c, "h.hdr", type("rgba")), Is(0.5f, 0, 4, 1, 0.02f));
    EXPECT_EQ(round_trip({1234.5f, 0, 0, 0}, "z.exr", type("z")).r, 1234.5f);
    EXPECT_EQ(round_trip({0.1f, 0.2f, 0.3f, 0.8f}, "a.exr", type("a_fp")).r, 0.8f);
}

TEST_F(PictureFile, TypeChoosesChannelsAndSample) {
    const std::tuple<const char*, const char*, int, Format> cases[] = {
        {"a.exr", "+rgba", 4, Format::HALF},    {"a.exr", "-rgba_fp", 4, Format::FLOAT},
        {"a.exr", "n", 3, Format::FLOAT},       {"a.exr", "z", 1, Format::FLOAT},
        {"a.png", "rgb_16", 3, Format::UINT16}, {"a.png", "rgb", 3, Format::UINT8},
        {"a.png", "a", 1, Format::UINT8},       {"a.jpg", "", 3, Format::UINT8}};
    for (const auto& [name, buffer, channels, format] : cases) {
        write_picture(all_bytes(), folder / name, type(buffer));
        const auto file = OIIO::ImageInput::open((folder / name).string());
        EXPECT_TRUE(file->spec().nchannels == channels && file->spec().format == format) << buffer;
    }
}

TEST_F(PictureFile, EveryKnownFormatWritesEveryType) {
    Image image(3, 2);
    image.at(1, 1) = {1, 1, 1, 1};
    for (const std::string format : {"png", "tif", "tiff", "tifu", "jpg", "jpeg", "exr", "hdr",
                                     "tga", "bmp", "ppm", "iff", "rla", "rgb", "sgi"})
        for (const std::string buffer : {"", "rgb", "a", "rgba_16", "a_16", "rgba_h", "rgb_fp",
                                         "a_fp", "rgbe", "z", "n", "m", "tag"}) {
            PictureSettings settings = type(buffer);
            settings.format = format;
            const std::string name = "picture." + (format == "tifu" ? "tif" : format);
            EXPECT_NEAR(round_trip(image, name, settings).at(1, 1).r, 1, 0.15f) << name << buffer;
        }
    EXPECT_TRUE(is_known_format("PNG"));
    EXPECT_FALSE(is_known_format("zpic") || is_known_format(""));
}

TEST_F(PictureFile, ClipsDesaturatesDividesAndEncodes) {
    using Clip = scene::Options::ColorClip;
    const miColor bright = {1.5f, 0.25f, -1, 0.5f};
    const struct {
        Clip clip;
        bool premultiply, desaturate;
        float gamma;
        miColor color, stored;
    } cases[] = {
        {Clip::Raw, true, false, 1, bright, {1, 0.25f, 0, 0.5f}},
        {Clip::Rgb, true, false, 1, bright, {1, 0.25f, 0, 1}},
        {Clip::Alpha, true, false, 1, bright, {0.5f, 0.25f, 0, 0.5f}},
        {Clip::Raw, false, false, 1, bright, {1, 0.5f, 0, 0.5f}},
        {Clip::Raw, false, false, 1, {0.3f, 0.2f, 0.1f, 0}, {0.3f, 0.2f, 0.1f, 0}},
        {Clip::Raw, true, false, 0.5f, {0.25f, 1, 0, 0.25f}, {0.5f, 1, 0, 0.25f}},
        {Clip::Raw, true, true, 1, {9, 9, 9, 1}, {1, 1, 1, 1}},
        {Clip::Raw, true, true, 1, {-1, -2, -1, 1}, {0, 0, 0, 1}},
        // Of the same luminance and hue: 0.2126 x 2 + 0.7874 x 0.2.
        {Clip::Raw, true, true, 1, {2, 0.2f, 0.2f, 1}, {1, 0.47f, 0.47f, 1}},
    };
    for (const auto& c : cases) {
        PictureSettings settings = type("rgba_16");
        settings.colorclip = c.clip;
        settings.premultiply = c.premultiply;
        settings.desaturate = c.desaturate;
        settings.gamma = c.gamma;
        EXPECT_THAT(round_trip(c.color, "a.png", settings),
                    Is(c.stored.r, c.stored.g, c.stored.b, c.stored.a));
    }
}

TEST_F(PictureFile, NothingThatIsNotANumberIsStored) {
    const miColor wild = {NAN, INFINITY, -INFINITY, 1};
    EXPECT_THAT(round_trip(wild, "a.exr", type("rgba")), Is(0, 65504, -65504, 1));
    EXPECT_THAT(round_trip(wild, "a.png", type("rgba")), Is(0, 1, 0, 1));
    EXPECT_GT(round_trip(wild, "a.exr", type("rgba_fp")).g, 1e37f);
}

// A grey between two steps becomes both, in the right share.
TEST_F(PictureFile, DitherKeepsTheMean) {
    Image image(16, 16);
    for (int i = 0; i < 256; ++i) image.at(i % 16, i / 16) = {100.25f / 255, 0, 0, 1};
    double mean = 0;
    const Image read = round_trip(image, "a.png", type("rgba"));
    for (const miColor& c : read.pixels()) mean += c.r / 256;
    EXPECT_NEAR(mean * 255, 100.25, 1e-3);
}

TEST_F(PictureFile, FailureNamesTheFileAndLeavesNothingBehind) {
    const Image image = all_bytes();
    const auto fails = [&](const fs::path& file, const std::string& buffer) {
        expect_failure([&] { write_picture(image, file, type(buffer)); }, Exit::Output,
                       StartsWith("error: cannot write picture \"" + file.string() + "\": "));
    };
    write_picture(image, folder / "old.tga", type("rgba"));
    for (const char* name : {"a.xyz", "a", "old.tga/c.png"}) fails(folder / name, "rgba");
    fails(folder / "a.png", "rgbx");

    // A limit on the size of files stands for a full disk, whether or not the encoder sees it.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{200, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    for (const char* name : {"old.tga", "new.png", "new.exr", "new.rgb", "new.rla"})
        fails(folder / name, "rgba");
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(files(), 1);
    EXPECT_TRUE(same(read_image(folder / "old.tga", 1), image, kExactByte));

    // What can be known beforehand; what killed runs left goes, what is no leftover stays.
    fs::create_directory(folder / "a.png");
    for (const fs::path& name : {folder / "a.png", folder / std::string("a\0.png", 6),
                                 folder / "old.tga" / "c.png", folder / std::string(256, 'a')})
        expect_failure([&] { check_picture_file(name); }, Exit::Output, HasSubstr("cannot write"));
    EXPECT_NO_THROW(check_picture_file(folder / "new" / "c.png"));
    for (const char* name : {".b.png.999999999.part", ".b.png.1.part", ".b.png.part"})
        std::ofstream(folder / name) << "half";
    write_picture(image, folder / "b.png", type("rgba"));
    EXPECT_EQ(files(), 5);
    EXPECT_FALSE(fs::exists(folder / ".b.png.999999999.part"));

    // A device is written to, not replaced.
    PictureSettings png = type("rgba");
    png.format = "png";
    expect_failure([&] { write_picture(image, "/dev/full", png); }, Exit::Output, testing::_);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(PictureFile, LinksAreKept) {
    write_picture(all_bytes(), folder / "new" / "a.png", type("rgba"));
    fs::create_symlink("new/a.png", folder / "link.png");
    write_picture(Image(2, 2), folder / "link.png", type("rgba"));
    EXPECT_TRUE(fs::is_symlink(folder / "link.png"));
    EXPECT_EQ(read_image(folder / "new" / "a.png", 1).width(), 2);
}

TEST_F(PictureFile, ReadingSpreadsGreyAndAppliesGammaToIntegersOnly) {
    round_trip({0.25f, 0.5f, 1, 0.25f}, "a.png", type("a_16"));
    round_trip({0.25f, 0.5f, 1, 0.25f}, "a.exr", type("rgba"));
    EXPECT_THAT(read_image(folder / "a.png", 2).at(0, 0), Is(0.5f, 0.5f, 0.5f, 1));
    EXPECT_EQ(read_image(folder / "a.exr", 2).at(0, 0).r, 0.25f);
}

TEST_F(PictureFile, UnreadableFilesAreNamedInOneLine) {
    std::ofstream(folder / "text.png") << "not a picture\n";
    std::ofstream(folder / "empty.exr");
    write_picture(all_bytes(), folder / "cut.tga", type("rgba"));
    fs::resize_file(folder / "cut.tga", 100);
    // A screen of 65535 x 65535 pixels in 13 bytes, 16000 x 16000 pixels in 18, and no end.
    std::ofstream(folder / "screen.gif") << "GIF89a\xff\xff\xff\xff" << std::string(3, '\0');
    std::ofstream(folder / "lie.tga")
        << std::string("\0\0\x0a\0\0\0\0\0\0\0\0\0\x80\x3e\x80\x3e\x20\x08", 18);
    ASSERT_EQ(mkfifo((folder / "pipe.png").c_str(), 0600), 0);
    for (const char* name : {"missing.png", "text.png", "empty.exr", "cut.tga", "screen.gif",
                             "lie.tga", "pipe.png", "", "/dev/zero"})
        expect_failure(
            [&] { read_image(folder / name, 1); }, Exit::Input,
            StartsWith("error: cannot read picture \"" + (folder / name).string() + "\": "));
}

}  // namespace
}  // namespace orvane::image
