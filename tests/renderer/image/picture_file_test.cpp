// Pictures written and read back: what survives, what is encoded, and what failure leaves behind.

#include "image/picture_file.h"

#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fstream>
#include <functional>
#include <limits>

#include "scene/errors.h"

namespace orvane::image {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ColorClip = scene::Options::ColorClip;

void expect_color(const miColor& c, float r, float g, float b, float a, float tolerance = 1e-4f) {
    EXPECT_NEAR(c.r, r, tolerance);
    EXPECT_NEAR(c.g, g, tolerance);
    EXPECT_NEAR(c.b, b, tolerance);
    EXPECT_NEAR(c.a, a, tolerance);
}

class PictureFile : public ::testing::Test {
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

    std::size_t files() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
    }

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
        return std::abs(p.r - q.r) <= tolerance && std::abs(p.g - q.g) <= tolerance &&
               std::abs(p.b - q.b) <= tolerance && std::abs(p.a - q.a) <= tolerance;
    };
    return a.width() == b.width() && a.height() == b.height() &&
           std::ranges::equal(a.pixels(), b.pixels(), near);
}

// Of a step of 8 bits, far below one.
constexpr float kExactByte = 1e-6f;

PictureSettings type(const std::string& name) {
    PictureSettings settings;
    settings.type = name;
    return settings;
}

Exit status_of(const std::function<void()>& action, std::string* message = nullptr) {
    try {
        action();
    } catch (const Error& error) {
        if (message) *message = error.what();
        return error.status;
    }
    return Exit::Ok;
}

TEST_F(PictureFile, IntegerFormatsKeepEveryByteWithAndWithoutDither) {
    const Image image = all_bytes();
    for (const std::string name : {"a.png", "a.tif", "a.tga", "a.iff", "a.rla", "a.rgb"}) {
        for (const bool dither : {false, true}) {
            PictureSettings settings = type("rgba");
            settings.dither = dither;
            const Image read = round_trip(image, name, settings);
            EXPECT_TRUE(same(read, image, kExactByte)) << name;
        }
    }
    EXPECT_TRUE(same(round_trip(image, "w.png", type("rgba_16")), image, kExactByte));
    EXPECT_TRUE(same(round_trip(image, "w.rgb", type("rgba_16")), image, kExactByte));

    // Formats without alpha give 1 for it.
    for (const std::string name : {"a.bmp", "a.ppm"}) {
        const Image read = round_trip(image, name, type("rgba"));
        EXPECT_NEAR(read.at(3, 2).g, image.at(3, 2).g, kExactByte) << name;
        EXPECT_EQ(read.at(3, 2).a, 1) << name;
    }
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

    expect_color(round_trip({0.5f, -1.25f, 2048, 0}, "h.exr", type("rgba")), 0.5f, -1.25f, 2048, 0);
    expect_color(round_trip({0.5f, -1.25f, 4, 0}, "h.hdr", type("rgba")), 0.5f, 0, 4, 1, 0.02f);
}

TEST_F(PictureFile, TypeChoosesChannelsAndSample) {
    const auto written = [&](const std::string& name, const std::string& buffer) {
        write_picture(all_bytes(), folder / name, type(buffer));
        return OIIO::ImageInput::open((folder / name).string())->spec();
    };
    EXPECT_EQ(written("a.exr", "+rgba").format, OIIO::TypeDesc::HALF);
    EXPECT_EQ(written("a.exr", "-rgba_fp").format, OIIO::TypeDesc::FLOAT);
    EXPECT_EQ(written("a.exr", "n").nchannels, 3);
    EXPECT_EQ(written("a.exr", "z").channelnames, std::vector<std::string>{"Z"});
    EXPECT_EQ(written("a.exr", "z").format, OIIO::TypeDesc::FLOAT);
    EXPECT_EQ(written("a.png", "rgb_16").format, OIIO::TypeDesc::UINT16);
    EXPECT_EQ(written("a.png", "rgb").nchannels, 3);
    EXPECT_EQ(written("a.png", "a").nchannels, 1);
    EXPECT_EQ(written("a.hdr", "a").nchannels, 3);
    EXPECT_EQ(written("a.jpg", "").nchannels, 3);

    // Data is stored as it is.
    EXPECT_EQ(round_trip({1234.5f, 0, 0, 0}, "z.exr", type("z")).r, 1234.5f);
    EXPECT_EQ(round_trip({0.1f, 0.2f, 0.3f, 0.8f}, "a.exr", type("a_fp")).r, 0.8f);
}

