// Curves through control values.
#pragma once

#include <span>

namespace orvane::numeric {

// Value at t of the Catmull-Rom curve through the control values, which lie at equal steps from
// t = 0 to t = 1; the end values count twice, so that the curve has a slope there. t is clamped
// to 0..1. One value gives a constant, none gives 0.
float spline(float t, std::span<const float> values);

}  // namespace orvane::numeric
