// Ear clipping of one ring.
#pragma once

#include <array>
#include <vector>

#include "scene/ring.h"

namespace orvane::scene {

// Cuts ear after ear off the ring that start is in, and appends them as triangles.
//
// Each search for an ear begins where the last one was, two corners on. That alone would be cubic:
// so corners that are no ears are not looked at again before something about them changes, and what
// lies in an ear is found by a tree.
void clip_ears(Ring& ring, Index start, std::vector<std::array<std::uint32_t, 3>>& triangles);

}  // namespace orvane::scene