TEST_F(PictureFile, EveryKnownFormatWritesEveryType) {
    for (const std::string format : {"png", "tif", "tiff", "tifu", "jpg", "jpeg", "exr", "hdr",
                                     "tga", "bmp", "ppm", "iff", "rla", "rgb", "sgi"}) {
        ASSERT_TRUE(is_known_format(format)) << format;
        for (const std::string buffer : {"", "rgb", "a", "rgba_16", "a_16", "rgba_h", "rgb_fp",
                                         "a_fp", "rgbe", "z", "n", "m", "tag"}) {
            PictureSettings settings = type(buffer);
            settings.format = format;
            Image image(3, 2);
            image.at(1, 1) = {1, 1, 1, 1};
            const std::string extension = format == "tifu" ? "tif" : format;
            const Image read = round_trip(image, "picture." + extension, settings);
            EXPECT_NEAR(read.at(1, 1).r, 1, 0.15f) << format << ' ' << buffer;
            EXPECT_EQ(read.height(), 2);
        }
    }
    EXPECT_TRUE(is_known_format("PNG"));
    EXPECT_FALSE(is_known_format("zpic"));
    EXPECT_FALSE(is_known_format(""));
}

TEST_F(PictureFile, ClipsDesaturatesDividesAndEncodes) {
    const auto stored = [&](const miColor& c, const std::function<void(PictureSettings&)>& change) {
        PictureSettings settings = type("rgba_16");
        change(settings);
        return round_trip(c, "a.png", settings);
    };
    const miColor bright = {1.5f, 0.25f, -1, 0.5f};
    expect_color(stored(bright, [](auto&) {}), 1, 0.25f, 0, 0.5f);
    expect_color(stored(bright, [](auto& s) { s.colorclip = ColorClip::Rgb; }), 1, 0.25f, 0, 1);
    expect_color(stored(bright, [](auto& s) { s.colorclip = ColorClip::Alpha; }), 0.5f, 0.25f, 0,
                 0.5f);
    expect_color(stored(bright, [](auto& s) { s.premultiply = false; }), 1, 0.5f, 0, 0.5f);
    expect_color(stored({0.3f, 0.2f, 0.1f, 0}, [](auto& s) { s.premultiply = false; }), 0.3f, 0.2f,
                 0.1f, 0);
    expect_color(stored({0.25f, 1, 0, 0.25f}, [](auto& s) { s.gamma = 0.5f; }), 0.5f, 1, 0, 0.25f);

    // Desaturation keeps the luminance of what is in reach, and the hue.
    const miColor pulled = stored({2, 0.2f, 0.2f, 1}, [](auto& s) { s.desaturate = true; });
    EXPECT_NEAR(pulled.r, 1, 1e-4f);
    EXPECT_NEAR(0.2126f * pulled.r + 0.7874f * pulled.g, 0.2126f * 2 + 0.7874f * 0.2f, 1e-3f);
    EXPECT_EQ(pulled.g, pulled.b);
    expect_color(stored({9, 9, 9, 1}, [](auto& s) { s.desaturate = true; }), 1, 1, 1, 1);
    expect_color(stored({-1, -2, -1, 1}, [](auto& s) { s.desaturate = true; }), 0, 0, 0, 1);
}

TEST_F(PictureFile, NothingThatIsNotANumberIsStored) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const miColor wild = {NAN, kInfinity, -kInfinity, 1};
    expect_color(round_trip(wild, "a.exr", type("rgba")), 0, 65504, -65504, 1);
    expect_color(round_trip(wild, "a.png", type("rgba")), 0, 1, 0, 1);
    EXPECT_GT(round_trip(wild, "a.exr", type("rgba_fp")).g, 1e37f);
}

// A grey between two steps becomes both, in the right share.
TEST_F(PictureFile, DitherKeepsTheMean) {
    Image image(16, 16);
    for (int i = 0; i < 256; ++i) image.at(i % 16, i / 16) = {100.25f / 255, 0, 0, 1};
    const Image read = round_trip(image, "a.png", type("rgba"));
    double mean = 0;
    for (const miColor& c : read.pixels()) mean += c.r * 255 / 256;
    EXPECT_NEAR(mean, 100.25, 1e-3);
}

