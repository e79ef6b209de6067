// The diffraction star of a light: thin streaks with coloured fringes.
#pragma once

#include "flare/flare_light.h"
#include "frame/host.h"

extern "C" {

// Fills the streak tables of a light whose screen position and parameter block are set. index is
// the light's place in the lens's list. A star_count above 100 counts as 100; with a star_length of
// 0 the streaks have no pattern and stay dark.
void buildStarTables(FlareLight* light, int index, miState* state);

// Adds the star at a place on the screen to r, g and b of out. A flare_aspect of 0 leaves the star
// no width: nothing is added.
void drawStar(miColor* out, const FlareLight* light, miScalar X, miScalar Y);
}
