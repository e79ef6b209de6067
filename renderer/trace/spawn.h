// New rays from old ones.
#pragma once

#include "frame/host.h"

namespace orvane::trace {

// The state of a ray that state's shader traces: inherits user data, media and levels, and gets
// a sample key of its own. state counts it.
miState spawn(miState* state, miRayType type, const miVector& org, const miVector& dir);

}  // namespace orvane::trace