TEST_F(PictureFile, MetadataAndRowOrderReachTheFile) {
    PictureSettings settings = type("rgba");
    settings.metadata = {{"scene", "room.mi"}};
    Image image(1, 2);
    image.at(0, 1) = {1, 1, 1, 1};
    write_picture(image, folder / "a.exr", settings);
    const auto input = OIIO::ImageInput::open((folder / "a.exr").string());
    EXPECT_EQ(input->spec().get_string_attribute("scene"), "room.mi");
    EXPECT_EQ(input->spec().get_string_attribute("Software"), "orvane");
    EXPECT_EQ(input->spec().get_string_attribute("compression"), "zip");
    EXPECT_EQ(input->spec().get_string_attribute("DateTime"), "");
    float top[4] = {};
    input->read_scanline(0, 0, OIIO::TypeDesc::FLOAT, top);
    EXPECT_EQ(top[0], 1);
}

TEST_F(PictureFile, FailureNamesTheFileAndLeavesNothingBehind) {
    const Image image = all_bytes();
    const auto fails = [&](const fs::path& file, const std::string& buffer,
                           const std::string& why) {
        std::string message;
        EXPECT_EQ(status_of([&] { write_picture(image, file, type(buffer)); }, &message),
                  Exit::Output);
        EXPECT_THAT(message, StartsWith("error: cannot write picture \"" + file.string() + "\": "));
        EXPECT_THAT(message, HasSubstr(why));
    };
    fails(folder / "a.xyz", "rgba", "unknown picture format \"xyz\"");
    fails(folder / "a", "rgba", "unknown picture format \"\"");
    fails(folder / "a.png", "rgbx", "unknown frame buffer type \"rgbx\"");
    EXPECT_EQ(files(), 0u);
    fs::create_directory(folder / "b.png");
    fails(folder / "b.png", "rgba", "Is a directory");
    std::ofstream(folder / "file") << "in the way";
    fails(folder / "file" / "c.png", "rgba", "Not a directory");

    // A limit on the size of files stands for a full disk, whether or not the encoder sees it.
    write_picture(image, folder / "old.tga", type("rgba"));
    const Image before = read_image(folder / "old.tga", 1);
    const std::size_t count = files();
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{200, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    for (const char* name : {"old.tga", "new.png", "new.exr", "new.rgb", "new.rla"}) {
        fails(folder / name, "rgba", "");
    }
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(files(), count);
    EXPECT_TRUE(same(read_image(folder / "old.tga", 1), before, 0));

    // A device is written to, not replaced.
    PictureSettings png = type("rgba");
    png.format = "png";
    EXPECT_EQ(status_of([&] { write_picture(image, "/dev/full", png); }), Exit::Output);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(PictureFile, FoldersAreMadeAndLinksKept) {
    const Image image = all_bytes();
    write_picture(image, folder / "new" / "deep" / "a.png", type("rgba"));
    fs::create_symlink("new/deep/a.png", folder / "link.png");
    write_picture(Image(2, 2), folder / "link.png", type("rgba"));
    EXPECT_TRUE(fs::is_symlink(folder / "link.png"));
    EXPECT_EQ(read_image(folder / "new" / "deep" / "a.png", 1).width(), 2);
    EXPECT_EQ(files(), 2u);
}

TEST_F(PictureFile, ReadingSpreadsGreyAndAppliesGammaToIntegersOnly) {
    Image image(1, 1);
    image.at(0, 0) = {0.25f, 0.5f, 1, 0.25f};
    write_picture(image, folder / "a.png", type("a_16"));
    expect_color(read_image(folder / "a.png", 2).at(0, 0), 0.5f, 0.5f, 0.5f, 1);
    write_picture(image, folder / "a.exr", type("rgba"));
    EXPECT_EQ(read_image(folder / "a.exr", 2).at(0, 0).r, 0.25f);
}

TEST_F(PictureFile, UnreadableFilesAreNamedInOneLine) {
    std::ofstream(folder / "text.png") << "not a picture\n";
    std::ofstream(folder / "empty.exr");
    write_picture(all_bytes(), folder / "cut.tga", type("rgba"));
    fs::resize_file(folder / "cut.tga", 100);
    for (const char* name : {"missing.png", "text.png", "empty.exr", "cut.tga", ""}) {
        const fs::path file = folder / name;
        std::string message;
        EXPECT_EQ(status_of([&] { read_image(file, 1); }, &message), Exit::Input) << name;
        EXPECT_THAT(message, StartsWith("error: cannot read picture \"" + file.string() + "\": "));
        EXPECT_EQ(message.find('\n'), std::string::npos);
        if (file.filename() == "missing.png") {
            EXPECT_THAT(message, HasSubstr("No such file or directory"));
        }
    }
}

}  // namespace
}  // namespace orvane::image
