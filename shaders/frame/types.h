// The renderer's value types, as every shader and both sides of the contract use them.
//
// All are plain data of a fixed size: a parameter block is a sequence of them with natural
// 4-byte alignment, so sizes here are part of the contract.
#pragma once

#include <cstdint>

using miScalar = float;
using miInteger = std::int32_t;
using miUint = std::uint32_t;
using miBoolean = std::int32_t;
using miTag = std::uint32_t;  // handle of a database item; 0 = none

constexpr miBoolean miFALSE = 0;
constexpr miBoolean miTRUE = 1;
constexpr miTag miNULLTAG = 0;

struct miColor {
    miScalar r, g, b, a;
};

struct miVector {
    miScalar x, y, z;
};

// 4x4, stored row by row; points and vectors are row vectors multiplied from the left, so the
// translation is in the last row (elements 12, 13, 14).
using miMatrix = miScalar[16];

// A lock of the renderer; made by mi_init_lock, not to be copied between processes.
using miLock = void*;

static_assert(sizeof(miScalar) == 4 && sizeof(miColor) == 16 && sizeof(miVector) == 12);
static_assert(sizeof(miMatrix) == 64);
