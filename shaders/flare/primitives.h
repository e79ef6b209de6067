// The primitives of a flare preset at one pixel.
//
// Positions, radii and widths are in screen units (see flare_light.h). A rasteriser returns
// whether it draws at the pixel (X, Y); when it does not, *out is left as it is. col is scaled by
// the radial profile mode with parameter V. aspect stretches a shape sideways; with 0 it has no
// width and draws nothing. thread is the number of the render thread, 0 to 95.
#pragma once

#include "flare/flare_light.h"
#include "frame/host.h"

extern "C" {

// Fills the table of rays that the bursts are made of, always with the same values. To be called
// before anything is drawn, by one thread.
void initRayTable();

// Moves a light's primitives from what the preset says to where they stand for this light: blend
// chooses between the two ends of the blended values, 0 the first, 1 the second. Once per light.
void placePrimitives(FlareLight* light, miScalar blend);

// The sum of all primitives of a light; alpha has no meaning.
void drawPrimitives(miState* state, miColor* out, const FlareLight* light, miScalar X, miScalar Y,
                    int thread);

// A disc of radius R about (cx, cy).
miBoolean drawCircle(miState* state, miColor* out, miColor col, miScalar X, miScalar Y, miScalar cx,
                     miScalar cy, miScalar R, int mode, miScalar V, miScalar aspect);

// A regular polygon of apothem R, turned by rot radians; nothing for sides below 1.
miBoolean drawNgon(miState* state, miColor* out, miColor col, miScalar X, miScalar Y, miScalar cx,
                   miScalar cy, miScalar R, miScalar rot, int sides, int mode, miScalar V,
                   miScalar aspect);

// Streaks through (cx, cy) along rays first to first + count - 1 of the table, those of them that
// the table has. inner and outer are half-widths relative to a ray's length: full strength
// within inner, nothing from outer on.
miBoolean drawRays(miState* state, miColor* out, miColor col, miScalar X, miScalar Y, miScalar cx,
                   miScalar cy, miScalar rot, miScalar size, miScalar inner, miScalar outer,
                   int count, int first, int mode, miScalar V, miScalar aspect, int thread);

// The same along rays 190, 189, ... down to 191 - count, widening towards the tip by spread.
miBoolean drawSectors(miState* state, miColor* out, miColor col, miScalar X, miScalar Y,
                      miScalar cx, miScalar cy, miScalar rot, miScalar size, miScalar inner,
                      miScalar outer, miScalar spread, int count, int mode, miScalar V,
                      miScalar aspect, int thread);

// The radial profile: col scaled by what mode makes of the distance r from the centre of a shape
// of radius R, (dx, dy) being the way there. Nothing beyond R, for modes that are none, and where
// V makes the factor infinite or not a number.
miBoolean primitiveProfile(miState* state, miColor* out, miColor col, miScalar r, miScalar dx,
                           miScalar dy, miScalar R, int mode, miScalar V);
}
