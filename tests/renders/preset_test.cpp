// orvane preset: texts into carriers and back, what is told of faults.

#include <gmock/gmock.h>

#include <cstring>
#include <sstream>

#include "command.h"
#include "image/carrier.h"
#include "image/picture_file.h"

namespace orvane {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const char* const kCarriers[] = {"c.png", "c.tif", "c.tga"};

// Values as they are.
image::PictureSettings exact(const std::string& type = "rgba") {
    image::PictureSettings settings;
    settings.type = type;
    settings.dither = false;
    return settings;
}

std::string inside(const std::string& lines) { return "FLARE_START 1.0\n" + lines + "FLARE_END\n"; }

// All bytes but those that end a line or its text.
std::string every_byte() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '\n') bytes += static_cast<char>(byte);
    return bytes;
}

// Expects the beginnings of the lines that tell faults, without what shows and explains them.
void expect_faults(const Outcome& outcome, const std::vector<std::string>& beginnings) {
    std::vector<std::string> lines;
    std::istringstream in(outcome.errors);
    for (std::string line; std::getline(in, line);)
        if (line.find(": error: ") != line.npos || line.find(": warning: ") != line.npos)
            lines.push_back(line);
    std::vector<testing::Matcher<std::string>> expected;
    for (const std::string& beginning : beginnings) expected.emplace_back(StartsWith(beginning));
    EXPECT_THAT(lines, testing::ElementsAreArray(expected));
}

TEST(Preset, CarriersGiveBackEveryByte) {
    const std::string text = inside('#' + every_byte() + '\n' + std::string(1023, '#') + '\n' +
                                    "CIRCLE 1 1 1 0 1 .1 0\r\n") +
                             "behind the end" + every_byte();
    const Folder folder{""};
    folder.put("p.flare", text);
    for (const std::string carrier : kCarriers) {
        EXPECT_EQ(folder.run({"preset", "pack", "p.flare", "-o", carrier}).status, 0);
        EXPECT_EQ(folder.run({"preset", "unpack", carrier}).errors, text) << carrier;
    }

    // The picture is nearly a square and no larger than it must be.
    const std::string all = folder.run({"preset", "unpack", "--all", "c.png"}).errors;
    const Image picture = folder.picture("c.png");
    EXPECT_THAT(all, StartsWith(text));
    EXPECT_EQ(all.size(), picture.pixels().size());
    EXPECT_LT(all.size(), text.size() + static_cast<std::size_t>(picture.width()));
    EXPECT_NEAR(picture.width(), picture.height(), 1);

    // A text that leaves no pixel.
    folder.put("p.flare", inside(std::string(100 - inside("\n").size(), '#') + '\n'));
    EXPECT_EQ(folder.run({"preset", "pack", "p.flare", "-o", "c.png"}).status, 0);
    EXPECT_EQ(folder.picture("c.png").pixels().size(), 100u);
    const Outcome checked = folder.run({"preset", "check", "c.png", "c.tga"});
    EXPECT_EQ(checked.status, 0);
    expect_faults(checked, {"c.tga:6:1: warning: text after FLARE_END"});
}

// Colors stay where alpha is 0, and above alpha.
TEST(Preset, PicturesKeepTheirColors) {
    Image picture(256, 2);
    for (int x = 0; x < 256; ++x)
        for (int y = 0; y < 2; ++y) {
            const float up = static_cast<float>(x) / 255, down = 1 - up;
            picture.at(x, y) = {up, down, up * up, y == 0 ? 0 : down};
        }
    const Folder folder{""};
    image::write_picture(picture, folder.path("in.tga"), exact());
    picture = folder.picture("in.tga");
    folder.put("p.flare", inside(""));
    for (const std::string carrier : kCarriers) {
        const Outcome outcome =
            folder.run({"preset", "pack", "p.flare", "-o", carrier, "--picture", "in.tga"});
        ASSERT_EQ(outcome.errors, "");
        const Image read = folder.picture(carrier);
        for (std::size_t i = 0; i < 512; ++i)
            ASSERT_EQ(0, std::memcmp(&read.pixels()[i], &picture.pixels()[i], 3 * sizeof(float)));
        EXPECT_EQ(image::alpha_bytes(read).substr(0, 27), inside("") + '\0');
        EXPECT_EQ(read.at(0, 0).a, 1);
    }
}

