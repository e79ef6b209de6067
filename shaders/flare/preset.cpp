// The preset reader. See preset.h for the format.

#include "flare/preset.h"

#include <cstdio>
#include <cstring>

#include "frame/host.h"

namespace {

constexpr int kLineLength = 1024;  // bytes, the newline included
constexpr int kKeywords = 8;
constexpr const char* kKeyword[kKeywords] = {"CIRCLE", "CIRCLE_D", "NGON",      "NGON_D",
                                             "SECTOR", "RAYS",     "FLARE_END", "FLARE_START"};
constexpr const char* kName = "Orvane Lens";

// The byte that a pixel carries. A value beyond all integers, as only float images have it,
// carries 0.
char byte_of(miColor pixel) {
    const double value = static_cast<double>(pixel.a) * 255.0;
    const bool usable = value > -2147483648.0 && value < 2147483648.0;
    return usable ? static_cast<char>(static_cast<int>(value) & 0xff) : '\0';
}

struct Carrier {
    miTag texture;
    void* image;
    int width, height;
};

Carrier open_carrier(miTag texture) {
    Carrier carrier = {texture, mi_db_access(texture), 0, 0};
    void* unused = nullptr;
    mi_texture_info(texture, &carrier.width, &carrier.height, &unused);
    if (!carrier.image) carrier.width = carrier.height = 0;
    return carrier;
}

// A preset while it is read: before its header level is 0, then 1 and the number of records.
struct Reading {
    FlarePrimitive** records;
    int level;
    int length;  // bytes in line
    char line[kLineLength + 1];
};

enum class Progress { Continue, Done, Failed };

// Takes a whole line.
Progress take_line(Reading* reading) {
    reading->line[reading->length] = '\0';
    reading->length = 0;
    const int result = parsePrimitiveLine(reading->line, reading->records, reading->level);
    if (reading->level == 0) {
        if (result == PRESET_LINE_NONE) return Progress::Continue;
        if (result != PRESET_LINE_START) {
            mi_info("%s: Fatal Error reading flare preset file: Bad or Missing version header.\n",
                    kName);
            return Progress::Failed;
        }
        reading->level = 1;
        return Progress::Continue;
    }
    if (result == PRESET_LINE_PRIMITIVE) ++reading->level;
    return result == PRESET_LINE_END ? Progress::Done : Progress::Continue;
}

Progress take_byte(Reading* reading, char byte) {
    reading->line[reading->length++] = byte;
    if (byte == '\n') return take_line(reading);
    if (reading->length < kLineLength) return Progress::Continue;
    mi_info(
        "%s: Fatal Error reading flare preset file: line length exceeds maximum of %i "
        "characters.\n",
        kName, kLineLength);
    return Progress::Failed;
}

Progress read_pixels(const Carrier& carrier, Reading* reading) {
    for (int y = carrier.height - 1; y >= 0; --y)
        for (int x = 0; x < carrier.width; ++x) {
            miColor pixel;
            mi_img_get_color(carrier.image, &pixel, x, y);
            const Progress progress = take_byte(reading, byte_of(pixel));
            if (progress != Progress::Continue) return progress;
        }
    mi_info("%s: Error reading flare preset file - reached end of file before end of presets\n",
            kName);
    return Progress::Done;
}

}  // namespace

extern "C" {

int parsePrimitivePic(miTag texture, FlarePrimitive** records) {
    *records = nullptr;
    Reading reading = {records, 0, 0, {}};
    const Carrier carrier = open_carrier(texture);
    const Progress progress = read_pixels(carrier, &reading);
    mi_db_unpin(texture);
    return progress == Progress::Done && reading.level > 0 ? reading.level - 1 : 0;
}

int parsePrimitiveLine(const char* line, FlarePrimitive** records, int index) {
    char keyword[kLineLength + 1] = "";
    FlarePrimitive read = {0, {9999.0f}};
    miScalar* v = read.values;
    static_assert(kLineLength == 1024, "the width below");
    std::sscanf(line, "%1024s%f%f%f%f%f%f%f%f%f%f%f%f%f%f%f", keyword, v, v + 1, v + 2, v + 3,
                v + 4, v + 5, v + 6, v + 7, v + 8, v + 9, v + 10, v + 11, v + 12, v + 13, v + 14);
    while (read.type < kKeywords && std::strcmp(keyword, kKeyword[read.type]) != 0) ++read.type;

    if (read.type == kKeywords) return PRESET_LINE_NONE;
    if (read.type == PRESET_END) return PRESET_LINE_END;
    if (read.type == PRESET_START)
        return v[0] <= 1.0f ? PRESET_LINE_START : PRESET_LINE_BAD_VERSION;
    if (index < 1) return PRESET_LINE_PRIMITIVE;
    void* grown =
        mi_mem_int_reallocate("Orvane_Lens", __LINE__, *records, mi_mem_size(index, sizeof read));
    if (!grown) return PRESET_LINE_NONE;
    *records = static_cast<FlarePrimitive*>(grown);
    (*records)[index - 1] = read;
    return PRESET_LINE_PRIMITIVE;
}

void dumpParsedPrimitives(FlarePrimitive** records, int count) {
    for (int i = 0; i < count; ++i) {
        const FlarePrimitive& record = (*records)[i];
        if (record.type >= 0 && record.type < kKeywords)
            std::fprintf(stderr, "TYPE: %s\n", kKeyword[record.type]);
        std::fprintf(stderr, "VALUES:\n");
        for (const miScalar value : record.values)
            std::fprintf(stderr, "\t%f\n", static_cast<double>(value));
    }
}
}
