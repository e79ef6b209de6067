// Feeds arbitrary bytes to both readers of flare presets: the one of the shaders, through a carrier
// of these bytes, and the checker of the command. What the checker passes the other must take.

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "commands/preset_text.h"
#include "flare/preset.h"
#include "frame/host.h"

namespace {

constexpr int kWidth = 61;

std::string_view bytes;
int complaints = 0;

}  // namespace

// What the reader asks of a renderer. The carrier's last row is filled up with zeros.
extern "C" {

void* mi_db_access(miTag) { return &bytes; }
void mi_db_unpin(miTag) {}
miBoolean mi_texture_info(miTag, int* x_resolution, int* y_resolution, void**) {
    *x_resolution = kWidth;
    *y_resolution = static_cast<int>((bytes.size() + kWidth - 1) / kWidth);
    return miTRUE;
}
void mi_img_get_color(void*, miColor* color, int x, int y) {
    const std::size_t rows = (bytes.size() + kWidth - 1) / kWidth;
    const std::size_t at =
        (rows - 1 - static_cast<std::size_t>(y)) * kWidth + static_cast<std::size_t>(x);
    const auto byte = at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
    *color = {0, 0, 0, static_cast<miScalar>(byte) / 255};
}
void* mi_mem_int_reallocate(const char*, int, void* p, int size) {
    return std::realloc(p, static_cast<std::size_t>(size));
}
void mi_info(const char*, ...) { ++complaints; }

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace orvane::commands;
    bytes = {reinterpret_cast<const char*>(data), size};
    bool passed = true;
    int elements = 0;
    for (const PresetFault& fault : preset_faults(bytes)) passed = passed && !fault.is_error;

    complaints = 0;
    FlarePrimitive* records = nullptr;
    const int count = parsePrimitivePic(1, &records);
    for (int i = 0; i < count; ++i) {
        if (records[i].type < PRIMITIVE_CIRCLE || records[i].type > PRIMITIVE_RAYS) std::abort();
        elements += records[i].values[0] == records[i].values[0];
    }
    std::free(records);
    if (count < 0 || elements > count || (passed && complaints > 0)) std::abort();
    return 0;
}
}
