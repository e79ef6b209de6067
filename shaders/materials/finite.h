// Keeps what is infinite or not a number out of pictures.
#pragma once

#include <cmath>

#include "frame/types.h"

static inline miScalar finite_or_0(miScalar x) { return std::isfinite(x) ? x : 0; }

// Each channel that is not finite becomes 0.
static inline void keep_finite(miColor* c) {
    *c = {finite_or_0(c->r), finite_or_0(c->g), finite_or_0(c->b), finite_or_0(c->a)};
}
