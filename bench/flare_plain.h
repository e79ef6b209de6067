// The formulas of the flare, evaluated in the plainest way: every primitive and every streak at
// every pixel, what it says in the formula and nothing else.
//
// For sane settings only: shapes have a size, profiles exist, bursts stay inside the table.
#pragma once

#include "flare/flare_light.h"
#include "frame/host.h"

namespace plain {

void init_rays();
void draw_primitives(miState* state, miColor* out, const FlareLight* light, miScalar X, miScalar Y);
void draw_star(miColor* out, const FlareLight* light, miScalar X, miScalar Y);

}  // namespace plain
