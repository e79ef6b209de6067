// Looking textures up.

#include "frame/host.h"
#include "world/render.h"

using namespace orvane::world;

namespace {

// A texture shader sees the coordinate asked for as the hit's own.
template <typename Shader>
miBoolean shade(const Shader& shader, miColor* color, miState* state, const miVector& coord) {
    const miVector before = state->tex;
    state->tex = coord;
    const miBoolean answer = call(shader, color, state);
    state->tex = before;
    return answer;
}

// Output shaders lay pictures over the whole frame: there, the outermost pixels go on instead of
// blending with those at the opposite edge.
miColor look_up(const orvane::image::Image& image, const miState* state, const miVector& coord) {
    return state->options->frame_buffers[miFB_COLOR] ? image.lookup_held(coord.x, coord.y)
                                                     : image.lookup(coord.x, coord.y);
}

}  // namespace

extern "C" {

miBoolean mi_lookup_color_texture(miColor* color, miState* state, miTag texture, miVector* coord) {
    const Database& items = current_render()->world.database();
    *color = {};
    if (const auto* image = items.get<Texture>(texture, miITEM_TEXTURE)) {
        if (image->shader) return shade(image->shader, color, state, *coord);
        *color = look_up(*image->image, state, *coord);
        return miTRUE;
    }
    if (const auto* function = items.get<Function>(texture, miITEM_FUNCTION))
        return shade(*function, color, state, *coord);
    return miFALSE;
}

miBoolean mi_texture_info(miTag texture, int* x_resolution, int* y_resolution, void** paras) {
    const Database& items = current_render()->world.database();
    const auto* item = items.get<Texture>(texture, miITEM_TEXTURE);
    const auto* function = items.get<Function>(texture, miITEM_FUNCTION);
    if (!item && !function) return miFALSE;
    if (item && item->shader) function = item->shader->function;
    if (x_resolution) *x_resolution = item && item->image ? item->image->width() : 0;
    if (y_resolution) *y_resolution = item && item->image ? item->image->height() : 0;
    if (paras) *paras = function ? function->record.parameters : nullptr;
    return miTRUE;
}
}
