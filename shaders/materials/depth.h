// How deep materials that trace their own reflections go.
#pragma once

#include "frame/state.h"

// Whether the options let a reflection be traced from this state.
static inline bool may_reflect(const miState* state) {
    const miOptions& options = *state->options;
    return !options.no_secondary && state->reflection_level < options.reflection_depth &&
           state->reflection_level + state->refraction_level < options.trace_depth;
}
