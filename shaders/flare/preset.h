// Flare presets: the primitives that make up the flare of a light, read from a carrier texture.
//
// A preset is a text of lines, a keyword and up to 15 numbers each. It travels one byte a pixel
// in the alpha channel of an image, top row first, from left to right.
#pragma once

#include "frame/types.h"

enum PrimitiveType : miInteger {
    PRIMITIVE_CIRCLE = 0,    // disc on the flare axis
    PRIMITIVE_CIRCLE_D = 1,  // disc pulled from an anchor towards the light
    PRIMITIVE_NGON = 2,      // regular polygon on the flare axis
    PRIMITIVE_NGON_D = 3,    // regular polygon pulled from an anchor towards the light
    PRIMITIVE_SECTOR = 4,    // burst of wedges
    PRIMITIVE_RAYS = 5,      // burst of straight rays
    PRESET_END = 6,          // FLARE_END
    PRESET_START = 7,        // FLARE_START and the version of the preset
};

struct FlarePrimitive {
    miInteger type;       // a primitive, 0 to 5
    miScalar values[15];  // the numbers of the line in order; what they mean depends on type
};
static_assert(sizeof(FlarePrimitive) == 64);

// What a line is.
enum PresetLine : int {
    PRESET_LINE_NONE = 0,          // carries no keyword, or there is no memory for its record
    PRESET_LINE_PRIMITIVE = 1,     // a record was stored
    PRESET_LINE_END = -1,          // FLARE_END
    PRESET_LINE_START = 10,        // FLARE_START with a version of at most 1
    PRESET_LINE_BAD_VERSION = -5,  // FLARE_START with another version, or none
};

extern "C" {

// Reads the preset that a texture carries. Sets *records to the array of its primitives (NULL
// when none was stored) and returns how many are to be used. The array is the caller's, also
// when 0 is returned: release it with mi_mem_int_release. Faults are told through mi_info. A tag
// that is no image texture reads as an image without pixels.
int parsePrimitivePic(miTag texture, FlarePrimitive** records);

// Reads one line. A primitive becomes record number index, counted from 1, of *records, which
// is grown to hold index records; any before it keep what they have. With an index below 1 it is
// recognised but not stored.
int parsePrimitiveLine(const char* line, FlarePrimitive** records, int index);

// Writes count records to standard error, for diagnosis.
void dumpParsedPrimitives(FlarePrimitive** records, int count);
}
