// What the toon materials share: the record that they hand to the toon lens, and groups.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "frame/host.h"
#include "frame/soft_material.h"
#include "frame/surface.h"

constexpr int kMostGrouped = 200;

// What zones are lines drawn between.
enum zel_toon_zone : miInteger {
    zel_toon_NOT_SHADED = 0,  // fully transparent, or a material without zones
    zel_toon_UNLIT = 1,
    zel_toon_LIT = 2,        // by at least one light
    zel_toon_HIGHLIGHT = 3,  // of at least one light
};

// Which lines may be drawn over a surface, and how.
struct zel_toon_record {
    miScalar width;  // factor on the lens's line width
    miBoolean crease_on;
    miColor crease_color;
    miBoolean outline_on;
    miColor outline_color;
    miBoolean color_lines_on;
    miColor color_line_color;
    miBoolean zone_lines_on;
    miColor zone_line_color;
    miInteger zone;  // zel_toon_zone
    miInteger group_count;
    miUint group_labels[kMostGrouped];  // labels of objects that this one draws no line against
    miScalar transparency;
};
static_assert(sizeof(zel_toon_record) == 896);

// Begins a record: outlines and creases of a colour, nothing else on, no group. Nobody reads labels
// behind group_count, and clearing them at every hit would show in the time of a frame.
static inline void begin_record(zel_toon_record* record, miScalar width, const miColor& line,
                                miScalar transparency) {
    std::memset(record, 0, offsetof(zel_toon_record, group_labels));
    record->width = width;
    record->crease_on = record->outline_on = 1;
    record->crease_color = record->outline_color = line;
    record->transparency = transparency;
}

struct zel_toon_grouped {
    miInteger unused;  // declared, never read
    miUint label;      // of an object
};

// Copies the first labels of a group, element k of which lies at index + k.
static inline void copy_group(zel_toon_record* record, const zel_toon_grouped* group,
                              miInteger index, miInteger count) {
    group += index;
    record->group_count = std::clamp(count, 0, kMostGrouped);
    for (int k = 0; k < record->group_count; ++k) record->group_labels[k] = group[k].label;
}

extern "C" {

// Tints a line's colour by the light on the surface: k > 0 adds the light, k < 0 multiplies by it.
// Alpha stays.
void zel_toon_tint_line(miColor* line, const miColor* light_sum, miScalar k);
}
