// Noise and shaping for procedural shaders: fractal sums of the renderer's noise, Perlin's bias and
// gain, easing curves, blends. Arithmetic is in double precision; none keeps state.
#pragma once

#include "frame/state.h"
#include "frame/types.h"

// Shapes of qv_Interpolate: _OUT starts steep and ends flat, _IN starts flat and ends steep.
enum qv_Shape : int {
    qv_LINEAR = 0,
    qv_CIRCLE_OUT = 1,
    qv_CIRCLE_IN = 2,
    qv_SINE_OUT = 3,
    qv_SINE_IN = 4,
};

extern "C" {

// Blends r, g and b of a colour towards target: all target at t = 1, not clamped. Alpha stays, and
// so does a channel whose blend is not finite.
void qv_ColorFade(miColor* color, miColor* target, double t);

// y0 at x0, y1 at x1, and between them a curve of the given shape; x is not clamped to that range,
// beyond which the circles have values that are not numbers. With x0 equal to x1 it steps from y0
// to y1 there. A type that is no qv_Shape ends the process with a message on standard error.
double qv_Interpolate(int type, double x0, double x1, double x, double y0, double y1);

// A sum of noise about 0.5: each octave has half the swing of the one before, amplitude / 2 at
// first, and the sign opposite to the noise. The scale compounds: octaves look at the point times
// 1, 2, 8, 64, 1024, ... At most 31 octaves are added; none gives 0.5.
double qv_NoiseOctave3D(miVector* point, int octaves, double amplitude);
double qv_NoiseOctave2D(double u, double v, int octaves, double amplitude);

// Perlin's bias ("Hypertexture", 1989): 0 and 1 stay, 1/2 becomes bias. For t and bias in 0..1.
double qv_Bias(double t, double bias);

// Perlin's gain: a bias to either side of 1/2, steep there for a gain above 1/2. Exactly 0 for t
// below 0.001 and exactly 1 above 0.999. For gain in 0..1.
double qv_Gain(double t, double gain);

// n! modulo 2^32, as a signed number; 0 for n of 0 and less.
int qv_Factorial(int n);

// Moves each component of a direction by up to amount / 2, at random, and normalises it; one of
// length 0 stays so.
void qv_PerturbVector(miState* state, miVector* dir, double amount);
}