struct FaultyLine {
    std::string text, fault;  // from its column on; empty = none
};

TEST(Preset, EveryFaultIsTold) {
    using namespace std::string_literals;
    const FaultyLine kLines[] = {
        {"# "s + every_byte(), ""},
        {"A remark", "1: warning: \"A\" is no keyword"},
        {"// FLARE_END", ""},
        {" CIRCLE 1 1 1 1 0 .1 0 0", "2: error: CIRCLE before FLARE_START"},
        {"FLARE_START 1.01", "13: error: version 1.01 is not known"},
        {"FLARE_START", "1: warning: a second FLARE_START is ignored"},
        {"\t", ""},
        {"circle 1 1 1 1 0 .1 0 0", "1: error: \"circle\" is no keyword"},
        {"CIRCLE", "7: error: red of CIRCLE is missing: there are 0 of 8"},
        {"CIRCLE 1 1 1 1 0 .1 9", ""},
        {"CIRCLE 1 1 1 1 0 .1 10", "23: error: profile parameter of CIRCLE is missing"},
        {"CIRCLE 1 1 1 1 0 .1 9 0 0", "25: warning: CIRCLE takes 8 numbers"},
        {"CIRCLE 0x1 +1 1e0 1. -.0 .1 9 0 # 0", ""},
        {"CIRCLE 1 1 1 1 0 .1.1 9 0", "18: error: radius of CIRCLE: \".1.1\" is not a number"},
        {"CIRCLE 1 NAN 1 1 0 .1 9 0", "10: error: green of CIRCLE is not finite"},
        {"CIRCLE 1 1 1e99 1 0 .1 9 0", "12: error: blue of CIRCLE is not finite"},
        {"CIRCLE_D 1 1 1 0 0 0 0 .1 12 0", "27: error: profile mode of CIRCLE_D is 12"},
        {"CIRCLE_D 1 1 1 0 0 0 0 .1 1e30 0", "27: error: profile mode of CIRCLE_D is 1e+30"},
        {"CIRCLE_D 1 1 1 0 0 0 0 .1 -.5 0", "27: warning: profile mode of CIRCLE_D is -0.5"},
        {"NGON 1 1 1 0 0 .1 0 0 .9 0 0", "23: error: sides of NGON is 0.9: at least 1"},
        {"NGON_D 1 1 1 0 0 0 0 .1 0 0 1 15 1", ""},
        {"RAYS 1 1 1 0 0 0 .1 .1 .1 51 149 0 0", ""},
        {"RAYS 1 1 1 0 0 0 .1 .1 .1 51 150 0 0", "30: error: first ray of RAYS is 150"},
        {"RAYS 1 1 1 0 0 0 .1 .1 .1 51 -1 0 0", "30: error: first ray of RAYS is -1"},
        {"SECTOR 1 1 1 0 0 0 .1 .1 .1 0 191 0 0", ""},
        {"SECTOR 1 1 1 0 0 0 .1 .1 .1 0 192 0 0", "31: error: ray count of SECTOR is 192"},
        {"#\0 CIRCLE"s, "2: error: a zero byte"},
        {std::string(1023, '#'), ""},
        {std::string(1024, '#'), "1024: error: a line holds at most 1024 bytes"},
        {"FLARE_END", ""},
        {"CIRCLE of old", "1: warning: text after FLARE_END"},
        {"\0"s, "1: error: a zero byte"},
    };
    std::string text;
    std::vector<std::string> of_text, of_carrier;
    for (std::size_t i = 0; i < std::size(kLines); ++i) {
        text += kLines[i].text + '\n';
        if (kLines[i].fault.empty()) continue;
        const std::string told = ":" + std::to_string(i + 1) + ":" + kLines[i].fault;
        of_text.push_back("p.flare" + told);
        of_carrier.push_back("bad.tga" + told);
    }
    of_carrier.pop_back();  // a zero byte behind FLARE_END is the end of what it carries
    const Folder folder{""};
    folder.put("p.flare", text);
    const Outcome packed = folder.run({"preset", "pack", "p.flare", "-o", "c.png"});
    EXPECT_EQ(packed.status, 3);
    expect_faults(packed, of_text);
    EXPECT_THAT(packed.errors, HasSubstr("\n  circle 1 1 1 1 0 .1 0 0\n  ^\ndid you mean \"C"));
    EXPECT_THAT(folder.files(), testing::ElementsAre("p.flare"));

    Image carrier(100, 50);
    image::put_alpha_bytes(carrier, text);
    image::write_picture(carrier, folder.path("bad.tga"), exact());
    const Outcome checked = folder.run({"preset", "check", "bad.tga"});
    EXPECT_EQ(checked.status, 3);
    expect_faults(checked, of_carrier);
}

