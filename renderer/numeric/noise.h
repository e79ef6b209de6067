// Smooth lattice noise.
#pragma once

namespace orvane::numeric {

// Gradient noise in 0..1 with mean one half and features about one unit wide, twice
// differentiable; the same for the same argument always. Arguments that are not finite give 0.5.
float noise_3d(float x, float y, float z);
float noise_2d(float x, float y);

}  // namespace orvane::numeric
