// Curves through control values.

#include "numeric/spline.h"

#include <algorithm>
#include <cstddef>

namespace orvane::numeric {

float spline(float t, std::span<const float> values) {
    if (values.empty()) return 0;
    const std::size_t last = values.size() - 1;
    if (last == 0) return values[0];

    // Find the step that t lies in; written so that a t that is not a number counts as 0.
    const double at = t > 0 ? std::min(t, 1.0f) * static_cast<double>(last) : 0;
    const std::size_t step = std::min(static_cast<std::size_t>(at), last - 1);
    const double s = at - static_cast<double>(step);

    // Blend its ends b and c by a cubic whose slopes there are half the way between neighbours.
    const double a = values[step == 0 ? 0 : step - 1], b = values[step];
    const double c = values[step + 1], d = values[std::min(step + 2, last)];
    const double cubic = 3 * (b - c) + d - a, square = 2 * a - 5 * b + 4 * c - d;
    return static_cast<float>(b + 0.5 * s * (c - a + s * (square + s * cubic)));
}

}  // namespace orvane::numeric