TEST(Preset, MissingPartsAreTold) {
    const Folder folder{""};
    folder.put("a", "");
    folder.put("b", "#\nFLARE_START 1\n#");
    folder.put("c", "FLARE_START\nFLARE_END");
    folder.put("d", "FLARE_START one\nFLARE_END\n");
    folder.put("e", "FLARE_END\nFLARE_START 1\n");
    expect_faults(folder.run({"preset", "check", "a", "b", "c", "d", "e"}),
                  {"a:1:1: error: there is no FLARE_START", "a:1:1: error: there is no FLARE_END",
                   "b:3:2: error: the last line", "b:3:2: error: there is no FLARE_END",
                   "c:1:12: error: version of FLARE_START is missing",
                   "c:2:10: error: the last line", "d:1:13: error: version of FLARE_START: \"one\"",
                   "e:1:1: error: FLARE_END before", "e:2:1: warning: text after FLARE_END"});
}

TEST(Preset, FilesThatAreNotSuitedAreRefused) {
    const Folder folder{""};
    folder.put("p.flare", inside(""));
    image::write_picture(Image(5, 5), folder.path("small.png"), exact());
    image::write_picture(Image(99, 99), folder.path("deep.png"), exact("rgb_16"));
    const auto files = folder.files();
    const auto pack = [](const std::string& carrier, const std::string& picture) {
        return Arguments{"preset", "pack", "p.flare", "-o", carrier, "--picture", picture};
    };
    const struct {
        Arguments arguments;
        int status;
        const char* line;
    } kCases[] = {
        {{"preset", "pack", "p.flare"}, 2, "--output"},
        {pack("c.jpg", "small.png"), 6, "\"c.jpg\": it must be a png, tif or tga file"},
        {pack("c", "small.png"), 6, "must be"},
        {pack("c.png", "small.png"), 5, "too small: it has 25 pixels, the preset needs 26"},
        {pack("c.png", "deep.png"), 5, "it is not of 8 bits"},
        {{"preset", "pack", "none.flare", "-o", "c.png"}, 5, "none.flare"},
        {{"preset", "unpack", "deep.png"}, 5, "it has no alpha"},
    };
    for (const auto& [arguments, status, line] : kCases) {
        const Outcome outcome = folder.run(arguments);
        EXPECT_EQ(outcome.status, status) << outcome.errors;
        EXPECT_THAT(outcome.errors, HasSubstr(line));
        expect_faults(outcome, {"orvane: error: "});
        EXPECT_EQ(folder.files(), files);
    }
}

}  // namespace
}  // namespace orvane
