// Recognising the lights of Orvane_Light, for the shaders that read their parameter blocks.
#pragma once

#include "frame/types.h"
#include "volumetric/light_block.h"

struct miState;

extern "C" {

// miTRUE when instance is an instance of a light whose shader is declared as "Orvane_Light". Then
// sets all that follows: where the light stands and where it points to, in internal space and the
// latter not normalised (a light without direction that is no point light points along -z of its
// own space), its miLightType and its parameter block. Otherwise miFALSE; what was written before
// a test failed stays.
miBoolean qv_VerifyLight(miState* state, miTag instance, miVector* origin, miVector* direction,
                         int* type, Orvane_Light_params** params);
}
