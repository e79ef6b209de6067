// The tests of the toon lens.

#include "toon/toon_lines.h"

#include <algorithm>
#include <cmath>

static const miScalar zel_toon_kernel[kGrid] = {13, 36, 13, 36, -196, 36, 13, 36, 13};

// Whether a record lists a label in its group.
static bool groups(const zel_toon_record& record, miUint label) {
    const miUint* end = record.group_labels + record.group_count;
    return std::find(record.group_labels, end, label) != end;
}

extern "C" {

int zel_toon_nearest(const zel_ct_store* store) {
    int nearest = -1;
    for (int k = 0; k < kGrid; ++k)
        if (store->label[k] != 0 && (nearest < 0 || store->depth[k] <= store->depth[nearest]))
            nearest = k;
    return nearest;
}

int zel_toon_classify(const zel_ct_store* store) {
    int empty = 0, different = 0, same = 0;
    for (int k = 0; k < kGrid; ++k) {
        const miUint label = store->label[k];
        empty += label == 0;
        different += label != store->label[kCentre];
        same += label == store->label[kCentre];
    }
    if (empty > 0) return zel_toon_EMPTY;
    if (different > 0) return zel_toon_DIFFERENT;
    return same > 0 ? zel_toon_SAME : zel_toon_NO_SAMPLES;
}

miBoolean zel_toon_group_test(const zel_ct_store* store, miScalar limit) {
    const zel_toon_record* records = records_of(store);
    for (int k = 0; k < kGrid; ++k) {
        if (records[k].group_count == 0) continue;
        for (int j = 0; j < kGrid; ++j)
            if (j != k && std::abs(store->depth[k] - store->depth[j]) < limit &&
                groups(records[k], store->label[j]))
                return miFALSE;
    }
    return miTRUE;
}

miBoolean zel_toon_normal_contrast(const miVector* normals, miScalar limit) {
    miVector sum = {0, 0, 0};
    for (int k = 0; k < kGrid; ++k) sum = sum + normals[k] * zel_toon_kernel[k];
    return (std::abs(sum.x) + std::abs(sum.y) + std::abs(sum.z)) * 0.03703703731298447f >= limit;
}

miBoolean zel_toon_color_contrast(const miColor* colors, miScalar limit) {
    const miColor& c = colors[kCentre];
    for (int k = 0; k < kGrid; ++k)
        if (k != kCentre &&
            (std::abs(c.r - colors[k].r) > limit || std::abs(c.g - colors[k].g) > limit ||
             std::abs(c.b - colors[k].b) > limit))
            return miTRUE;
    return miFALSE;
}

miBoolean zel_toon_zone_contrast(const zel_toon_record* records) {
    return std::any_of(records, records + kGrid, [records](const zel_toon_record& record) {
        return record.zone != records[kCentre].zone;
    });
}

miBoolean zel_toon_transp_contrast(const zel_toon_record* records) {
    const auto opaque = std::count_if(records, records + kGrid, [](const zel_toon_record& record) {
        return record.transparency == 0;
    });
    return opaque > 0 && opaque < kGrid;
}
}
