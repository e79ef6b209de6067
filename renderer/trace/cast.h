// New rays from old ones: their states, how deep they may go, and what they see.
#pragma once

#include "frame/host.h"

namespace orvane::trace {

// The state of a ray that state's shader traces: inherits user data, media and levels, and gets
// a sample key of its own. state counts it.
miState spawn(miState* state, miRayType type, const miVector& org, const miVector& dir);

// Whether a vector has a direction.
bool is_direction(const miVector& dir);

// Whether rays of state may go one ray deeper. A stopped render traces no more.
bool goes_deeper(const miState* state);

// What a ray sees that state's shader sends off from its surface along dir: reflected, refracted
// or transparent, one level deeper. miFALSE when it is too deep to be traced or sees nothing.
miBoolean trace_from_surface(miColor* result, miState* state, miRayType type, const miVector& dir);

// What an eye ray sees that no lens shader takes, between the clipping planes.
miBoolean trace_from_camera(miColor* result, miState* child);

}  // namespace orvane::trace
