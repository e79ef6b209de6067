// soft_environment: what surrounds the scene, a latitude-longitude picture or a gradient.
//
// For a direction (x, y, z) in world space the picture is looked up at
//
//     u = 1/2 + atan2(x, -z) / 2 pi      v = 1/2 + asin(y) / pi
//
// so that its middle lies towards -z, where cameras look, and +x is to the right of it.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "frame/host.h"
#include "soft/builtins.h"
#include "soft/sane.h"

using namespace orvane::soft;

int soft_environment_version() { return 1; }

// Holds v between the centres of the outermost rows: look-ups repeat the picture, which would
// mix the zenith with the ground.
static miScalar within_rows(miScalar v, miTag texture) {
    int width, height;
    if (!mi_texture_info(texture, &width, &height, nullptr) || height <= 0) return v;
    const miScalar margin = 0.5f / static_cast<miScalar>(height);
    return std::clamp(v, margin, 1 - margin);
}

static miBoolean look_up_picture(miColor* color, miState* state, miTag texture, const miVector& dir,
                                 miScalar rotation) {
    constexpr miScalar pi = std::numbers::pi_v<miScalar>;
    const miScalar turn = std::fmod(finite(rotation) / 360, 1.0f);
    const miScalar v = 0.5f + std::asin(std::clamp(dir.y, -1.0f, 1.0f)) / pi;
    miVector coord = {0.5f + std::atan2(dir.x, -dir.z) / (2 * pi) + turn, within_rows(v, texture),
                      0};
    return mi_lookup_color_texture(color, state, texture, &coord);
}

miBoolean soft_environment(miColor* result, miState* state, soft_environment_params* params) {
    miVector dir;
    mi_vector_to_world(state, &dir, &state->dir);
    dir = normalized(dir);

    miColor color;
    if (params->texture == miNULLTAG)
        color = blend(params->horizon, dir.y > 0 ? params->zenith : params->ground,
                      unit(std::fabs(dir.y)));
    else if (!look_up_picture(&color, state, params->texture, dir, params->rotation))
        return miFALSE;
    scale_rgb(&color, params->intensity);
    *result = finite(color);
    return miTRUE;
}
