// The preset reader on carrier images made from texts.

#include "flare/preset.h"

#include <cmath>
#include <string>

#include "scripted/host.h"

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;

class PresetTest : public scripted::Renderer {
  protected:
    void TearDown() override {
        mi_mem_int_release("test", 0, records);
        Renderer::TearDown();
    }

    // The bytes of a text in the alpha of an image this wide, the rest filled.
    int read(const std::string& text, int width = 7, char filler = '\0') {
        const int height = (static_cast<int>(text.size()) + width - 1) / width;
        image = {width, height, {}};
        image.pixels.resize(static_cast<std::size_t>(width * height));
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const auto at = static_cast<std::size_t>((height - 1 - y) * width + x);
                const auto byte = static_cast<unsigned char>(at < text.size() ? text[at] : filler);
                image.pixels[static_cast<std::size_t>(y * width + x)] = {9, 9, 9, byte / 255.0f};
            }
        return read_image();
    }

    int read_image() {
        host.messages.clear();
        mi_mem_int_release("test", 0, records);
        return parsePrimitivePic(host.add_image(&image), &records);
    }

    // Reads a text and tells how many records it has and what is said, without what is always said.
    std::pair<int, std::string> told(const std::string& text, int width = 7, char filler = '\0') {
        const int count = read(text, width, filler);
        return {count, host.messages.empty() ? "" : host.messages.back().text.substr(12)};
    }

    scripted::Image image;
    FlarePrimitive* records = nullptr;
};

const std::string kEndOfFile =
    " Error reading flare preset file - reached end of file before end of presets\n";
const std::string kFatal = " Fatal Error reading flare preset file: ";
const std::string kHeader = kFatal + "Bad or Missing version header.\n";
const std::string kTooLong = kFatal + "line length exceeds maximum of 1024 characters.\n";

TEST_F(PresetTest, ReadsRecordsInOrder) {
    const std::string text =
        "my preset, CIRCLE 1 2 3\n\nFLARE_START 1.0\nCIRCLE .5 -1e2 3 four 5\n"
        "circle 1\nCIRCLE_DX 1\nFLARE_START 7\n\tRAYS\t1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n"
        "NGON_D\nFLARE_END\nCIRCLE 1\nnonsense FLARE_START 9";
    for (const int width : {1, 7, 1000}) {
        ASSERT_EQ(told(text, width), std::pair(3, std::string())) << width;
        EXPECT_EQ(records[0].type, PRIMITIVE_CIRCLE);
        EXPECT_EQ(records[1].type, PRIMITIVE_RAYS);
        EXPECT_EQ(records[2].type, PRIMITIVE_NGON_D);
        EXPECT_THAT(records[0].values,
                    ElementsAre(.5f, -100, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
        EXPECT_THAT(records[1].values,
                    ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
        EXPECT_EQ(records[2].values[0], 9999);
    }
    testing::internal::CaptureStderr();
    dumpParsedPrimitives(&records, 1);
    records[0].type = -1;
    dumpParsedPrimitives(&records, 1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                ContainsRegex("^TYPE: CIRCLE\nVALUES:\n\t0.500000\n[^T]*\nVALUES:[^T]*$"));
}

TEST_F(PresetTest, TellsFaultsAndKeepsWhatItMay) {
    const std::string start = "FLARE_START 1\n", end = "\nFLARE_END\n";
    const struct {
        std::string text;
        int count;
        std::string told;
        int width = 7;
        char filler = '\0';
    } cases[] = {
        {"FLARE_START 1\nFLARE_END\n", 0, ""},
        {"FLARE_START 1\nCIRCLE 1\n", 1, kEndOfFile},
        {"FLARE_START 1\nCIRCLE 1\nFLARE_END", 1, kEndOfFile},  // its newline is missing
        {"only words\n", 0, kEndOfFile},
        {"CIRCLE 1\nFLARE_START 1\nFLARE_END\n", 0, kHeader},
        {"FLARE_END\n", 0, kHeader},
        {"FLARE_START\n", 0, kHeader},
        {"FLARE_START 1.01\n", 0, kHeader},
        {"FLARE_START nan\n", 0, kHeader},
        {start + "CIRCLE 1" + std::string(1015, ' ') + end, 1, ""},
        {start + "CIRCLE 1\n" + std::string(1024, 'x') + end, 0, kTooLong},
        {"x", 0, kEndOfFile, 1023, 'x'},
        {"x", 0, kTooLong, 1024, 'x'},
        {std::string("FLARE_START 1\n\0CIRCLE 1\nCIRCLE\0 2\nFLARE_END\n", 44), 1, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(told(c.text, c.width, c.filler), std::pair(c.count, c.told)) << &c - cases;
    EXPECT_EQ(records[0].values[0], 9999);  // a filler byte of 0 ends the text of its line
    host.failing_allocation = host.allocation_count + 2;  // the second record is not stored
    EXPECT_EQ(read("FLARE_START 1\nCIRCLE 1\nCIRCLE 2\nCIRCLE 3\nFLARE_END\n"), 2);
    EXPECT_EQ(records[1].values[0], 3);
}

TEST_F(PresetTest, OddCarriersAreSafe) {
    image = {0, 0, {}};
    EXPECT_EQ(read_image(), 0);
    EXPECT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(parsePrimitivePic(host.add({miITEM_LIGHT, nullptr, {}}), &records), 0);
    for (const float alpha : {1e30f, -1e30f, std::nanf(""), -1.0f}) {
        image = {2, 1, {{0, 0, 0, alpha}, {0, 0, 0, 10 / 255.0f}}};
        EXPECT_EQ(read_image(), 0);
    }
}

}  // namespace
